#include "tools/PlanLines.h"

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraTool {
namespace {

using Kind = PlanStep::Kind;

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

Carried carryOutLines( Batch &batch, const std::string &file ) {
   Carried carried;
   LineReader lines( file );
   std::size_t number = 0;
   while ( const auto line = lines.next() ) {
      ++number;
      Json json;
      try {
         json = parseJson( *line );
      } catch ( const Complaint & ) {
         // The answer says what is wrong.
      }
      const auto op = json.is_object() && json.contains( "op" ) && json[ "op" ].is_string()
                         ? json[ "op" ].get<std::string>()
                         : std::string();
      if ( number == 1 && ( op != "expect" || !json.contains( "state" ) ) ) {
         throw InputError( file + ": this is no plan: its first line tells no state of a switch" );
      }
      const auto answer = batch.answer( *line );
      if ( !answer.at( "ok" ).get<bool>() ) {
         const auto &error = answer.at( "error" );
         const auto message = error.at( "message" ).get<std::string>();
         carried.error = fmt::format(
            "{}{} ({})", message.starts_with( "line " ) ? "" : fmt::format( "line {}: ", number ), message,
            error.at( "code" ).get<std::string>() );
         return carried;
      }
      carried.steps += op != "expect";
   }
   if ( !number ) {
      throw InputError( file + ": this is no plan: it is empty" );
   }
   return carried;
}

} // namespace QuarraTool
