#include <iostream>
#include <memory>

#include "lab/TextFile.h"
#include "tools/Batch.h"
#include "tools/Command.h"
#include "tools/OpenSwitch.h"
#include "tools/SdkCalls.h"

namespace QuarraTool {
namespace {

struct BatchOptions {
   std::string file;
   bool stopAtError = false;
};

Batch batchOn( const GlobalOptions &global ) {
   if ( !global.switchDir ) {
      return Batch( global.choice() );
   }
   if ( global.cold || SwitchDir::isThere( *global.switchDir ) ) {
      return Batch( openOrMakeSwitch( global ) );
   }
   return Batch( global.choice(),
                 [ &global ]( const ChipChoice &choice ) { return makeSwitch( global, choice ); } );
}

// Each answer is written before the next line is read: whoever asks may wait for it, and a reader that is
// gone ends the run before the next operation.
int run( const GlobalOptions &global, const BatchOptions &options, Output &out ) {
   global.checkStandardInput( { { options.file } } );
   Batch batch = batchOn( global );
   LineReader lines( options.file );
   bool ended = false; // at an error
   while ( const auto line = ended ? std::nullopt : lines.next() ) {
      const auto answer = batch.answer( *line );
      out.print( jsonText( answer ) + "\n" );
      out.flush();
      ended = options.stopAtError && !answer.at( "ok" ).get<bool>();
   }
   if ( global.statistics && batch.usedSwitch() ) {
      std::cerr << sdkCallsText( *batch.usedSwitch() );
   }
   return withFailuresChecked( global, batch.usedSwitch(),
                               batch.storeFailed() ? exitNoSwitch
                               : ended             ? exitDoesNotFit
                                                   : exitGood );
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<BatchOptions>();
   app.footer( "Operations: " + Batch::operationNames() +
               "; chip in the first line only.\n"
               "Each line is answered by one line at once: {\"ok\":true,...} or\n"
               "{\"ok\":false,\"error\":{\"code\":...,\"message\":...,\"line\":...}}." );
   app.add_option( "FILE", options->file, "The operations; - for standard input" )->required();
   app.add_flag( "--stop-at-error", options->stopAtError,
                 "End behind the first answer that is an error, and exit with 1" );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command batchCommand = { "batch",
                               "Answer JSON lines, one operation a line",
                               { CommonOption::statistics, CommonOption::variant, CommonOption::chip,
                                 CommonOption::switchDir, CommonOption::sync, CommonOption::cold,
                                 CommonOption::failSdkCall, CommonOption::trace },
                               addOptions };

} // namespace QuarraTool
