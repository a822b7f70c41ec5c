#include <fmt/format.h>
#include <fmt/ranges.h>

#include "lab/Plan.h"

namespace QuarraLab {
namespace {

template <typename Value>
JsonOut optionalJson( const std::optional<Value> &value ) {
   return value ? JsonOut( *value ) : JsonOut();
}

JsonOut rulesJson( const Plan &plan ) {
   auto rules = JsonOut::array();
   for ( const auto &rule : plan.rules ) {
      JsonOut json = { { "fate", stringValue( rule.fate ) },
                       { "rule", rule.rule },
                       { "entryBefore", optionalJson( rule.entryBefore ) },
                       { "entryAfter", optionalJson( rule.entryAfter ) },
                       { "classIdBefore", placeJson( rule.placeBefore ) },
                       { "classIdAfter", placeJson( rule.placeAfter ) },
                       { "portsGained", namedPortsJson( rule.ports.gained, plan.portNames ) },
                       { "portsLost", namedPortsJson( rule.ports.lost, plan.portNames ) },
                       { "goesFirst", rule.goesFirst } };
      if ( !rule.fields.empty() ) {
         json[ "text" ] = fmt::format( "{}", fmt::join( rule.fields, ", " ) );
      }
      if ( rule.fate == RuleFate::refused ) {
         json[ "error" ] = { { "code", rule.code }, { "message", rule.message } };
      }
      rules.push_back( std::move( json ) );
   }
   return rules;
}

JsonOut stepsJson( const Plan &plan ) {
   auto steps = JsonOut::array();
   for ( const auto &step : plan.steps ) {
      JsonOut json = { { "op", stringValue( step.kind ) }, { "group", step.request.group.value() } };
      if ( step.place ) {
         json[ "entry" ] = step.request.entry;
         json[ "rule" ] = ruleOf( step.request );
         json[ "classId" ] = placeJson( step.place );
      }
      json[ "sdkCalls" ] = JsonOut( step.sdkCalls );
      json[ "sdkWrites" ] = step.sdkWrites;
      steps.push_back( std::move( json ) );
   }
   return steps;
}

JsonOut spacesJson( const std::vector<PeakOfSpace> &spaces ) {
   auto json = JsonOut::array();
   for ( const auto &space : spaces ) {
      json.push_back( { { "name", space.name },
                        { "size", space.size },
                        { "before", space.before },
                        { "peak", space.peak },
                        { "after", space.after },
                        { "largestFreeRun", space.largestFreeRun } } );
   }
   return json;
}

JsonOut wrongJson( const Plan &plan ) {
   auto wrong = JsonOut::array();
   for ( const auto &one : plan.wrong ) {
      wrong.push_back( { { "rule", one.rule },
                         { "entry", optionalJson( one.entry ) },
                         { "expected", one.lost },
                         { "firstStep", one.begins },
                         { "lastStep", one.ends },
                         { "ports", namedPortsJson( one.ports, plan.portNames ) } } );
   }
   return wrong;
}

JsonOut mismatchesJson( const Plan &plan ) {
   auto mismatches = JsonOut::array();
   for ( const auto &mismatch : plan.mismatches ) {
      mismatches.push_back( { { "entry", mismatch.entry },
                              { "group", mismatch.group.value() },
                              { "port", namedPortJson( mismatch.port, plan.portNames ) },
                              { "expected", mismatch.expected },
                              { "found", mismatch.found },
                              { "cause", reasonName( mismatch.reason ) },
                              { "reason", reasonText( *plan.variant, mismatch ) } } );
   }
   return mismatches;
}

JsonOut tablesJson( const std::vector<RulesOfTable> &tables ) {
   auto json = JsonOut::array();
   for ( const auto &table : tables ) {
      json.push_back( { { "table", table.table }, { "rules", table.rules }, { "wholeTable", table.all } } );
   }
   return json;
}

} // namespace

JsonOut planJson( const Plan &plan ) {
   JsonOut reload;
   if ( plan.reload ) {
      reload = { { "refused", plan.reload->refused },
                 { "mismatches", plan.reload->mismatches },
                 { "spaces", spacesJson( plan.reload->spaces ) },
                 { "sdkWrites", plan.reload->sdkWrites } };
   }
   return { { "verdict", verdictName( plan.verdict() ) },
            { "rules", rulesJson( plan ) },
            { "steps", stepsJson( plan ) },
            { "sdkWrites", plan.sdkWrites() },
            { "spaces", spacesJson( plan.spaces ) },
            { "wrongOnTheWay", wrongJson( plan ) },
            { "mismatches", mismatchesJson( plan ) },
            { "goFirst", tablesJson( plan.goFirst ) },
            { "reload", std::move( reload ) },
            { "leaveOut", tablesJson( plan.leaveOut ) },
            { "stateBefore", plan.stateBefore },
            { "stateAfter", plan.stateAfter } };
}

} // namespace QuarraLab
