#include "soak/Exhaustive.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <list>
#include <sstream>
#include <system_error>
#include <unordered_set>

#include <fmt/format.h>
#include <unistd.h>

#include "lab/SwitchDir.h"
#include "soak/Child.h"
#include "soak/Interrupts.h"
#include "soak/Scratch.h"
#include "soak/TinyWorld.h"

namespace QuarraSoak {
namespace {

struct HashOfDigest {
   std::size_t operator()( const Digest &digest ) const { return digest[ 0 ]; }
};
using Digests = std::unordered_set<Digest, HashOfDigest>;

using Steps = std::vector<U8>; // numbers of operations of a world

// What one process is given: states to go on from.
constexpr std::size_t statesOfAPiece = 256;

// The history as it reads in a report, and the models along it.
History historyOf( const TinyWorld &world, const Steps &steps ) {
   History history = { chipLine( world.chip() ) };
   Model model = modelOf( Switch( world.chip() ) );
   for ( const U8 step : steps ) {
      const auto operation = world.operation( step, model );
      Hint hint;
      carryOut( model, *operation, hint );
      history.push_back( operation->line() );
   }
   return history;
}

// Carries a history out on a switch that lasts, each operation in a start of its own. Gives the first
// difference.
std::string restartAfterEach( const TinyWorld &world, const Steps &steps, const std::string &dir ) {
   std::filesystem::remove_all( dir );
   std::optional<Model> model;
   std::string difference;
   for ( std::size_t i = 0; i <= steps.size() && difference.empty(); ++i ) {
      Switch theSwitch( std::make_unique<QuarraLab::SwitchDir>( dir, world.chip() ) );
      if ( !model ) {
         model = modelOf( theSwitch );
      }
      difference = verifyAll( *model, theSwitch );
      if ( difference.empty() && theSwitch.chip().calls() ) {
         difference = fmt::format( "{} SDK calls", theSwitch.chip().calls() );
      }
      if ( i < steps.size() && difference.empty() ) {
         const auto operation = world.operation( steps[ i ], *model );
         Hint hint;
         carryOut( theSwitch, *operation, hint );
         carryOut( *model, *operation, hint );
      }
   }
   std::filesystem::remove_all( dir );
   return difference.empty() ? "" : "after a restart: " + difference;
}

// Carries every operation out from one state. `told` gets each state that comes of it.
class Expansion {
 public:
   Expansion( const TinyWorld &world, const Steps &steps ) : world_( world ), steps_( steps ) {}

   // Gives the first difference; `steps` is then the history that has it.
   std::string run( Steps &steps, const std::function<void( U8 step, const Digest &digest )> &told ) {
      for ( std::size_t number = 0; number < world_.operations(); ++number ) {
         if ( !trial_ ) {
            rebuild();
         }
         const auto operation = world_.operation( number, trial_->model() );
         if ( !operation ) {
            continue;
         }
         steps = steps_;
         steps.push_back( static_cast<U8>( number ) );
         auto difference = trial_->carryOut( *operation );
         difference = difference.empty() ? trial_->compareMatches() : difference;
         if ( !difference.empty() ) {
            return difference;
         }
         const auto digest = digestOf( textOf( trial_->model() ) );
         told( static_cast<U8>( number ), digest );
         if ( digest != digest_ ) {
            trial_.reset();
         }
      }
      return "";
   }

 private:
   void rebuild() {
      trial_.emplace( world_.chip(), false );
      for ( const U8 step : steps_ ) {
         trial_->carryOutUnseen( *world_.operation( step, trial_->model() ) );
      }
      digest_ = digestOf( textOf( trial_->model() ) );
   }

   const TinyWorld &world_;
   const Steps &steps_;
   std::optional<Trial> trial_;
   Digest digest_{};
};

// One world, with the states that are known of it.
class World {
 public:
   World( const QuarraAgent::Variant &variant, const TinyWorld &world ) : world_( world ) {
      result_.variant = &variant;
      result_.world = world.name();
      result_.operations = static_cast<U32>( world.operations() );
      for ( const U16 group : world.groups() ) {
         result_.groups += fmt::format( "{}{}", result_.groups.empty() ? "" : " ", group );
      }
      states_.push_back( { 0, 0 } );
      known_.insert( digestOf( textOf( modelOf( Switch( world.chip() ) ) ) ) );
      result_.states = 1;
   }

   const TinyWorld &world() const { return world_; }
   const WorldResult &result() const { return result_; }
   std::size_t states() const { return states_.size(); }
   bool knows( const Digest &digest ) const { return known_.contains( digest ); }

   Steps stepsTo( std::size_t state ) const {
      Steps steps;
      for ( ; state; state = states_[ state ].parent ) {
         steps.push_back( states_[ state ].step );
      }
      return { steps.rbegin(), steps.rend() };
   }

   void add( U32 parent, U8 step, const Digest &digest ) {
      if ( known_.insert( digest ).second ) {
         states_.push_back( { parent, step } );
         ++result_.states;
      }
   }
   void count( U64 histories, U64 restarts ) {
      result_.histories += histories;
      result_.restarts += restarts;
   }
   void levelIsDone() { ++result_.depth; }

 private:
   struct State {
      U32 parent;
      U8 step;
   };

   const TinyWorld &world_;
   WorldResult result_;
   std::vector<State> states_; // in the order in which they were found
   Digests known_;
};

// Lines of a process: "s PARENT STEP DIGEST DIGEST" for a state that may be new, "n HISTORIES RESTARTS" at
// the end; and of a failure "f STEPS..." and the difference.
int expandStates( std::FILE *output, const World &world, std::size_t from, std::size_t to, U32 restartOneIn,
                  const std::string &scratch ) {
   Digests told;
   U64 histories = 0;
   U64 restarts = 0;
   for ( std::size_t state = from; state < to; ++state ) {
      const auto steps = world.stepsTo( state );
      Steps last;
      std::vector<Steps> toRestart;
      auto difference = Expansion( world.world(), steps ).run( last, [ & ]( U8 step, const Digest &digest ) {
         ++histories;
         if ( world.knows( digest ) || !told.insert( digest ).second ) {
            return;
         }
         std::fprintf( output, "s %zu %u %llx %llx\n", state, unsigned{ step },
                       static_cast<unsigned long long>( digest[ 0 ] ),
                       static_cast<unsigned long long>( digest[ 1 ] ) );
         if ( digest[ 1 ] % restartOneIn == 0 ) {
            toRestart.push_back( steps );
            toRestart.back().push_back( step );
         }
      } );
      for ( auto next = toRestart.begin(); next != toRestart.end() && difference.empty(); ++next ) {
         last = *next;
         difference = restartAfterEach( world.world(), last, scratch );
         ++restarts;
      }
      if ( !difference.empty() ) {
         std::fprintf( output, "f" );
         for ( const U8 step : last ) {
            std::fprintf( output, " %u", unsigned{ step } );
         }
         std::fprintf( output, "\n%s", difference.c_str() );
         return 1;
      }
      std::fflush( output );
   }
   std::fprintf( output, "n %llu %llu\n", static_cast<unsigned long long>( histories ),
                 static_cast<unsigned long long>( restarts ) );
   return 0;
}

class Exhaust {
 public:
   Exhaust( const ExhaustiveOptions &options,
            const std::function<void( const ExhaustiveResult & )> &progress )
      : options_( options ), progress_( progress ) {
      for ( const auto *variant : options.variants ) {
         for ( auto &world : tinyWorlds( *variant ) ) {
            tiny_.push_back( std::move( world ) );
            worlds_.emplace_back( *variant, tiny_.back() );
            first_.push_back( 0 );
         }
      }
   }

   ExhaustiveResult run() {
      bool whole = true;
      try {
         scratch_.emplace();
         for ( U32 depth = 0; depth < options_.depth && whole; ++depth ) {
            for ( std::size_t i = 0; i < worlds_.size() && whole; ++i ) {
               whole = expandLevel( worlds_[ i ], first_[ i ] );
            }
         }
      } catch ( const std::system_error &error ) {
         result_.problem = error.what();
      }
      tell();
      result_.whole = whole && result_.good();
      result_.signal = Interrupts::seen();
      return std::move( result_ );
   }

 private:
   struct Piece {
      std::size_t from;
      std::size_t to;
      std::unique_ptr<Child> child;
   };

   bool goesOn() const {
      return result_.good() && !Interrupts::seen() &&
             ( options_.seconds <= 0 || secondsSoFar() < options_.seconds ) &&
             ( !options_.states || statesSoFar() < options_.states );
   }
   double secondsSoFar() const { return std::chrono::duration<double>( Clock::now() - start_ ).count(); }
   U64 statesSoFar() const {
      U64 states = 0;
      for ( const auto &world : worlds_ ) {
         states += world.result().states;
      }
      return states;
   }

   // From all states of a length of history. Pieces are taken in their order, so that a state's history does
   // not depend on who is first. False when it was stopped.
   bool expandLevel( World &world, std::size_t &first ) {
      const std::size_t end = world.states();
      std::size_t next = first;
      std::list<Piece> running;
      while ( goesOn() && ( next < end || !running.empty() ) ) {
         while ( next < end && running.size() < options_.jobs ) {
            const std::size_t to = std::min( next + statesOfAPiece, end );
            running.push_back( { next, to, start( world, next, to ) } );
            next = to;
         }
         std::vector<Child *> children;
         for ( const auto &piece : running ) {
            children.push_back( piece.child.get() );
         }
         Child::listen( children, std::chrono::milliseconds( 100 ) );
         while ( goesOn() && !running.empty() && hasEnded( *running.front().child ) ) {
            take( world, running.front() );
            running.pop_front();
            tell();
         }
      }
      if ( next < end || !running.empty() || !result_.good() ) {
         return false;
      }
      first = end;
      world.levelIsDone();
      return true;
   }

   // One that tells nothing any more is killed as it is asked for its end.
   bool hasEnded( const Child &child ) const {
      return child.closed() || Clock::now() - child.lastHeard() > options_.patience;
   }

   std::unique_ptr<Child> start( const World &world, std::size_t from, std::size_t to ) const {
      return std::make_unique<Child>( [ &, from, to ]( std::FILE *output ) {
         return expandStates( output, world, from, to, options_.restartOneIn,
                              scratch_->path() + "/" + std::to_string( getpid() ) );
      } );
   }

   void take( World &world, const Piece &piece ) {
      const auto ending = piece.child->end( options_.patience );
      std::istringstream lines( ending.output );
      Steps steps;
      std::string difference;
      bool ended = false;
      for ( std::string line; std::getline( lines, line ); ) {
         unsigned long long parent = 0;
         unsigned step = 0;
         Digest digest{};
         unsigned long long a = 0;
         unsigned long long b = 0;
         if ( std::sscanf( line.c_str(), "s %llu %u %llx %llx", &parent, &step, &a, &b ) == 4 ) {
            world.add( static_cast<U32>( parent ), static_cast<U8>( step ), digest = { a, b } );
         } else if ( std::sscanf( line.c_str(), "n %llu %llu", &a, &b ) == 2 ) {
            world.count( a, b );
            ended = true;
         } else if ( line.starts_with( "f " ) ) {
            std::istringstream numbers( line.substr( 1 ) );
            for ( unsigned number = 0; numbers >> number; ) {
               steps.push_back( static_cast<U8>( number ) );
            }
         } else {
            difference += ( difference.empty() ? "" : "\n" ) + line;
         }
      }
      if ( !ending.clean() || !ended ) {
         const auto history = historyOf( world.world(), steps.empty() ? deadlySteps( world, piece ) : steps );
         result_.failure =
            SoakFailure{ 0, world.result().variant,
                         difference + ending.errors +
                            ( difference.empty()
                                 ? "the process died, or did not go on, over an operation from here"
                                 : "" ),
                         history };
      }
   }

   // Which state it was from which a process did not come back.
   Steps deadlySteps( const World &world, const Piece &piece ) const {
      for ( std::size_t state = piece.from; state < piece.to; ++state ) {
         if ( !start( world, state, state + 1 )->end( options_.patience ).clean() ) {
            return world.stepsTo( state );
         }
      }
      return {};
   }

   void tell() {
      result_.worlds.clear();
      for ( const auto &world : worlds_ ) {
         result_.worlds.push_back( world.result() );
      }
      result_.seconds = secondsSoFar();
      if ( progress_ ) {
         progress_( result_ );
      }
   }

   const ExhaustiveOptions &options_;
   const std::function<void( const ExhaustiveResult & )> &progress_;
   const Clock::time_point start_ = Clock::now();
   const Interrupts interrupts_;
   std::optional<Scratch> scratch_;
   std::list<TinyWorld> tiny_;
   std::deque<World> worlds_;
   std::deque<std::size_t> first_; // of the states of the last length of history, by world
   ExhaustiveResult result_;
};

} // namespace

U64 ExhaustiveResult::states() const {
   U64 states = 0;
   for ( const auto &world : worlds ) {
      states += world.states;
   }
   return states;
}

ExhaustiveResult exhaust( const ExhaustiveOptions &options,
                          const std::function<void( const ExhaustiveResult & )> &progress ) {
   return Exhaust( options, progress ).run();
}

} // namespace QuarraSoak
