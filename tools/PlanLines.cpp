#include "tools/PlanLines.h"

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraTool {
namespace {

using Kind = ChangeStep::Kind;

JsonOut stepLine( const PlanStep &step ) {
   const auto &request = step.request;
   const U32 group = request.group.value();
   switch ( step.kind ) {
   case Kind::createGroup:
      return { { "op", "createGroup" }, { "group", group } };
   case Kind::deleteGroup:
      return { { "op", "deleteGroup" }, { "group", group } };
   case Kind::remove:
      return { { "op", "remove" }, { "group", group }, { "entry", request.entry } };
   case Kind::install:
      break;
   }
   JsonOut json = { { "op", "install" }, { "group", group }, { "entry", request.entry } };
   json[ "ports" ] = JsonOut::array();
   for ( const auto &port : request.ports ) {
      json[ "ports" ].push_back( portJson( port ) );
   }
   json[ "rule" ] = { { "feature", stringValue( request.rule->featureGroupType() ) },
                      { "name", request.rule->name() } };
   json[ "label" ] = request.label;
   return json;
}

} // namespace

std::string planLines( const Plan &plan ) {
   std::string lines = jsonText( { { "op", "expect" }, { "state", plan.stateBefore } } ) + "\n";
   for ( const auto &step : plan.steps ) {
      lines += jsonText( stepLine( step ) ) + "\n";
      if ( step.kind == Kind::install ) {
         lines += jsonText( { { "op", "expect" },
                              { "entry", step.request.entry },
                              { "offset", step.place->offset },
                              { "width", step.place->width },
                              { "classId", step.place->classId } } ) +
                  "\n";
      }
   }
   return lines + jsonText( { { "op", "expect" }, { "state", plan.stateAfter } } ) + "\n";
}

namespace {

std::string operationOf( const Json &json ) {
   return json.is_object() && json.contains( "op" ) && json[ "op" ].is_string()
             ? json[ "op" ].get<std::string>()
             : std::string();
}

Json lineJson( const std::string &line ) {
   try {
      return parseJson( line );
   } catch ( const Complaint & ) {
      return {}; // the answer says what is wrong
   }
}

bool tellsAState( const std::string &line ) {
   const auto json = lineJson( line );
   return operationOf( json ) == "expect" && json.contains( "state" );
}

// The whole of it, so that a file that was cut is refused before its first step.
std::vector<std::string> planOf( const std::string &file ) {
   LineReader reader( file );
   std::vector<std::string> lines;
   while ( auto line = reader.next() ) {
      lines.push_back( std::move( *line ) );
   }
   if ( lines.empty() ) {
      throw InputError( file + ": this is no plan: it is empty" );
   }
   if ( !tellsAState( lines.front() ) ) {
      throw InputError( file + ": this is no plan: its first line tells no state of a switch" );
   }
   if ( lines.size() < 2 || !tellsAState( lines.back() ) ) {
      throw InputError( file + ": the plan is not whole: its last line tells no state of a switch" );
   }
   return lines;
}

} // namespace

Carried carryOutLines( Batch &batch, const std::string &file ) {
   Carried carried;
   std::size_t number = 0;
   for ( const auto &line : planOf( file ) ) {
      ++number;
      const auto answer = batch.answer( line );
      if ( !answer.at( "ok" ).get<bool>() ) {
         const auto &error = answer.at( "error" );
         const auto message = error.at( "message" ).get<std::string>();
         carried.error = fmt::format(
            "{}{} ({})", message.starts_with( "line " ) ? "" : fmt::format( "line {}: ", number ), message,
            error.at( "code" ).get<std::string>() );
         return carried;
      }
      carried.steps += operationOf( lineJson( line ) ) != "expect";
   }
   return carried;
}

} // namespace QuarraTool
