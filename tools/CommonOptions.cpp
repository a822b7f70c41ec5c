#include "tools/CommonOptions.h"

namespace QuarraTool {
namespace {

const CommonOptionRow rows[] = {
   { CommonOption::json, "-j,--json", "Print one JSON document", nullptr, true,
     []( GlobalOptions &global, const std::string & ) { global.json = true; } },
   { CommonOption::pretty, "-p,--pretty", "Print one JSON document, indented", nullptr, true,
     []( GlobalOptions &global, const std::string & ) { global.json = global.pretty = true; } },
   { CommonOption::statistics, "-s,--statistics", "Print the number of SDK calls by function", nullptr, true,
     []( GlobalOptions &global, const std::string & ) { global.statistics = true; } },
   { CommonOption::variant, "--variant", "Chip variant: ", "NAME", false,
     []( GlobalOptions &global, const std::string &value ) {
        global.variant = value;
        global.variantChosen = true;
     } },
   { CommonOption::chip, "--chip", "Chip file: a JSON object that changes the variant's default chip", "FILE",
     false, []( GlobalOptions &global, const std::string &value ) { global.chipFile = value; } },
   { CommonOption::switchDir, "--switch",
     "A switch that lasts: its directory. apply and batch make it with its first use, as --variant and "
     "--chip say",
     "DIR", false, []( GlobalOptions &global, const std::string &value ) { global.switchDir = value; } },
   { CommonOption::sync, "--sync", "With --switch: every change survives a loss of power, too", nullptr, true,
     []( GlobalOptions &global, const std::string & ) { global.sync = true; } },
   { CommonOption::cold, "--cold",
     "With --switch: start anew where its store is damaged, newer or gone. The chip's entries go first, then "
     "its "
     "bits, then the entries come back",
     nullptr, true, []( GlobalOptions &global, const std::string & ) { global.cold = true; } },
   { CommonOption::failSdkCall, "--fail-sdk-call",
     "Let the n-th SDK call fail (from the start of set-up): N, N:CODE or FUNCTION:N[:CODE]", "CALL", true,
     []( GlobalOptions &global, const std::string &value ) { global.failSdkCalls.push_back( value ); } },
   { CommonOption::trace, "--trace",
     "Trace on standard error: HANDLE/LEVEL or HANDLE/FROM-TO, several with commas; * for every handle",
     "HANDLE/LEVELS", true,
     []( GlobalOptions &global, const std::string &value ) { global.trace.push_back( value ); } },
};

} // namespace

std::string CommonOptionRow::longName() const {
   const std::string all = names;
   return all.substr( all.find( "--" ) );
}

std::span<const CommonOptionRow> commonOptions() {
   return rows;
}

void addCommonOption( CLI::App &app, const CommonOptionRow &row, GlobalOptions &global ) {
   const auto help =
      row.help + ( row.option == CommonOption::variant ? QuarraAgent::variantNames() : std::string() );
   if ( !row.valueName ) {
      app.add_flag_callback(
         row.names, [ &row, &global ] { row.set( global, {} ); }, help );
      return;
   }
   app.add_option_function<std::vector<std::string>>(
         row.names,
         [ &row, &global ]( const std::vector<std::string> &values ) {
            for ( const auto &value : values ) {
               row.set( global, value );
            }
         },
         help )
      ->type_name( row.valueName )
      ->expected( 1 )
      ->allow_extra_args( false ) // or it takes the words behind its value, too
      ->take_all();
}

} // namespace QuarraTool
