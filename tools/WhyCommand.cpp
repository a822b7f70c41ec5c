#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/OutputFiles.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct WhyOptions {
   SubjectOptions subject;
   std::string port;
   std::string what;
   std::string html;
};

int run( const GlobalOptions &global, const WhyOptions &options, Output &out ) {
   checkOutputs( "why", { { "--html", options.html } }, filesRead( global, { options.subject.files } ) );
   const Subject subject( global, options.subject );
   const auto &theSwitch = subject.theSwitch();
   const auto port = PortNames( theSwitch ).find( options.port );
   const auto report = explainPort( theSwitch, port, entriesNamed( theSwitch, options.what ) );
   const auto notes = subject.notes();
   if ( !options.html.empty() ) {
      writePage( options.html, theSwitch, subject.title(), notes );
   }
   if ( global.json ) {
      auto json = document( true );
      subject.describe( json );
      json.update( portReportJson( theSwitch, report, notes.ruleTexts ) );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( whyText( theSwitch, report, !options.what.empty(), notes.ruleTexts ) );
   }
   return exitGood;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<WhyOptions>();
   app.footer(
      "Without ENTRY, one line for the entries of each class ID; with it, bit by bit. ENTRY is an entry's\n"
      "number, a table, TABLE|RULE, or the name of a rule. What a rule says is shown as its author wrote it; "
      "a\n"
      "switch does not know it: with --switch, --config tells." );
   app.add_option( "PORT", options->port, "The port, by its name or number" )->required();
   app.add_option( "ENTRY", options->what, "Which entries to look at" );
   options->subject.tellsRules = true;
   options->subject.addTo( app );
   app.add_option( "--html", options->html, "Write a page that shows the switch" )->type_name( "FILE" );
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command whyCommand = { "why",
                             "Tell why a port matches entries or does not, bit by bit",
                             { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                               CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                             addOptions };

} // namespace QuarraTool
