#include <array>
#include <filesystem>
#include <iostream>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "acl/NaturalOrder.h"
#include "acl/ReadAcl.h"
#include "lab/FillRun.h"
#include "lab/Page.h"
#include "tools/Command.h"
#include "tools/OpenSwitch.h"
#include "tools/OutputFiles.h"
#include "tools/PlanLines.h"
#include "tools/PlanText.h"
#include "tools/Subject.h"
#include "tools/TextTable.h"
#include "tools/Wanted.h"
#include "tools/Warnings.h"

namespace QuarraTool {
namespace {

struct PlanCommandOptions {
   std::vector<std::string> files; // of the change
   std::vector<std::string> from;  // what the switch holds before
   std::string format;
   std::vector<std::string> map; // "TYPE=GROUP"
   bool bindings = false;
   bool all = false;
   std::string steps; // file for batch lines
   std::string html;
};

AclConfig configOf( AclReading reading, const PlanCommandOptions &options ) {
   auto config = std::move( reading ).orRefuse();
   if ( options.bindings ) {
      addBindings( config );
   }
   return config;
}

// The chip has the ports of both configurations.
std::vector<QuarraAgent::ChipPort> portsOf( const AclConfig &before, const AclConfig &after ) {
   std::set<std::string, NaturalLess> names( before.ports.begin(), before.ports.end() );
   names.insert( after.ports.begin(), after.ports.end() );
   AclConfig both;
   both.ports.assign( names.begin(), names.end() );
   return chipPortsOf( both );
}

// Rules that do not fit are told on standard error, and are not on the switch.
void fill( Switch &theSwitch, const WantedEntries &wanted ) {
   FillRun run( theSwitch.agent() );
   std::size_t refused = 0;
   for ( const auto &request : wanted ) {
      refused += !run.install( request );
   }
   if ( refused ) {
      std::cerr << fmt::format(
         "quarra-tcam: {} of {} did not fit and {} not on the switch before the change\n", refused,
         counted( wanted.size(), "rule", "rules" ), refused == 1 ? "is" : "are" );
   }
}

// The state of the copy before the first step, and after the last one.
class Pages {
 public:
   explicit Pages( std::map<std::string, std::string> before, std::map<std::string, std::string> after )
      : texts_{ std::move( before ), std::move( after ) } {}

   void show( const Switch &copy, const char *when, const Plan &plan, const std::string &title ) {
      const auto &texts = texts_[ states_.size() ];
      PageNotes notes;
      for ( const auto &[ id, entry ] : copy.agent().entries() ) {
         if ( const auto text = texts.find( ruleOf( entry.request ) ); text != texts.end() ) {
            notes.ruleTexts.emplace( id, text->second );
         }
      }
      for ( const auto &rule : plan.rules ) {
         if ( rule.fate == RuleFate::refused ) {
            notes.refused.push_back( { rule.rule, rule.code, rule.message } );
         }
      }
      states_.push_back( pageState( copy, when, notes ) );
      if ( states_.size() == texts_.size() ) {
         document_ = pageDocument( copy, title, std::move( states_ ) );
      }
   }

   const JsonOut &document() const { return document_; }

 private:
   std::array<std::map<std::string, std::string>, 2> texts_;
   std::vector<JsonOut> states_;
   JsonOut document_;
};

int exitCodeOf( PlanVerdict verdict ) {
   switch ( verdict ) {
   case PlanVerdict::fits:
      return exitGood;
   case PlanVerdict::fitsWithAGap:
   case PlanVerdict::needsReload:
      return exitFitsWithAGap;
   case PlanVerdict::doesNotFit:
   case PlanVerdict::doesNotMatch:
      return exitDoesNotFit;
   }
   return exitDoesNotFit; // no enumerator
}

// Steps of an earlier plan do not stay: whoever carries out the file would take them for those of this one.
void writeSteps( const std::string &file, const Plan &plan ) {
   const auto left = plan.count( RuleFate::refused );
   if ( left == 0 ) {
      writeFile( file, planLines( plan ) );
      return;
   }
   std::error_code error;
   const auto path = whatIsWritten( file );
   const bool removed =
      std::filesystem::is_regular_file( path, error ) && std::filesystem::remove( path, error );
   std::cerr << fmt::format( "quarra-tcam: {}: not written, since {} not fit{}\n", oneLine( file ),
                             counted( left, "rule does", "rules do" ),
                             removed ? "; what was there is removed" : "" );
}

int run( const GlobalOptions &global, const PlanCommandOptions &options, Output &out ) {
   if ( global.switchDir && !options.from.empty() ) {
      throw InputError( "plan: --switch is a switch that is there: it takes no --from" );
   }
   checkOutputs( "plan", { { "--steps", options.steps }, { "--html", options.html } },
                 filesRead( global, { options.files, options.from } ) );
   const auto format = options.format.empty() ? std::nullopt : std::optional( aclFormatOf( options.format ) );
   const auto before =
      options.from.empty() ? AclConfig() : configOf( readAcl( options.from, format ), options );
   auto after = configOf( readChangedAcl( options.from, options.files, format ), options );
   std::unique_ptr<Switch> copy;
   if ( global.switchDir ) {
      copy = openSwitch( global );
   } else {
      auto choice = global.choice();
      choice.chip.ports = portsOf( before, after );
      copy = std::make_unique<Switch>( choice );
   }
   const auto &variant = copy->agent().variant();
   const auto &chip = copy->agent().chip();
   GroupMap map;
   for ( const auto &text : options.map ) {
      addToMap( map, text );
   }
   checkGroups( map );
   warnOfUnusedTypes( map, "--map ", after, &before );
   map.merge( defaultGroupMap( variant.generation ) );
   fill( *copy, wantedOf( before, map, chip.ports ) );
   const auto wanted = wantedOf( after, map, chip.ports );

   auto json = document( true );
   json[ "change" ] = after.file;
   json[ "variant" ] = variant.name;
   json[ "chip" ] = chip.profile;
   json.update( warningsJson( after ) );
   Pages pages( ruleTextsOf( before ), ruleTextsOf( after ) );
   PlanOptions planOptions;
   if ( !options.html.empty() ) {
      planOptions.show = [ & ]( const Switch &theSwitch, const char *when, const Plan &plan ) {
         pages.show( theSwitch, when, plan, after.file );
      };
   }
   const auto plan = makePlan( std::move( copy ), wanted, planOptions );
   const int code = exitCodeOf( plan.verdict() );
   if ( !options.html.empty() ) {
      writeFile( options.html, pageHtml( pages.document() ) );
   }
   if ( !options.steps.empty() ) {
      writeSteps( options.steps, plan );
   }
   if ( global.json ) {
      json[ "ok" ] = code == exitGood;
      json.update( planJson( plan ) );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( warningsText( after ) + planText( plan, options.all ) );
   }
   return code;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<PlanCommandOptions>();
   app.footer(
      "The change is a configuration, in any format that apply reads, or a patch or a list of SET and DEL\n"
      "operations for the configuration before it. The switch is --switch DIR, which is left as it is, or "
      "an\n"
      "empty one that gets --from first.\n"
      "A rule stays when its ports and its TCAM group do: what it matches, its action and its priority are\n"
      "not compared.\n"
      "Exit codes: 0 it fits in place, and at no time is a match wrong; 3 it fits, but only with wrong\n"
      "matches on the way, or after a reload; 1 it does not fit or does not match." );
   app.add_option( "CHANGE", options->files,
                   "What the switch is to hold; several files when ports stand in one and rules in another" )
      ->required();
   app.add_option( "--from", options->from,
                   "The configuration that the switch holds before; several times "
                   "when it stands in several files" )
      ->type_name( "FILE" )
      ->expected( 1 )
      ->allow_extra_args( false )
      ->take_all();
   app.add_option( "--format", options->format,
                   "Format of the change, and of what is before it unless a patch is forced" )
      ->type_name( "NAME" );
   app.add_option( "--map", options->map, "TCAM group for a table type; may be given several times" )
      ->type_name( "TYPE=GROUP" )
      ->expected( 1 )
      ->allow_extra_args( false )
      ->take_all();
   app.add_flag( "--bindings", options->bindings, "Install one entry for each table that has no rules" );
   app.add_flag( "--all", options->all, "List every step and every wrong match (the document always does)" );
   app.add_option( "-o,--steps", options->steps, "Write the steps as lines for batch and apply --plan" )
      ->type_name( "FILE" );
   app.add_option( "--html", options->html, "Write a page that shows the switch before and after" )
      ->type_name( "FILE" );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command planCommand = { "plan",
                              "Tell what a change does to a switch, before it is made",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                              addOptions };

} // namespace QuarraTool
