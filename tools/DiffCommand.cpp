#include <array>
#include <filesystem>

#include <fmt/format.h>

#include "acl/Redis.h"
#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/OpenSwitch.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct DiffOptions {
   SubjectOptions subject; // how configurations are applied; their files are the two states
   std::string before;
   std::string after;
};

// A directory is a switch that lasts, and a document that tells of groups a dump; everything else is a
// configuration, to be applied on an empty switch: of the kind of the other state (`ofSwitch`) where that is
// a switch.
SwitchState readState( const GlobalOptions &global, const DiffOptions &options, const std::string &file,
                       std::optional<ChipChoice> &ofSwitch, bool &isConfiguration ) {
   if ( std::filesystem::is_directory( file ) ) {
      const auto theSwitch = openSwitch( file );
      if ( !global.variantChosen && !global.chipFile ) {
         ofSwitch = theSwitch->dir()->choice();
      }
      return stateOf( *theSwitch );
   }
   Json json;
   std::vector<AclText> texts; // a pipe is read once
   if ( !isRedis( file ) ) {
      texts.push_back( { file == "-" ? "standard input" : file, readText( file ) } );
      try {
         json = parseJson( texts.front().text );
      } catch ( const Complaint & ) {
         // The reader of configurations tells what is wrong.
      }
   }
   if ( json.is_object() && json.contains( "groups" ) ) {
      try {
         return stateOfDump( json );
      } catch ( const Complaint &complaint ) {
         throw InputError( file + complaint.what() );
      }
   }
   isConfiguration = true;
   auto subject = options.subject;
   subject.texts = std::move( texts );
   subject.choice = ofSwitch;
   subject.files = { file };
   subject.onlySwitchOfProcess = false; // the other state may be one, too
   auto inMemory = global;
   inMemory.switchDir.reset();
   return stateOf( Subject( inMemory, subject ).theSwitch() );
}

// What is about configurations only.
void refuseUnused( const GlobalOptions &global, const SubjectOptions &subject ) {
   const std::pair<const char *, bool> options[] = { { "--variant", global.variantChosen },
                                                     { "--chip", global.chipFile.has_value() },
                                                     { "--map", !subject.map.empty() },
                                                     { "--bindings", subject.bindings } };
   for ( const auto &[ name, isGiven ] : options ) {
      if ( isGiven ) {
         throw InputError( fmt::format(
            "diff: {} is for a configuration; the two states are switches that last or dumps", name ) );
      }
   }
}

// Switches first, whichever side they stand on.
int run( const GlobalOptions &global, const DiffOptions &options, Output &out ) {
   std::array files = { options.before, options.after };
   if ( global.switchDir ) {
      if ( !options.after.empty() ) {
         throw InputError( "diff: with --switch, which is the state before, one more state is expected" );
      }
      mustBeThere( *global.switchDir );
      files = { *global.switchDir, options.before };
   } else if ( options.after.empty() ) {
      throw InputError( "diff: expected two states, BEFORE and AFTER" );
   }
   global.checkStandardInput( { { files.begin(), files.end() } } );
   std::optional<ChipChoice> ofSwitch;
   bool anyConfiguration = false;
   std::array<std::optional<SwitchState>, 2> states;
   for ( const bool switches : { true, false } ) {
      for ( std::size_t i = 0; i < states.size(); ++i ) {
         if ( std::filesystem::is_directory( files[ i ] ) == switches ) {
            states[ i ] = readState( global, options, files[ i ], ofSwitch, anyConfiguration );
         }
      }
   }
   if ( !anyConfiguration ) {
      refuseUnused( global, options.subject );
   }
   const auto found = difference( *states[ 0 ], *states[ 1 ] );
   if ( global.json ) {
      auto json = document( true );
      json.update( differenceJson( found ) );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( differenceText( found ) );
   }
   return found.any() ? exitDoesNotFit : exitGood;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<DiffOptions>();
   app.footer(
      "A state is the directory of a switch that lasts, or a file with a dump (the answer of batch to\n"
      "{\"op\":\"dump\"}, or a document of dump -j or apply -j), or a configuration, which is applied on an "
      "empty\n"
      "switch first. With --switch, that switch is BEFORE. The exit code is 0 when there is no difference, "
      "1\n"
      "when there is one." );
   app.add_option( "BEFORE", options->before, "A state" )->required();
   app.add_option( "AFTER", options->after, "Another one" );
   options->subject.addTo( app );
   app.remove_option( app.get_option( "--config" ) );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command diffCommand = { "diff",
                              "Tell what is different between two states of a switch",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                              addOptions };

} // namespace QuarraTool
