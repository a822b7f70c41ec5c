#include "tools/SdkCalls.h"

#include <algorithm>
#include <iostream>

#include <fmt/format.h>

#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

U64 callsOf( const Switch *theSwitch, const std::string &function ) {
   if ( !theSwitch || function.empty() ) {
      return theSwitch ? theSwitch->chip().calls() : 0;
   }
   const auto counts = theSwitch->chip().callCounts();
   const auto count = counts.find( function );
   return count == counts.end() ? 0 : count->second;
}

} // namespace

std::string sdkCallsText( const Switch &theSwitch ) {
   TextTable table( { { "SDK function" }, { "calls", TextTable::Align::right } } );
   for ( const auto &[ function, calls ] : theSwitch.chip().callCounts() ) {
      table.row( { function, fmt::format( "{}", calls ) } );
   }
   table.row( { "all", fmt::format( "{}", theSwitch.chip().calls() ) } );
   return table.text();
}

U64 sdkWrites( const Switch &theSwitch ) {
   U64 writes = 0;
   U64 words = 0;
   bool commits = false;
   for ( const auto &[ function, calls ] : theSwitch.chip().callCounts() ) {
      const bool ofTables = function.starts_with( "bcmlt_entry_" );
      writes += ofTables ? 0 : calls;
      words += function == "portTableSet" ? calls : 0;
      commits |= ofTables;
   }
   return writes + ( commits ? theSwitch.chip().portWrites() - words : 0 );
}

int withFailuresChecked( const GlobalOptions &global, const Switch *theSwitch, int code ) {
   for ( const auto &text : global.failSdkCalls ) {
      const auto failure = sdkCallFailure( text );
      const U64 made = callsOf( theSwitch, failure.function );
      if ( made < failure.nth ) {
         std::cerr << fmt::format( "quarra-tcam: --fail-sdk-call {}: no call failed: there were {}{}\n", text,
                                   counted( made, "call", "calls" ),
                                   failure.function.empty() ? "" : " of " + failure.function );
         code = std::max<int>( code, exitDoesNotFit );
      }
   }
   return code;
}

} // namespace QuarraTool
