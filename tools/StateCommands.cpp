#include <algorithm>

#include <fmt/format.h>

#include "lab/MatchCheck.h"
#include "lab/TextFile.h"
#include "lab/Who.h"
#include "tools/Command.h"
#include "tools/MatchText.h"
#include "tools/Subject.h"

// What is on a switch, and whether it matches.
namespace QuarraTool {
namespace {

struct CheckOptions {
   SubjectOptions subject;
   bool all = false;
};

int runCheck( const GlobalOptions &global, const CheckOptions &options, Output &out ) {
   const Subject subject( global, options.subject );
   const auto &theSwitch = subject.theSwitch();
   const auto mismatches = checkMatches( theSwitch );
   if ( global.json ) {
      const PortsJson ports( theSwitch );
      auto json = document( mismatches.empty() );
      subject.describe( json );
      json[ "entries" ] = theSwitch.agent().entries().size();
      json[ "mismatches" ] = JsonOut::array();
      for ( const auto &mismatch : mismatches ) {
         json[ "mismatches" ].push_back( mismatchJson( theSwitch, ports, mismatch ) );
      }
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( matchText( theSwitch, mismatches, options.all, false ) );
   }
   return mismatches.empty() ? exitGood : exitDoesNotFit;
}

int runDump( const GlobalOptions &global, const SubjectOptions &options, Output &out ) {
   const Subject subject( global, options );
   auto json = document( true );
   json[ "spaces" ] = dumpSpaces( subject.theSwitch() );
   json[ "groups" ] = dumpGroups( subject.theSwitch() );
   json[ "chip" ] = dumpChip( subject.theSwitch() );
   out.print( jsonText( json, global.pretty ) + "\n" );
   return exitGood;
}

Command::Run addCheckOptions( CLI::App &app ) {
   const auto options = std::make_shared<CheckOptions>();
   app.footer( "The exit code is 0 when every entry matches exactly the ports "
               "that it was asked for, 1 when one "
               "does not." );
   options->subject.addTo( app );
   app.add_flag( "--all", options->all, "List every mismatch (the document always does)" );
   return
      [ options ]( const GlobalOptions &global, Output &out ) { return runCheck( global, *options, out ); };
}

Command::Run addDumpOptions( CLI::App &app ) {
   const auto options = std::make_shared<SubjectOptions>();
   app.footer( "The state is always a JSON document: the one that batch answers "
               "to {\"op\":\"dump\"}, and that diff "
               "reads." );
   options->addTo( app );
   return
      [ options ]( const GlobalOptions &global, Output &out ) { return runDump( global, *options, out ); };
}

} // namespace

const Command checkCommand = { "check",
                               "Check that every entry matches exactly its ports",
                               { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                 CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                               addCheckOptions };

const Command dumpCommand = { "dump",
                              "Print all that library and chip hold, as a JSON document",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                              addDumpOptions };

} // namespace QuarraTool
