#include "soak/Soak.h"

#include <algorithm>
#include <cstring>
#include <list>
#include <sstream>
#include <system_error>

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include "soak/Child.h"
#include "soak/CrashEpisode.h"
#include "soak/Interrupts.h"
#include "soak/Scratch.h"

namespace QuarraSoak {
namespace {

constexpr U32 operationsOfAnEpisode = 180;

// How a kind of soak goes.
struct Kind {
   U32 operationsOfAPiece;
   std::string ( *play )( const QuarraAgent::Variant &variant, Choices &choices, Tally &tally,
                          const Record &record, Clock::time_point end, const std::string &scratch );
   std::string ( *replay )( const History &history, const std::string &scratch );
};

constexpr Kind plain = { operationsOfAPiece,
                         []( const auto &variant, auto &choices, auto &tally, const auto &record, auto end,
                             const auto & ) {
                            return playEpisode( variant, choices, operationsOfAnEpisode, tally, record, end );
                         },
                         []( const History &history, const std::string & ) { return replay( history ); } };
constexpr Kind withDeaths = { deathsOfAPiece, playCrashEpisode, replayCrash };

// A process of one's own has a directory of its own.
std::string ownScratch( const std::string &path ) {
   return path + "/" + std::to_string( getpid() );
}

// What a piece of work is made of.
struct Work {
   const Kind &kind;
   const QuarraAgent::Variant &variant;
   U64 seed;
   std::string scratch;
};

// Episodes until the piece's operations are done; `ended` gets the tally of each.
std::string playPiece( const Work &work, U64 operations, Clock::time_point end,
                       const std::function<void( const Tally & )> &ended, const Record &record ) {
   const auto scratch = ownScratch( work.scratch );
   U64 done = 0;
   for ( U64 episode = 0; done < operations && Clock::now() < end; ++episode ) {
      SeededChoices choices( work.seed * 1000003 + episode );
      Tally tally;
      if ( auto difference = work.kind.play( work.variant, choices, tally, record, end, scratch );
           !difference.empty() ) {
         return difference;
      }
      done += tally.operations;
      ended( tally );
   }
   return "";
}

std::vector<std::string> linesOf( const std::string &text ) {
   std::vector<std::string> lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

std::string whatHappened( const Ending &ending ) {
   std::string text;
   for ( const auto &line : linesOf( ending.output + ending.errors ) ) {
      if ( !Tally::ofLine( line ) ) {
         text += ( text.empty() ? "" : "\n" ) + line;
      }
   }
   if ( ending.killed ) {
      return text + "the process did not go on, and was killed";
   }
   if ( text.empty() && WIFSIGNALED( ending.status ) ) {
      return fmt::format( "the process ended by signal {} ({})", WTERMSIG( ending.status ),
                          strsignal( WTERMSIG( ending.status ) ) );
   }
   return text.empty() ? fmt::format( "the process ended with status {}", ending.status ) : text;
}

// Episodes that one process plays.
struct Piece {
   U64 number;
   Work work;
   Child child;

   Piece( const Work &workOfPiece, U64 numberOfPiece, U64 operations, Clock::time_point end )
      : number( numberOfPiece ), work( workOfPiece ), child( [ & ]( std::FILE *output ) {
           const auto tell = [ & ]( const Tally &tally ) {
              std::fprintf( output, "%s\n", tally.line().c_str() );
              std::fflush( output );
           };
           const auto difference = playPiece( work, operations, end, tell, nullptr );
           std::fputs( difference.c_str(), output );
           return difference.empty() ? 0 : 1;
        } ) {}
};

// Finds out what a piece failed with, and how little of its history fails.
class Inquiry {
 public:
   Inquiry( const SoakOptions &options, const Piece &piece )
      : patience_( options.patience ), work_( piece.work ) {}

   SoakFailure failure( const Ending &ending ) const {
      SoakFailure failure{ work_.seed, &work_.variant, whatHappened( ending ), history() };
      const auto fails = [ & ]( const History &history ) {
         return !Interrupts::seen() && !replayed( history ).clean();
      };
      if ( failure.history.empty() || !fails( failure.history ) ) {
         failure.history.clear(); // it does not happen again
         return failure;
      }
      shorten( failure.history, fails );
      if ( const auto last = replayed( failure.history ); !last.clean() ) {
         failure.what = whatHappened( last );
      }
      return failure;
   }

 private:
   Ending replayed( const History &history ) const {
      return Child( [ & ]( std::FILE *output ) {
                const auto difference = work_.kind.replay( history, ownScratch( work_.scratch ) );
                std::fputs( difference.c_str(), output );
                return difference.empty() ? 0 : 1;
             } )
         .end( patience_ );
   }

   // The operations up to the failure, of the episode that failed.
   History history() const {
      const auto ending =
         Child( [ & ]( std::FILE *output ) {
            playPiece(
               work_, work_.kind.operationsOfAPiece, Clock::time_point::max(), []( const Tally & ) {},
               [ & ]( const std::string &line ) {
                  std::fputs( ( line + "\n" ).c_str(), output );
                  std::fflush( output );
               } );
            return 0;
         } ).end( patience_ );
      History history;
      for ( const auto &line : linesOf( ending.output ) ) {
         if ( line.starts_with( R"({"op":"chip")" ) ) {
            history.clear();
         }
         history.push_back( line );
      }
      return history;
   }

   const std::chrono::seconds patience_;
   const Work &work_;
};

class Soak {
 public:
   Soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress );
   SoakResult run();

 private:
   bool mayStart() const;
   void startPieces();
   void finish( Piece &piece, const Ending &ending );
   void countHeard();
   void stopLatePieces();
   void closeAccounts();
   bool enough() const { return options_.operations && result_.tally.operations >= options_.operations; }

   const SoakOptions &options_;
   const Kind &kind_;
   std::optional<Scratch> scratch_; // where processes die
   const std::function<void( const SoakResult & )> &progress_;
   const Clock::time_point start_ = Clock::now();
   const Clock::time_point end_;
   const Interrupts interrupts_;
   const U64 allPieces_;
   std::list<Piece> running_;
   U64 pieces_ = 0; // started

   // Episodes count in the order of the pieces: those of a later one wait until the earlier are done.
   struct Account {
      std::size_t read = 0; // of the output
      std::vector<Tally> waiting = {};
      bool done = false;
   };
   std::map<U64, Account> accounts_; // by piece
   SoakResult result_;
};

Clock::time_point endOf( const SoakOptions &options, Clock::time_point start ) {
   return options.seconds > 0 ? start + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>( options.seconds ) )
                              : Clock::time_point::max();
}

Soak::Soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress )
   : options_( options ),
     kind_( options.deaths ? withDeaths : plain ),
     progress_( progress ),
     end_( endOf( options, start_ ) ),
     allPieces_( options.operations ? ( options.operations - 1 ) / kind_.operationsOfAPiece + 1
                                    : ~U64{ 0 } ) {}

bool Soak::mayStart() const {
   return pieces_ < allPieces_ && result_.good() && !enough() && Clock::now() < end_;
}

// With no room for another process, those that run have to do.
void Soak::startPieces() {
   try {
      if ( options_.deaths && !scratch_ ) {
         scratch_.emplace();
      }
      while ( mayStart() && running_.size() < options_.jobs ) {
         const U64 whole = kind_.operationsOfAPiece;
         const U64 left = options_.operations ? options_.operations - pieces_ * whole : whole;
         const Work work{ kind_, *options_.variants[ pieces_ % options_.variants.size() ],
                          options_.seed + pieces_, scratch_ ? scratch_->path() : "" };
         running_.emplace_back( work, pieces_, std::min( left, whole ), end_ );
         accounts_[ pieces_++ ];
      }
   } catch ( const std::system_error &error ) {
      if ( running_.empty() ) {
         result_.problem = error.what();
      }
   }
}

void Soak::countHeard() {
   for ( auto &piece : running_ ) {
      const auto &output = piece.child.output();
      auto &account = accounts_.at( piece.number );
      for ( auto end = output.find( '\n', account.read ); end != std::string::npos;
            end = output.find( '\n', account.read ) ) {
         if ( auto tally = Tally::ofLine( output.substr( account.read, end - account.read ) ) ) {
            account.waiting.push_back( std::move( *tally ) );
         }
         account.read = end + 1;
      }
   }
   while ( !accounts_.empty() ) {
      auto &account = accounts_.begin()->second;
      for ( const auto &tally : account.waiting ) {
         if ( !enough() ) {
            result_.tally.add( tally );
         }
      }
      account.waiting.clear();
      if ( !account.done ) {
         return;
      }
      accounts_.erase( accounts_.begin() );
   }
}

void Soak::finish( Piece &piece, const Ending &ending ) {
   accounts_.at( piece.number ).done = true;
   if ( !ending.clean() && result_.good() ) {
      result_.failure = Inquiry( options_, piece ).failure( ending );
   }
}

// A process looks at the clock before each operation, so one that goes on long after the end is stuck.
void Soak::stopLatePieces() {
   constexpr std::chrono::milliseconds grace( 800 );
   constexpr std::chrono::seconds stuck( 5 );
   const auto now = Clock::now();
   for ( auto piece = running_.begin(); piece != running_.end(); ) {
      const auto silence = now - piece->child.lastHeard();
      if ( silence > options_.patience ) {
         finish( *piece, piece->child.kill() );
      } else if ( now > end_ && now - end_ > grace ) {
         if ( silence > stuck ) {
            result_.problem = fmt::format( "a process did not end in time: --variant {} soak --seed {}",
                                           piece->work.variant.name, piece->work.seed );
         }
      } else {
         ++piece;
         continue;
      }
      piece = running_.erase( piece );
   }
}

// What the others have told by now counts, too, when the work was stopped.
void Soak::closeAccounts() {
   for ( auto &[ number, account ] : accounts_ ) {
      account.done = true;
   }
   running_.clear();
   countHeard();
   result_.seconds = std::chrono::duration<double>( Clock::now() - start_ ).count();
   result_.signal = Interrupts::seen();
   const bool timeIsOver = Clock::now() >= end_;
   if ( result_.good() && ( options_.operations && !timeIsOver ? !enough() : !result_.tally.operations ) ) {
      result_.problem =
         fmt::format( "{} operations were carried out{}", result_.tally.operations,
                      options_.operations ? fmt::format( " of {}", options_.operations ) : "" );
   }
}

SoakResult Soak::run() {
   for ( startPieces(); !running_.empty() && result_.good() && !enough() && !Interrupts::seen();
         startPieces() ) {
      std::vector<Child *> children;
      for ( auto &piece : running_ ) {
         children.push_back( &piece.child );
      }
      Child::listen( children, std::chrono::milliseconds( 100 ) );
      countHeard();
      for ( auto piece = running_.begin(); piece != running_.end(); ) {
         if ( piece->child.closed() ) {
            finish( *piece, piece->child.end() );
            piece = running_.erase( piece );
         } else {
            ++piece;
         }
      }
      stopLatePieces();
      result_.seconds = std::chrono::duration<double>( Clock::now() - start_ ).count();
      if ( progress_ ) {
         progress_( result_ );
      }
   }
   closeAccounts();
   return std::move( result_ );
}

} // namespace

SoakResult soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress ) {
   return Soak( options, progress ).run();
}

} // namespace QuarraSoak
