#include <cstdlib>
#include <memory>

#include <fmt/format.h>

#include "acl/ReadAcl.h"
#include "tools/ApplyPlan.h"
#include "tools/ApplyReport.h"
#include "tools/Command.h"
#include "tools/KeepGoing.h"
#include "tools/OpenSwitch.h"
#include "tools/OutputFiles.h"
#include "tools/SdkCalls.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct ApplyOptions {
   std::vector<std::string> files;
   std::string format;           // of the files; empty: as their content tells
   bool keepGoing = false;       // without what is wrong in the files
   std::vector<std::string> map; // "TYPE=GROUP"
   bool bindings = false;        // an entry for a table without rules
   bool all = false;             // refusals and mismatches one by one
   std::string html;             // a page of the result
   std::string plan;             // instead of files: what `plan -o` wrote
};

bool wantsColour( const Output &out ) {
   const char *noColour = std::getenv( "NO_COLOR" );
   return out.isTerminal() && !( noColour && *noColour );
}

Applied applyOn( const GlobalOptions &global, AclConfig config, const GroupMap &map,
                 std::vector<AclComplaint> complaints ) {
   if ( !global.switchDir ) {
      return Applied( std::move( config ), global.choice(), map, std::move( complaints ) );
   }
   const auto ports = chipPortsOf( config );
   if ( isNotThereYet( global ) ) {
      auto choice = global.choice();
      choice.onlySwitchOfProcess = false;
      const Switch like( choice );
      checkGroups( map ); // so that no switch is made for a group that it does not have
   }
   return Applied( std::move( config ), openOrMakeSwitch( global, &ports ), map, std::move( complaints ) );
}

// A plan says what is done: options that say how a configuration is read and reported do nothing for it.
void refuseBesideAPlan( const CLI::App &app ) {
   for ( const auto *name : { "--format", "--keep-going", "--map", "--bindings", "--all", "--html" } ) {
      if ( app.get_option( name )->count() ) {
         throw InputError( fmt::format( "apply: --plan does not use {}", name ) );
      }
   }
}

int run( const GlobalOptions &global, const ApplyOptions &options, Output &out ) {
   if ( !options.plan.empty() ) {
      if ( !options.files.empty() ) {
         throw InputError( "apply: a plan is carried out alone, without a configuration" );
      }
      global.checkStandardInput( { { options.plan } } );
      return applyPlan( global, options.plan, out );
   }
   if ( options.files.empty() ) {
      throw InputError( "apply: expected a configuration, FILE, or --plan FILE" );
   }
   global.checkStandardInput( { options.files } );
   checkOutputs( "apply", { { "--html", options.html } }, filesRead( global, { options.files } ) );
   GroupMap map;
   for ( const auto &text : options.map ) {
      addToMap( map, text );
   }
   auto [ config, complaints ] = usableOf(
      readAcl( options.files,
               options.format.empty() ? std::nullopt : std::optional( aclFormatOf( options.format ) ) ),
      options.keepGoing );
   if ( options.bindings ) {
      addBindings( config );
   }
   const auto applied = applyOn( global, std::move( config ), map, std::move( complaints ) );
   if ( !options.html.empty() ) {
      writePage( options.html, applied.theSwitch(), applied.config().file, notesOf( applied ) );
   }
   if ( global.json ) {
      auto json = applyJson( applied );
      if ( global.statistics ) {
         json[ "sdkCalls" ] = applied.theSwitch().chip().callCounts();
      }
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( applyReport( applied, wantsColour( out ), options.all ) );
      if ( global.statistics ) {
         out.print( "\n" + sdkCallsText( applied.theSwitch() ) );
      }
   }
   return withFailuresChecked( global, &applied.theSwitch(),
                               applied.allFitAndMatch() ? exitGood : exitDoesNotFit );
}

std::string formatNames() {
   std::string names;
   for ( const auto &row : aclFormats() ) {
      names += ( names.empty() ? "" : ", " ) + std::string( row.name );
   }
   return names;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<ApplyOptions>();
   app.footer(
      "Every rule becomes one TCAM entry. With --switch, the switch holds what the configuration says\n"
      "afterwards: entries of earlier configurations that are gone are removed, those that changed are\n"
      "moved, all others are not touched; compared are ports and TCAM group. The map from table types to "
      "TCAM groups on the SDK6\n"
      "variants is L3=13, L3V6=14, L3V4V6=59, MIRROR=42, MIRRORV6=43, MIRROR_DSCP=52, PFCWD=55,\n"
      "MCLAG=56, CTRLPLANE=108 and OTHER=132 for every other type; docs/tool.md has the others." );
   app.add_option( "FILE", options->files,
                   "The configuration; - for standard input. Ports and bindings may stand in one file, rules "
                   "in another" );
   app.add_option( "--format", options->format, "Format of the files: " + formatNames() )
      ->type_name( "NAME" );
   app.add_flag( "--keep-going", options->keepGoing,
                 "Leave out what is wrong in the files, a rule or a table, list it, and exit with 1" );
   app.add_option( "--map", options->map, "TCAM group for a table type; may be given several times" )
      ->type_name( "TYPE=GROUP" )
      ->allow_extra_args( false );
   app.add_flag( "--bindings", options->bindings, "Install one entry for each table that has no rules" );
   app.add_flag( "--all", options->all,
                 "List every refused entry and every mismatch (the document always does)" );
   app.add_option( "--plan", options->plan, "Carry out what `plan -o` wrote, on the switch that it is for" )
      ->type_name( "FILE" );
   app.add_option( "--html", options->html, "Write a page that shows the result, too" )->type_name( "FILE" );
   return [ options, &app ]( const GlobalOptions &global, Output &out ) {
      if ( !options->plan.empty() ) {
         refuseBesideAPlan( app );
      }
      return run( global, *options, out );
   };
}

} // namespace

const Command applyCommand = { "apply",
                               "Install the rules of ACL configurations and check them",
                               { CommonOption::json, CommonOption::pretty, CommonOption::statistics,
                                 CommonOption::variant, CommonOption::chip, CommonOption::switchDir,
                                 CommonOption::sync, CommonOption::cold, CommonOption::failSdkCall,
                                 CommonOption::trace },
                               addOptions };

} // namespace QuarraTool
