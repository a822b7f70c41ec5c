#include <algorithm>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/Subject.h"

namespace QuarraTool {
namespace {

struct UsageOptions {
   SubjectOptions subject;
   bool monitor = false;
   bool prometheus = false;
   double warn = 70;
   double crit = 90;
};

// A monitoring system reads standard output and takes 3 as "cannot tell", 2 as critical.
int cannotTell( std::string problem, Output &out ) {
   std::ranges::replace( problem, '|', '/' ); // it would begin the figures
   out.print( "QUARRA-TCAM UNKNOWN - " + messageLine( problem ) + "\n" );
   return static_cast<int>( Health::unknown );
}

std::optional<int> tellRefusal( const std::vector<std::string> &words, const std::string &problem,
                                Output &out ) {
   return std::ranges::count( words, "--monitor" ) ? std::optional( cannotTell( problem, out ) )
                                                   : std::nullopt;
}

void check( const GlobalOptions &global, const UsageOptions &options ) {
   if ( options.warn > options.crit ) {
      throw InputError( "usage: --warn is above --crit" );
   }
   if ( global.json && ( options.monitor || options.prometheus ) ) {
      throw InputError(
         fmt::format( "usage: {} has a form of its own: it does not go with --json or --pretty",
                      options.monitor ? "--monitor" : "--prometheus" ) );
   }
}

int runMonitor( const GlobalOptions &global, const UsageOptions &options, Output &out ) {
   try {
      check( global, options );
      const Subject subject( global, options.subject );
      const auto found = monitor( levelsOf( subject.theSwitch() ), options.warn, options.crit );
      out.print( found.line + "\n" );
      return static_cast<int>( found.health );
   } catch ( const InputError &error ) {
      return cannotTell( error.what(), out );
   } catch ( const QuarraAgent::RequestRefused &error ) {
      return cannotTell( error.what(), out );
   }
}

int run( const GlobalOptions &global, const UsageOptions &options, Output &out ) {
   if ( options.monitor ) {
      return runMonitor( global, options, out );
   }
   check( global, options );
   const Subject subject( global, options.subject );
   const auto usage = usageOf( subject.theSwitch() );
   if ( options.prometheus ) {
      out.print( prometheusText( subject.theSwitch(), usage ) );
   } else if ( global.json ) {
      auto json = document( true );
      subject.describe( json );
      json.update( usageJson( usage ) );
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( usageText( subject.theSwitch(), usage ) );
   }
   return exitGood;
}

Command::Run addOptions( CLI::App &app ) {
   const auto options = std::make_shared<UsageOptions>();
   app.footer(
      "--monitor prints one line with figures, as monitoring plug-ins do, and exits with 0 (all "
      "below --warn),\n"
      "1 (something is not), 2 (something is not below --crit) or 3 (the switch cannot be asked, or not so). "
      "It looks at\n"
      "every class-ID space, and at every fixed-width group with a pool wider than a bit." );
   options->subject.addTo( app );
   auto *monitor =
      app.add_flag( "--monitor", options->monitor, "One line and an exit code for a monitoring system" );
   app.add_flag( "--prometheus", options->prometheus, "The text exposition format of Prometheus" )
      ->excludes( monitor );
   app.add_option( "--warn", options->warn, "Percent used that warn" )
      ->needs( monitor )
      ->check( CLI::Range( 0.0, 100.0 ) )
      ->capture_default_str();
   app.add_option( "--crit", options->crit, "Percent used that are critical" )
      ->needs( monitor )
      ->check( CLI::Range( 0.0, 100.0 ) )
      ->capture_default_str();
   return [ options ]( const GlobalOptions &global, Output &out ) { return run( global, *options, out ); };
}

} // namespace

const Command usageCommand = { "usage",
                               "Tell how full the class-ID spaces are, and what still fits",
                               { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                 CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                               addOptions,
                               tellRefusal };

} // namespace QuarraTool
