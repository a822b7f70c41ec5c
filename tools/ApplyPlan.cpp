#include "tools/ApplyPlan.h"

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/OpenSwitch.h"
#include "tools/PlanLines.h"
#include "tools/SdkCalls.h"
#include "tools/TextTable.h"

namespace QuarraTool {

int applyPlan( const GlobalOptions &global, const std::string &file, Output &out ) {
   if ( !global.switchDir ) {
      throw InputError( "apply: --plan needs the switch that was planned for: --switch DIR" );
   }
   Batch batch( openSwitch( global ) );
   const auto carried = carryOutLines( batch, file );
   if ( !carried.error.empty() && !carried.steps ) {
      throw InputError( file + ": " + carried.error );
   }
   const auto &theSwitch = *batch.usedSwitch();
   const auto mismatches = checkMatches( theSwitch );
   const bool good = carried.error.empty() && mismatches.empty();
   if ( global.json ) {
      const PortsJson ports( theSwitch );
      auto list = JsonOut::array();
      for ( const auto &mismatch : mismatches ) {
         list.push_back( mismatchJson( theSwitch, ports, mismatch ) );
      }
      auto json = document( good );
      json[ "plan" ] = file;
      json[ "steps" ] = carried.steps;
      json[ "error" ] = carried.error.empty() ? JsonOut() : JsonOut( carried.error );
      json[ "mismatches" ] = std::move( list );
      if ( global.statistics ) {
         json[ "sdkCalls" ] = theSwitch.chip().callCounts();
      }
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( carried.error.empty() ? fmt::format( "{}: {} carried out as planned\n", oneLine( file ),
                                                      counted( carried.steps, "step", "steps" ) )
                                       : fmt::format( "{}: ended after {}: {}\n", oneLine( file ),
                                                      counted( carried.steps, "step", "steps" ),
                                                      messageLine( carried.error ) ) );
      out.print( mismatches.empty()
                    ? "every entry matches exactly its ports\n"
                    : fmt::format( "{}: `check` tells which\n",
                                   counted( mismatches.size(), "match is", "matches are" ) + " wrong" ) );
      if ( global.statistics ) {
         out.print( "\n" + sdkCallsText( theSwitch ) );
      }
   }
   const int code = good ? exitGood : exitDoesNotFit;
   return withFailuresChecked( global, &theSwitch, batch.storeFailed() ? int{ exitNoSwitch } : code );
}

} // namespace QuarraTool
