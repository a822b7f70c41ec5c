#include <cstdlib>
#include <iostream>
#include <sstream>

#include <fmt/format.h>
#include <unistd.h>

#include "tools/ApplyReport.h"
#include "tools/Batch.h"
#include "tools/Options.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

bool wantsColour() {
   const char *noColour = std::getenv( "NO_COLOR" );
   return isatty( STDOUT_FILENO ) && !( noColour && *noColour );
}

void printJson( const GlobalOptions &global, const JsonOut &json ) {
   std::cout << json.dump( global.pretty ? 3 : -1, ' ', false, JsonOut::error_handler_t::replace ) << "\n";
}

std::string sdkCallsText( const Switch &theSwitch ) {
   TextTable table( { { "SDK function" }, { "calls", TextTable::Align::right } } );
   for ( const auto &[ function, calls ] : theSwitch.chip().callCounts() ) {
      table.row( { function, fmt::format( "{}", calls ) } );
   }
   table.row( { "all", fmt::format( "{}", theSwitch.chip().calls() ) } );
   return table.text();
}

// One entry of the whole table's ports for each table that has no rules.
void addBindings( AclConfig &config ) {
   for ( auto &table : config.tables ) {
      if ( table.leftOut.empty() && table.rules.empty() ) {
         table.rules.push_back(
            { "(binding)", table.name, 0, std::make_shared<std::vector<std::string>>( table.ports ) } );
      }
   }
}

} // namespace

ChipChoice GlobalOptions::choice() const {
   auto choice = defaultChoice( variant );
   choice.onlySwitchOfProcess = true;
   for ( const auto &text : failSdkCalls ) {
      choice.failures.push_back( sdkCallFailure( text ) );
   }
   return chipFile ? readChipFile( *chipFile, choice ) : choice;
}

int runApply( const GlobalOptions &global, const ApplyOptions &options ) {
   const auto choice = global.choice();
   GroupMap map;
   for ( const auto &text : options.map ) {
      addToMap( map, text );
   }
   auto config = readConfigDb( options.file );
   if ( options.bindings ) {
      addBindings( config );
   }
   const Applied applied( std::move( config ), choice, map );
   if ( global.json ) {
      auto json = applyJson( applied );
      if ( global.statistics ) {
         json[ "sdkCalls" ] = applied.theSwitch().chip().callCounts();
      }
      printJson( global, json );
   } else {
      std::cout << applyReport( applied, wantsColour() );
      if ( global.statistics ) {
         std::cout << "\n" << sdkCallsText( applied.theSwitch() );
      }
   }
   return applied.allFitAndMatch() ? exitGood : exitDoesNotFit;
}

int runBatch( const GlobalOptions &global, const std::string &file ) {
   Batch batch( global.choice() );
   if ( file == "-" ) {
      batch.run( std::cin, std::cout );
   } else {
      std::istringstream in( readText( file ) );
      batch.run( in, std::cout );
   }
   if ( global.statistics && batch.usedSwitch() ) {
      std::cerr << sdkCallsText( *batch.usedSwitch() );
   }
   return exitGood;
}

} // namespace QuarraTool
