#include <algorithm>
#include <iostream>
#include <memory>
#include <random>
#include <thread>

#include <fmt/format.h>
#include <unistd.h>

#include "lab/Dump.h"
#include "soak/Soak.h"
#include "tools/Command.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraSoak;

struct SoakCommandOptions {
   U64 operations = 0; // 0: until the time is over
   std::optional<U64> seed;
   double seconds = 0; // 0: no limit
   U32 jobs = std::max( 1u, std::thread::hardware_concurrency() );
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

JsonOut resultJson( const SoakOptions &options, const SoakResult &result ) {
   auto json = document( !result.failure );
   json[ "seed" ] = options.seed;
   json[ "operations" ] = result.tally.operations;
   json[ "episodes" ] = result.tally.episodes;
   json[ "seconds" ] = result.seconds;
   json[ "outcomes" ] = result.tally.outcomes;
   json[ "events" ] = JsonOut::object();
   json[ "failure" ] = nullptr;
   for ( std::size_t i = 0; i < result.tally.events.size(); ++i ) {
      json[ "events" ][ eventNames[ i ] ] = result.tally.events[ i ];
   }
   if ( const auto &failure = result.failure ) {
      json[ "failure" ] = { { "seed", failure->seed },
                            { "variant", failure->variant->name },
                            { "what", failure->what },
                            { "history", failure->history } };
   }
   return json;
}

std::string coverageText( const Tally &tally ) {
   TextTable outcomes( { { "outcome" }, { "operations", TextTable::Align::right } } );
   for ( const auto &[ outcome, count ] : tally.outcomes ) {
      outcomes.row( { outcome, grouped( count ) } );
   }
   TextTable events( { { "covered" }, { "times", TextTable::Align::right } } );
   for ( std::size_t i = 0; i < tally.events.size(); ++i ) {
      events.row( { eventNames[ i ], grouped( tally.events[ i ] ) } );
   }
   return events.text() + "\n" + outcomes.text();
}

std::string failureText( const SoakFailure &failure ) {
   auto text =
      fmt::format( "\nLibrary and model part: {}\n\nAgain: quarra-tcam --variant {} soak --seed {} --ops {}\n"
                   "The history, shortened, for quarra-tcam batch:\n",
                   failure.what, failure.variant->name, failure.seed, operationsOfAPiece );
   for ( const auto &line : failure.history ) {
      text += line + "\n";
   }
   return text;
}

int run( const GlobalOptions &global, const SoakCommandOptions &command, Output &out ) {
   SoakOptions options{ .variants = {},
                        .seed = command.seed.value_or( static_cast<U64>( std::random_device()() ) ),
                        .operations = command.operations,
                        .seconds = command.seconds,
                        .jobs = command.jobs };
   for ( const auto &variant : QuarraAgent::variants() ) {
      if ( !global.variantChosen || variant.name == global.variant ) {
         options.variants.push_back( &variant );
      }
   }
   if ( options.variants.empty() ) {
      defaultChoice( global.variant ); // says which variants there are
   }
   if ( command.print ) {
      SeededChoices choices( options.seed );
      Tally tally;
      const auto difference = playEpisode( *options.variants.front(), choices, 200, tally,
                                           [ & ]( const std::string &line ) { out.print( line + "\n" ); } );
      return difference.empty() ? exitGood : exitDoesNotFit;
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
                 fmt::format( "\n{} operations in {} episodes, {:.0f} s, {}/s, seed {}\n",
                              grouped( result.tally.operations ), grouped( result.tally.episodes ),
                              result.seconds, grouped( static_cast<U64>( rateOf( result ) ) ),
                              options.seed ) +
                 ( result.failure ? failureText( *result.failure ) : "Library and model agree.\n" ) );
   }
   return result.failure ? exitDoesNotFit : exitGood;
}

Command::Run addOptions( CLI::App &app ) {
   const auto soak = std::make_shared<SoakCommandOptions>();
   app.footer(
      "Without --variant, on all variants in turn. When library and model part, prints the seed and a\n"
      "shortened history that `quarra-tcam batch` replays, and exits with 1." );
   app.add_option( "--ops", soak->operations, "How many operations; 100000 when there is no --time" )
      ->type_name( "N" );
   app.add_option( "--seed", soak->seed, "Seed; a random one when not given, printed at the end" )
      ->type_name( "S" );
   app.add_option( "--time", soak->seconds, "At most so many seconds" )
      ->type_name( "T" )
      ->check( CLI::PositiveNumber );
   app.add_option( "--jobs", soak->jobs, "Processes at a time; every core when not given" )
      ->type_name( "J" )
      ->check( CLI::Range( 1, 256 ) );
   app.add_flag( "--print", soak->print, "Print the history of one episode, for `quarra-tcam batch`" );
   return [ soak ]( const GlobalOptions &global, Output &out ) {
      if ( soak->operations == 0 && soak->seconds <= 0 ) {
         soak->operations = 100000;
      }
      return run( global, *soak, out );
   };
}

} // namespace

const Command soakCommand = { "soak",
                              "Carry out random operations and compare library and chip with a model",
                              { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                CommonOption::trace },
                              addOptions };

} // namespace QuarraTool
