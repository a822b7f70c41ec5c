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
#include "tools/KeepGoing.h"
#include "tools/OpenSwitch.h"
#include "tools/OutputFiles.h"
#include "tools/PlanLines.h"
#include "tools/PlanText.h"
#include "tools/RuleTexts.h"
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
   bool keepGoing = false;       // without what is wrong in the files
   std::vector<std::string> map; // "TYPE=GROUP"
   bool bindings = false;
   bool all = false;
   std::string steps; // file for batch lines
   std::string html;
};

// What the switch holds before, and what it is to hold.
AclChange changeOf( const PlanCommandOptions &options ) {
   auto change =
      readAclChange( options.from, options.files,
                     options.format.empty() ? std::nullopt : std::optional( aclFormatOf( options.format ) ) );
   for ( auto *reading : { &change.before, &change.after } ) {
      *reading = usableOf( std::move( *reading ), options.keepGoing );
      if ( options.bindings ) {
         addBindings( reading->config );
      }
   }
   return change;
}

// A patch leaves what is wrong before it as it is: once is enough.
std::vector<AclComplaint> complaintsOf( const AclChange &change ) {
   std::set<std::string> told;
   std::vector<AclComplaint> complaints;
   for ( const auto *reading : { &change.before, &change.after } ) {
      std::ranges::copy_if(
         reading->complaints, std::back_inserter( complaints ),
         [ & ]( const auto &complaint ) { return told.insert( complaint.text() ).second; } );
   }
   return complaints;
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
   // What the rules say in the configuration before, and after.
   Pages( const RuleFields &before, const RuleFields &after ) : fields_{ &before, &after } {}

   void show( const Switch &copy, const char *when, const Plan &plan, const std::string &title ) {
      const auto &fields = *fields_[ states_.size() ];
      PageNotes notes;
      notes.ruleTexts = entryTexts( copy, fields );
      for ( const auto &rule : plan.rules ) {
         if ( rule.fate == RuleFate::refused ) {
            notes.refused.push_back(
               { rule.rule, rule.code, rule.message, ruleText( fields.at( rule.rule ) ) } );
         }
      }
      states_.push_back( pageState( copy, when, notes ) );
      if ( states_.size() == fields_.size() ) {
         document_ = pageDocument( copy, title, std::move( states_ ) );
      }
   }

   const JsonOut &document() const { return document_; }

 private:
   std::array<const RuleFields *, 2> fields_;
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
void writeSteps( const std::string &file, const Plan &plan, std::size_t mistakes ) {
   const auto left = plan.count( RuleFate::refused );
   if ( left == 0 && mistakes == 0 ) {
      writeFile( file, planLines( plan ) );
      return;
   }
   std::error_code error;
   const auto path = whatIsWritten( file );
   const bool removed =
      std::filesystem::is_regular_file( path, error ) && std::filesystem::remove( path, error );
   std::cerr << fmt::format( "quarra-tcam: {}: not written, since {}{}\n", oneLine( file ),
                             left ? counted( left, "rule does", "rules do" ) + " not fit"
                                  : "what is wrong in the files is left out",
                             removed ? "; what was there is removed" : "" );
}

int run( const GlobalOptions &global, const PlanCommandOptions &options, Output &out ) {
   if ( global.switchDir && !options.from.empty() ) {
      throw InputError( "plan: --switch is a switch that is there: it takes no --from" );
   }
   global.checkStandardInput( { options.from, options.files } );
   checkOutputs( "plan", { { "--steps", options.steps }, { "--html", options.html } },
                 filesRead( global, { options.files, options.from } ) );
   auto change = changeOf( options );
   const auto complaints = complaintsOf( change );
   const auto &before = change.before.config;
   auto &after = change.after.config;
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
   auto defaults = defaultGroupMap( variant.generation );
   warnOfUnusedTypes( map, defaults, "--map ", after, &before );
   map.merge( defaults );
   fill( *copy, wantedOf( before, map, chip.ports ) );
   const auto wanted = wantedOf( after, map, chip.ports );

   auto json = document( true );
   json[ "change" ] = after.file;
   json[ "variant" ] = variant.name;
   json[ "chip" ] = chip.profile;
   json[ "complaints" ] = complaintsJson( complaints );
   json.update( warningsJson( after ) );
   const auto fieldsBefore = ruleFieldsOf( before );
   const auto fieldsAfter = ruleFieldsOf( after );
   Pages pages( fieldsBefore, fieldsAfter );
   PlanOptions planOptions;
   planOptions.change = keepingWhatIsWrong( change.after.complaints );
   if ( !options.html.empty() ) {
      planOptions.show = [ & ]( const Switch &theSwitch, const char *when, const Plan &plan ) {
         pages.show( theSwitch, when, plan, after.file );
      };
   }
   auto plan = makePlan( std::move( copy ), wanted, planOptions );
   tellRuleFields( plan, fieldsBefore, fieldsAfter );
   const int code = complaints.empty() ? exitCodeOf( plan.verdict() ) : int{ exitDoesNotFit };
   if ( !options.html.empty() ) {
      writeFile( options.html, pageHtml( pages.document() ) );
   }
   if ( !options.steps.empty() ) {
      writeSteps( options.steps, plan, complaints.size() );
   }
   if ( global.json ) {
      json[ "ok" ] = code == exitGood;
      json.update( planJson( plan ) );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( wrongText( complaints, options.all ) + warningsText( after ) +
                 planText( plan, options.all ) );
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
      "matches on the way, or after a reload; 1 it does not fit or does not match, or something wrong was\n"
      "left out." );
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
   app.add_flag(
      "--keep-going", options->keepGoing,
      "Leave out what is wrong in the files, a rule or a table, list it, and exit with 1, as apply does" );
   app.add_option( "--map", options->map, "TCAM group for a table type; may be given several times" )
      ->type_name( "TYPE=GROUP" )
      ->expected( 1 )
      ->allow_extra_args( false )
      ->take_all();
   app.add_flag( "--bindings", options->bindings, "Install one entry for each table that has no rules" );
   app.add_flag(
      "--all", options->all,
      "List every step and every wrong match, and what each rule says (the document always does)" );
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
