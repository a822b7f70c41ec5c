#include <fmt/format.h>

#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct DiffOptions {
   SubjectOptions subject; // how configurations are applied; their files are the two states
   std::string before;
   std::string after;
};

// A document that tells of groups is a dump; everything else is a configuration, to be applied on an empty switch.
SwitchState readState( const GlobalOptions &global, const DiffOptions &options, const std::string &file ) {
   Json json;
   try {
      json = parseJson( readText( file ) );
   } catch ( const Complaint & ) {
      // The reader of configurations tells what is wrong.
   }
   if ( json.is_object() && json.contains( "groups" ) ) {
      try {
         return stateOfDump( json );
      } catch ( const Complaint &complaint ) {
         throw InputError( file + complaint.what() );
      }
   }
   auto subject = options.subject;
   subject.files = { file };
   subject.onlySwitchOfProcess = false; // the other state may be one, too
   return stateOf( Subject( global, subject ).theSwitch() );
}

int run( const GlobalOptions &global, const DiffOptions &options, Output &out ) {
   const auto before = readState( global, options, options.before );
   const auto found = difference( before, readState( global, options, options.after ) );
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
      "A state is a file with a dump (the answer of batch to {\"op\":\"dump\"}, or a document of apply -j), "
      "or a\n"
      "configuration, which is applied on an empty switch first. The exit code is 0 when there is no\n"
      "difference, 1 when there is one." );
   app.add_option( "BEFORE", options->before, "A state" )->required();
   app.add_option( "AFTER", options->after, "Another one" )->required();
   options->subject.addTo( app );
   app.remove_option( app.get_option( "--config" ) );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command diffCommand = { "diff",
                              "Tell what is different between two states of a switch",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::chip, CommonOption::trace },
                              addOptions };

} // namespace QuarraTool
