#include <algorithm>
#include <csignal>
#include <iostream>
#include <memory>
#include <random>
#include <thread>

#include <fmt/format.h>
#include <unistd.h>

#include "lab/Dump.h"
#include "lab/TextFile.h"
#include "soak/Exhaustive.h"
#include "tools/Command.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraSoak;

struct SoakCommandOptions {
   std::optional<U64> operations;
   std::optional<U64> seed;
   std::optional<double> seconds;
   U32 jobs = std::max( 1u, std::thread::hardware_concurrency() );
   bool crash = false;
   std::optional<U32> depth; // of every history
   U32 restartOneIn = 20;
   bool print = false; // one episode's history instead
};

// "1,234,567"
std::string grouped( U64 number ) {
   auto text = std::to_string( number );
   for ( auto place = static_cast<std::ptrdiff_t>( text.size() ) - 3; place > 0; place -= 3 ) {
      text.insert( static_cast<std::size_t>( place ), "," );
   }
   return text;
}

double rateOf( const SoakResult &result ) {
   return result.seconds > 0 ? static_cast<double>( result.tally.operations ) / result.seconds : 0;
}

// "[##########----------]  52 %  520,000 operations  4,100/s", over itself.
void drawProgress( const SoakOptions &options, const SoakResult &result ) {
   constexpr int width = 20;
   const double byOperations = options.operations ? static_cast<double>( result.tally.operations ) /
                                                       static_cast<double>( options.operations )
                                                  : 0;
   const double byTime = options.seconds > 0 ? result.seconds / options.seconds : 0;
   const double done = std::min( 1.0, std::max( byOperations, byTime ) );
   const auto filled = static_cast<std::size_t>( done * width );
   std::cerr << fmt::format( "\r[{}{}] {:3.0f} %  {} operations  {}/s ", std::string( filled, '#' ),
                             std::string( width - filled, '-' ), done * 100,
                             grouped( result.tally.operations ),
                             grouped( static_cast<U64>( rateOf( result ) ) ) )
             << std::flush;
}

// What ended the work, if anything did.
void addEnd( JsonOut &json, const std::string &problem, int signal,
             const std::optional<SoakFailure> &failure ) {
   json[ "problem" ] = problem.empty() ? JsonOut() : JsonOut( problem );
   json[ "signal" ] = signal ? JsonOut( signal ) : JsonOut();
   json[ "failure" ] = nullptr;
   if ( failure ) {
      json[ "failure" ] = { { "seed", failure->seed },
                            { "variant", failure->variant->name },
                            { "what", failure->what },
                            { "history", failure->history } };
   }
}

JsonOut resultJson( const SoakOptions &options, const SoakResult &result ) {
   auto json = document( result.good() );
   json[ "seed" ] = options.seed;
   json[ "operations" ] = result.tally.operations;
   json[ "episodes" ] = result.tally.episodes;
   json[ "seconds" ] = result.seconds;
   json[ "outcomes" ] = result.tally.outcomes;
   json[ "events" ] = JsonOut::object();
   for ( std::size_t i = 0; i < result.tally.events.size(); ++i ) {
      json[ "events" ][ eventNames[ i ] ] = result.tally.events[ i ];
   }
   json[ "deaths" ] = result.tally.places.empty() ? JsonOut::object() : JsonOut( result.tally.places );
   addEnd( json, result.problem, result.signal, result.failure );
   return json;
}

std::string coverageText( const Tally &tally ) {
   TextTable outcomes( { { "outcome" }, { "times", TextTable::Align::right } } );
   for ( const auto &[ outcome, count ] : tally.outcomes ) {
      outcomes.row( { outcome, grouped( count ) } );
   }
   TextTable events( { { "covered" }, { "times", TextTable::Align::right } } );
   for ( std::size_t i = 0; i < tally.events.size(); ++i ) {
      events.row( { eventNames[ i ], grouped( tally.events[ i ] ) } );
   }
   if ( tally.places.empty() ) {
      return events.text() + "\n" + outcomes.text();
   }
   TextTable places( { { "deaths, and harm to the store" }, { "times", TextTable::Align::right } } );
   for ( const auto &[ place, count ] : tally.places ) {
      places.row( { place, grouped( count ) } );
   }
   return events.text() + "\n" + places.text() + "\n" + outcomes.text();
}

std::string failureText( const SoakOptions &options, const SoakFailure &failure ) {
   auto text = fmt::format( "\nLibrary and model part: {}\n\n"
                            "Again: quarra-tcam --variant {} soak{} --seed {} --ops {}\n",
                            failure.what, failure.variant->name, options.deaths ? " --crash" : "",
                            failure.seed, options.deaths ? deathsOfAPiece : operationsOfAPiece );
   text += failure.history.empty() ? "Alone, it did not happen again.\n"
           : options.deaths        ? "The history, shortened; the death is over its last line:\n"
                                   : "The history, shortened, for quarra-tcam batch:\n";
   for ( const auto &line : failure.history ) {
      text += line + "\n";
   }
   return text;
}

std::string verdictText( const SoakOptions &options, const SoakResult &result ) {
   if ( result.failure ) {
      return failureText( options, *result.failure );
   }
   if ( result.signal ) {
      return "Stopped by a signal. Library and model agree so far.\n";
   }
   return result.good() ? "Library and model agree.\n" : "";
}

// An interrupted soak tells what it has covered, and then ends as the signal has it.
[[noreturn]] void endBySignal( int signal, Output &out ) {
   out.flush();
   std::signal( signal, SIG_DFL );
   std::raise( signal );
   std::abort(); // not reached: the signal ends the process
}

int printEpisode( const SoakOptions &options, Output &out ) {
   SeededChoices choices( options.seed );
   Tally tally;
   const auto difference =
      playEpisode( *options.variants.front(), choices, 200, tally, [ & ]( const auto &line ) {
         out.print( line + "\n" );
         out.flush();
      } );
   if ( !difference.empty() ) {
      std::cerr << "quarra-tcam: soak: library and model part: " << oneLine( difference ) << "\n";
   }
   return difference.empty() ? exitGood : exitDoesNotFit;
}

std::vector<const QuarraAgent::Variant *> chosenVariants( const GlobalOptions &global ) {
   std::vector<const QuarraAgent::Variant *> chosen;
   for ( const auto &variant : QuarraAgent::variants() ) {
      if ( !global.variantChosen || variant.name == global.variant ) {
         chosen.push_back( &variant );
      }
   }
   if ( chosen.empty() ) {
      defaultChoice( global.variant ); // says which variants there are
   }
   return chosen;
}

SoakOptions soakOptions( const GlobalOptions &global, const SoakCommandOptions &command ) {
   constexpr U64 operationsUnlessTold = 100000;
   constexpr U64 deathsUnlessTold = 10000;
   SoakOptions options{ .variants = chosenVariants( global ),
                        .deaths = command.crash,
                        .seed = command.seed ? *command.seed : std::random_device()(),
                        .operations = command.operations.value_or( command.seconds ? 0
                                                                   : command.crash ? deathsUnlessTold
                                                                                   : operationsUnlessTold ),
                        .seconds = command.seconds.value_or( 0 ),
                        .jobs = command.jobs };
   if ( command.crash ) {
      // An episode has hundreds of processes, each with a minute of its own.
      options.patience = std::chrono::minutes( 20 );
   }
   return options;
}

// ---- Every history to a depth

JsonOut exhaustiveJson( const ExhaustiveOptions &options, const ExhaustiveResult &result ) {
   auto json = document( result.good() );
   json[ "depth" ] = options.depth;
   json[ "whole" ] = result.whole;
   json[ "states" ] = result.states();
   json[ "seconds" ] = result.seconds;
   json[ "worlds" ] = JsonOut::array();
   for ( const auto &world : result.worlds ) {
      json[ "worlds" ].push_back( { { "variant", world.variant->name },
                                    { "world", world.world },
                                    { "groups", world.groups },
                                    { "operations", world.operations },
                                    { "depth", world.depth },
                                    { "states", world.states },
                                    { "histories", world.histories },
                                    { "restarts", world.restarts } } );
   }
   addEnd( json, result.problem, result.signal, result.failure );
   return json;
}

std::string worldsText( const ExhaustiveResult &result ) {
   constexpr auto right = TextTable::Align::right;
   TextTable table( { { "variant" },
                      { "world" },
                      { "groups" },
                      { "operations", right },
                      { "depth", right },
                      { "states", right },
                      { "histories", right },
                      { "with restarts", right } } );
   U64 histories = 0;
   for ( const auto &world : result.worlds ) {
      table.row( { std::string( world.variant->name ), world.world, world.groups,
                   std::to_string( world.operations ), std::to_string( world.depth ), grouped( world.states ),
                   grouped( world.histories ), grouped( world.restarts ) } );
      histories += world.histories;
   }
   return table.text() + fmt::format( "\n{} different states, {} histories, {:.0f} s\n",
                                      grouped( result.states() ), grouped( histories ), result.seconds );
}

std::string verdictText( const ExhaustiveOptions &options, const ExhaustiveResult &result ) {
   if ( result.failure ) {
      auto text =
         fmt::format( "\nLibrary and model part: {}\n\nThe shortest history, for quarra-tcam batch:\n",
                      result.failure->what );
      for ( const auto &line : result.failure->history ) {
         text += line + "\n";
      }
      return text;
   }
   if ( result.signal ) {
      return "Stopped by a signal. Library and model agree so far.\n";
   }
   return !result.good() ? ""
          : result.whole ? fmt::format( "Library and model agree on every history of {}.\n",
                                        counted( options.depth, "operation", "operations" ) )
                         : "Library and model agree on every history of the depths given.\n";
}

int runExhaustive( const GlobalOptions &global, const SoakCommandOptions &command, Output &out ) {
   const ExhaustiveOptions options{ .variants = chosenVariants( global ),
                                    .depth = *command.depth,
                                    .states = command.operations.value_or( 0 ),
                                    .seconds = command.seconds.value_or( 0 ),
                                    .jobs = command.jobs,
                                    .restartOneIn = command.restartOneIn };
   const bool bar = isatty( STDERR_FILENO );
   const auto result = exhaust( options, [ & ]( const ExhaustiveResult &sofar ) {
      if ( bar ) {
         std::cerr << fmt::format( "\r{} states  {:.0f} s ", grouped( sofar.states() ), sofar.seconds )
                   << std::flush;
      }
   } );
   if ( bar ) {
      std::cerr << "\n";
   }
   out.print( global.json ? jsonText( exhaustiveJson( options, result ), global.pretty ) + "\n"
                          : worldsText( result ) + verdictText( options, result ) );
   if ( !result.problem.empty() ) {
      std::cerr << "quarra-tcam: soak: " << oneLine( result.problem ) << "\n";
   }
   if ( result.signal && !result.failure ) {
      endBySignal( result.signal, out );
   }
   return result.good() ? exitGood : exitDoesNotFit;
}

// ---- The command

int run( const GlobalOptions &global, const SoakCommandOptions &command, Output &out ) {
   if ( command.depth ) {
      return runExhaustive( global, command, out );
   }
   const auto options = soakOptions( global, command );
   if ( command.print ) {
      return printEpisode( options, out );
   }
   // First of all, for whoever has to end it the hard way.
   if ( global.json ) {
      std::cerr << fmt::format( "seed {}\n", options.seed );
   } else {
      out.print( fmt::format( "seed {}\n\n", options.seed ) );
      out.flush();
   }
   const bool bar = isatty( STDERR_FILENO );
   const auto result = soak( options, [ & ]( const SoakResult &sofar ) {
      if ( bar ) {
         drawProgress( options, sofar );
      }
   } );
   if ( bar ) {
      std::cerr << "\n";
   }
   if ( global.json ) {
      out.print( jsonText( resultJson( options, result ), global.pretty ) + "\n" );
   } else {
      out.print( coverageText( result.tally ) +
                 fmt::format( "\n{} {} in {} episodes, {:.0f} s, {}/s, seed {}\n",
                              grouped( result.tally.operations ), options.deaths ? "deaths" : "operations",
                              grouped( result.tally.episodes ), result.seconds,
                              grouped( static_cast<U64>( rateOf( result ) ) ), options.seed ) +
                 verdictText( options, result ) );
   }
   if ( !result.problem.empty() ) {
      std::cerr << "quarra-tcam: soak: " << oneLine( result.problem ) << "\n";
   }
   if ( result.signal && !result.failure ) {
      endBySignal( result.signal, out );
   }
   return result.good() ? exitGood : exitDoesNotFit;
}

// No number passes every comparison, "nan" among them.
CLI::Validator secondsUpTo( double most ) {
   return { [ most ]( const std::string &text ) {
              double seconds = 0;
              const bool good = CLI::detail::lexical_cast( text, seconds ) && seconds > 0 && seconds <= most;
              return good ? std::string()
                          : fmt::format( "{}: expected a number of seconds above 0, up to {}", text, most );
           },
            "SECONDS" };
}

Command::Run addOptions( CLI::App &app ) {
   const auto soak = std::make_shared<SoakCommandOptions>();
   app.footer(
      "Without --variant, on all variants in turn. When library and model part, prints the seed and a\n"
      "shortened history that `quarra-tcam batch` replays, and exits with 1." );
   constexpr U64 mostOperations = 1'000'000'000'000;
   constexpr double mostSeconds = 1e9;
   auto *const operations =
      app.add_option( "--ops", soak->operations,
                      "How many operations, to the end of the episode that passes them; 100000 when "
                      "there is no --time" )
         ->type_name( "N" )
         ->check( CLI::Range( U64{ 1 }, mostOperations ) );
   app.add_option( "--seed", soak->seed, "Seed; a random one when not given; printed first" )
      ->type_name( "S" );
   auto *const seconds = app.add_option( "--time", soak->seconds, "At most so many seconds" )
                            ->type_name( "T" )
                            ->check( secondsUpTo( mostSeconds ) );
   auto *const jobs = app.add_option( "--jobs", soak->jobs, "Processes at a time; every core when not given" )
                         ->type_name( "J" )
                         ->check( CLI::Range( 1, 256 ) );
   auto *const crash =
      app.add_flag( "--crash", soak->crash,
                    "Let processes die before and after every SDK call and every commit of the store, and "
                    "compare what the next process makes of it; N counts deaths then, 10000 of them" );
   constexpr U32 deepest = 20;
   auto *const exhaustive =
      app.add_option(
            "--exhaustive", soak->depth,
            "Carry out every history of D operations on chips of a few bits and two ports instead; N "
            "is the number of different states that is enough" )
         ->type_name( "D" )
         ->check( CLI::Range( U32{ 1 }, deepest ) )
         ->excludes( crash );
   app.add_option( "--restart-one-in", soak->restartOneIn,
                   "Reach one of so many new states once more, with a restart after each operation; 20" )
      ->type_name( "M" )
      ->check( CLI::Range( U32{ 1 }, U32{ 1'000'000 } ) )
      ->needs( exhaustive );
   app.add_flag( "--print", soak->print, "Print the history of one episode, for `quarra-tcam batch`" )
      ->excludes( operations )
      ->excludes( seconds )
      ->excludes( jobs )
      ->excludes( crash )
      ->excludes( exhaustive );
   return [ soak ]( const GlobalOptions &global, Output &out ) { return run( global, *soak, out ); };
}

} // namespace

const Command soakCommand = { "soak",
                              "Carry out random operations and compare library and chip with a model",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::trace },
                              addOptions };

} // namespace QuarraTool
