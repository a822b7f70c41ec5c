#include "soak/Soak.h"

#include <algorithm>
#include <chrono>
#include <sstream>

#include <fmt/format.h>
#include <sys/wait.h>

#include "soak/Child.h"

namespace QuarraSoak {
namespace {

using Clock = std::chrono::steady_clock;

constexpr U32 operationsOfAnEpisode = 180;

double secondsSince( Clock::time_point start ) {
   return std::chrono::duration<double>( Clock::now() - start ).count();
}

// A tally between processes: a line for each number.
std::string textOf( const Tally &tally ) {
   std::string text = fmt::format( "{} {}\n", tally.operations, tally.episodes );
   for ( const U64 count : tally.events ) {
      text += fmt::format( "{}\n", count );
   }
   for ( const auto &[ outcome, count ] : tally.outcomes ) {
      text += fmt::format( "{} {}\n", outcome, count );
   }
   return text;
}

Tally tallyOf( const std::string &text ) {
   Tally tally;
   std::istringstream in( text );
   in >> tally.operations >> tally.episodes;
   for ( U64 &count : tally.events ) {
      in >> count;
   }
   std::string outcome;
   for ( U64 count = 0; in >> outcome >> count; ) {
      tally.outcomes[ outcome ] = count;
   }
   return tally;
}

// Episodes until the piece's operations are done. Another record than null gets their histories.
std::string playPiece( const QuarraAgent::Variant &variant, U64 seed, Tally &tally, const Record &record ) {
   for ( U64 episode = 0; tally.operations < operationsOfAPiece; ++episode ) {
      SeededChoices choices( seed * 1000003 + episode );
      if ( auto difference = playEpisode( variant, choices, operationsOfAnEpisode, tally, record );
           !difference.empty() ) {
         return difference;
      }
   }
   return "";
}

std::string whatHappened( const Ending &ending ) {
   auto text = ending.output + ending.errors;
   while ( text.ends_with( '\n' ) ) {
      text.pop_back();
   }
   return text.empty() ? fmt::format( "the process ended with status {}", ending.status ) : text;
}

Ending replayInChild( const History &history ) {
   return Child( [ & ]( std::FILE *output ) {
             const auto difference = replay( history );
             std::fputs( difference.c_str(), output );
             return difference.empty() ? 0 : 1;
          } )
      .end();
}

// The operations up to the failure, of the episode that failed.
History historyOf( const QuarraAgent::Variant &variant, U64 seed ) {
   const auto ending = Child( [ & ]( std::FILE *output ) {
                          Tally tally;
                          playPiece( variant, seed, tally, [ & ]( const std::string &line ) {
                             std::fputs( ( line + "\n" ).c_str(), output );
                             std::fflush( output );
                          } );
                          return 0;
                       } ).end();
   History history;
   std::istringstream in( ending.output );
   for ( std::string line; std::getline( in, line ); ) {
      if ( line.starts_with( R"({"op":"chip")" ) ) {
         history.clear();
      }
      history.push_back( line );
   }
   return history;
}

SoakFailure failureOf( const QuarraAgent::Variant &variant, U64 seed, const Ending &ending ) {
   SoakFailure failure{ seed, &variant, whatHappened( ending ), historyOf( variant, seed ) };
   const auto fails = []( const History &history ) { return !replayInChild( history ).clean(); };
   if ( fails( failure.history ) ) {
      shorten( failure.history, fails );
      failure.what = whatHappened( replayInChild( failure.history ) );
   }
   return failure;
}

struct Piece {
   Child child;
   U64 seed;
   const QuarraAgent::Variant *variant;
};

} // namespace

void shorten( History &history, const std::function<bool( const History & )> &fails ) {
   for ( std::size_t run = history.size() / 2; run > 0; run /= 2 ) {
      for ( std::size_t first = 1; first < history.size(); ) {
         auto shorter = history;
         const auto from = shorter.begin() + static_cast<std::ptrdiff_t>( first );
         shorter.erase( from, from + static_cast<std::ptrdiff_t>( std::min( run, history.size() - first ) ) );
         if ( fails( shorter ) ) {
            history = std::move( shorter );
         } else {
            first += run;
         }
      }
   }
}

void Tally::add( const Tally &other ) {
   operations += other.operations;
   episodes += other.episodes;
   for ( std::size_t i = 0; i < events.size(); ++i ) {
      events[ i ] += other.events[ i ];
   }
   for ( const auto &[ outcome, count ] : other.outcomes ) {
      outcomes[ outcome ] += count;
   }
}

std::string playEpisode( const QuarraAgent::Variant &variant, Choices &choices, U32 maxOperations,
                         Tally &tally, const Record &record ) {
   const auto choice = drawChip( variant, choices );
   if ( record ) {
      record( chipLine( choice ) );
   }
   Trial trial( choice );
   Player player( choices, trial.model() );
   std::string difference;
   const auto carryOut = [ & ]( const Operation &operation ) {
      if ( record ) {
         record( operation.line() );
      }
      difference = trial.carryOut( operation );
      ++tally.operations;
      ++tally.outcomes[ trial.outcome() ];
      return difference.empty();
   };
   bool good = ( difference = verifyAll( trial.model(), trial.theSwitch() ) ).empty();
   for ( U32 left = choices.between( 1, maxOperations ); good && left && !choices.ended(); --left ) {
      good = carryOut( player.next() );
   }
   good = good && ( difference = trial.unexplainedMatches() ).empty();
   while ( good ) {
      const auto removal = player.nextRemoval();
      if ( !removal ) {
         break;
      }
      good = carryOut( *removal );
   }
   if ( good ) {
      difference = trial.leftBehind();
   }
   ++tally.episodes;
   for ( std::size_t i = 0; i < tally.events.size(); ++i ) {
      tally.events[ i ] += trial.model().events()[ i ];
   }
   return difference;
}

std::string replay( const History &history ) {
   const auto json = QuarraLab::parseJson( history.front() );
   QuarraLab::JsonFields fields( json, "history" );
   fields.value( "op" );
   Trial trial( readChip( fields, QuarraLab::defaultChoice( "testSdk6" ) ) );
   for ( std::size_t i = 1; i < history.size(); ++i ) {
      const auto difference = trial.carryOut( Operation::ofLine( history[ i ] ) );
      if ( !difference.empty() ) {
         return difference;
      }
   }
   auto difference = trial.unexplainedMatches();
   return difference.empty() && trial.model().asAtStart() ? trial.leftBehind() : difference;
}

SoakResult soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress ) {
   const auto start = Clock::now();
   SoakResult result;
   std::vector<Piece> running;
   U64 pieces = 0;
   const U64 allPieces =
      options.operations ? ( options.operations + operationsOfAPiece - 1 ) / operationsOfAPiece : ~U64{ 0 };
   const auto mayStart = [ & ] {
      return pieces < allPieces && !result.failure &&
             ( options.seconds <= 0 || secondsSince( start ) < options.seconds );
   };
   while ( mayStart() || !running.empty() ) {
      while ( mayStart() && running.size() < options.jobs ) {
         const U64 seed = options.seed + pieces;
         const auto &variant = *options.variants[ pieces % options.variants.size() ];
         ++pieces;
         running.push_back(
            { Child( [ & ]( std::FILE *output ) {
                 Tally tally;
                 const auto difference = playPiece( variant, seed, tally, nullptr );
                 std::fputs( difference.empty() ? textOf( tally ).c_str() : difference.c_str(), output );
                 return difference.empty() ? 0 : 1;
              } ),
              seed, &variant } );
      }
      int status = 0;
      const pid_t ended = waitpid( -1, &status, 0 );
      const auto piece = std::find_if( running.begin(), running.end(),
                                       [ & ]( auto &item ) { return item.child.process() == ended; } );
      const auto ending = piece->child.end( status );
      if ( ending.clean() ) {
         result.tally.add( tallyOf( ending.output ) );
      } else if ( !result.failure ) {
         result.failure = failureOf( *piece->variant, piece->seed, ending );
      }
      running.erase( piece );
      result.seconds = secondsSince( start );
      if ( progress ) {
         progress( result );
      }
   }
   return result;
}

} // namespace QuarraSoak
