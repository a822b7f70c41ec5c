#include <algorithm>
#include <functional>
#include <iostream>
#include <thread>

#include <CLI/CLI.hpp>

#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/Version.h"
#include "acl/ReadAcl.h"
#include "tools/Options.h"

namespace {

using namespace QuarraTool;

constexpr auto about =
   "Class IDs for TCAM entries, on a simulated switch chip.\n\n"
   "A class ID is a short value that a switch port carries; a TCAM entry matches the value instead of a "
   "bitmap of\n"
   "ports. This command shows what a library of class IDs makes of your ACLs: which entries share a class "
   "ID, which\n"
   "bits and ports it takes, whether everything fits, and whether every entry matches exactly its ports.\n";

constexpr auto examples =
   "Examples:\n"
   "  quarra-tcam apply /etc/sonic/config_db.json      install all ACL rules, show and check the result\n"
   "  quarra-tcam apply acl.json --map L3=16 -j -p      other TCAM group for L3 tables, result as JSON\n"
   "  echo '{\"op\":\"install\",\"group\":13,\"entry\":1,\"ports\":[1,2]}' | quarra-tcam batch -\n"
   "  quarra-tcam --trace QuarraTcamPortsManager/1-3 apply acl.json     what the library does, step by "
   "step\n\n"
   "Exit codes: 0 all is well; 1 something does not fit or does not match; 2 bad input or options, nothing "
   "applied.\n";

// Runs a command; whatever is wrong with its input is one line on standard error.
int run( const GlobalOptions &global, const std::function<int()> &command ) {
   if ( const auto problem = Nodra::traceLevelsIs( global.trace ); !problem.empty() ) {
      std::cerr << "quarra-tcam: --trace: " << oneLine( problem ) << "\n";
      return exitBadInput;
   }
   try {
      return command();
   } catch ( const InputError &error ) {
      std::cerr << "quarra-tcam: " << error.what() << "\n";
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      std::cerr << "quarra-tcam: " << refused.code() << ": " << refused.what() << "\n";
   }
   return exitBadInput;
}

} // namespace

int main( int argc, char **argv ) {
   CLI::App app( about, "quarra-tcam" );
   app.footer( examples );
   app.set_version_flag( "-V,--version", "quarra-tcam " QUARRA_TCAM_PORTS_VERSION );
   app.require_subcommand( 1 );
   app.fallthrough();
   app.failure_message( []( const CLI::App *, const CLI::Error &error ) {
      return "quarra-tcam: " + oneLine( error.what() ) + " (--help explains)\n";
   } );

   GlobalOptions global;
   app.add_flag( "-j,--json", global.json, "Print one JSON document" );
   app.add_flag( "-p,--pretty", global.pretty, "Indent the JSON document" );
   app.add_option(
         "--trace", global.trace,
         "Trace on standard error: HANDLE/LEVEL or HANDLE/FROM-TO, several with commas; * for every handle" )
      ->type_name( "HANDLE/LEVELS" );
   auto *variant =
      app.add_option( "--variant", global.variant, "Chip variant: " + QuarraAgent::variantNames() )
         ->capture_default_str()
         ->type_name( "NAME" );
   app.add_option( "--chip", global.chipFile,
                   "Chip file: a JSON object that changes the variant's default chip" )
      ->type_name( "FILE" );

   app.add_option( "--fail-sdk-call", global.failSdkCalls,
                   "Let the n-th SDK call fail (from the start of set-up): N, N:CODE or FUNCTION:N[:CODE]" )
      ->type_name( "CALL" )
      ->expected( 1 )
      ->take_all();
   app.add_flag( "-s,--statistics", global.statistics, "Print the number of SDK calls by function" );

   std::function<int()> command;
   ApplyOptions apply;
   auto *applyCommand =
      app.add_subcommand( "apply", "Install the ACL rules of a config_db.json and check them" );
   applyCommand->callback( [ & ] { command = [ & ] { return runApply( global, apply ); }; } );
   applyCommand->footer(
      "Every rule becomes one TCAM entry. The map from table types to TCAM groups on the SDK6\n"
      "variants is L3=13, L3V6=14, L3V4V6=59, MIRROR=42, MIRRORV6=43, MIRROR_DSCP=52, PFCWD=55,\n"
      "MCLAG=56, CTRLPLANE=108 and OTHER=132 for every other type; docs/tool.md has the others." );
   applyCommand->add_option( "FILE", apply.file, "The configuration" )->required();
   applyCommand->add_option( "--map", apply.map, "TCAM group for a table type; may be given several times" )
      ->type_name( "TYPE=GROUP" );
   applyCommand->add_flag( "--bindings", apply.bindings,
                           "Install one entry for each table that has no rules" );

   std::string batchFile;
   auto *batchCommand = app.add_subcommand( "batch", "Answer JSON lines, one operation a line" );
   batchCommand->callback( [ & ] { command = [ & ] { return runBatch( global, batchFile ); }; } );
   batchCommand->footer(
      "Operations: chip (first line only), createGroup, install, remove, deleteGroup, dump, check.\n"
      "Each line is answered by one line at once: {\"ok\":true,...} or\n"
      "{\"ok\":false,\"error\":{\"code\":...,\"message\":...,\"line\":...}}." );
   batchCommand->add_option( "FILE", batchFile, "The operations; - for standard input" )->required();

   SoakCommandOptions soak;
   soak.jobs = std::max( 1u, std::thread::hardware_concurrency() );
   auto *soakCommand =
      app.add_subcommand( "soak", "Carry out random operations and compare library and chip with a model" );
   soakCommand->callback( [ & ] { command = [ & ] { return runSoak( global, soak ); }; } );
   soakCommand->footer(
      "Without --variant, on all variants in turn. When library and model part, prints the seed and a\n"
      "shortened history that `quarra-tcam batch` replays, and exits with 1." );
   soakCommand->add_option( "--ops", soak.operations, "How many operations; 100000 when there is no --time" )
      ->type_name( "N" );
   soakCommand->add_option( "--seed", soak.seed, "Seed; a random one when not given, printed at the end" )
      ->type_name( "S" );
   soakCommand->add_option( "--time", soak.seconds, "At most so many seconds" )
      ->type_name( "T" )
      ->check( CLI::PositiveNumber );
   soakCommand->add_option( "--jobs", soak.jobs, "Processes at a time; every core when not given" )
      ->type_name( "J" )
      ->check( CLI::Range( 1, 256 ) );
   soakCommand->add_flag( "--print", soak.print,
                          "Print the history of one episode, for `quarra-tcam batch`" );

   app.add_subcommand( "groups", "List the TCAM groups of a variant and how they use class IDs" )
      ->callback( [ & ] { command = [ & ] { return runGroups( global ); }; } );
   app.add_subcommand( "chips", "List the chips shipped" )->callback( [ & ] {
      command = [ & ] { return runChips( global ); };
   } );

   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError &error ) {
      return app.exit( error ) == 0 ? exitGood : exitBadInput;
   }
   global.variantChosen = variant->count() > 0;
   if ( soak.operations == 0 && soak.seconds <= 0 ) {
      soak.operations = 100000;
   }
   return run( global, command );
}
