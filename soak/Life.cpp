#include "soak/Life.h"

#include <csignal>
#include <cstring>
#include <filesystem>
#include <sstream>

#include <fmt/format.h>
#include <sys/wait.h>

#include "agent/Audit.h"
#include "agent/StoreRefused.h"
#include "lab/SwitchDir.h"
#include "soak/Child.h"

namespace QuarraSoak {
namespace {

using QuarraAgent::Restarted;
using QuarraLab::SwitchDir;

const char *nameOf( Restarted::Outcome outcome ) {
   switch ( outcome ) {
   case Restarted::Outcome::nothingInFlight:
      return "nothingInFlight";
   case Restarted::Outcome::undone:
      return "undone";
   case Restarted::Outcome::done:
      break;
   }
   return "done";
}

// The process itself, seen from inside.
class Process {
 public:
   Process( const Life &life, std::FILE *output ) : life_( life ), output_( output ) {}

   // Watches the start over a request in flight, as far as there is one.
   Switch &open( const Operation *inFlight ) {
      const QuarraLab::SdkHooks hooks{
         .beforeStart =
            [ this, inFlight ]( const auto &chip ) {
               watch_.emplace( chip, *life_.choice.variant, QuarraLab::portsOf( life_.choice.chip ) );
               begin( inFlight );
            },
         .beforeCall = [ this ] { step( Step::beforeSdkCall ); },
         .afterCall =
            [ this ]( const auto &seen ) {
               if ( watch_ ) {
                  watch_->look( seen );
               }
               step( Step::afterSdkCall );
            },
      };
      const QuarraAgent::StoreOptions options{ .hook =
                                                  [ this ]( const char *when ) {
                                                     const bool before = std::strcmp( when, "before" ) == 0;
                                                     step( before ? Step::beforeCommit : Step::afterCommit );
                                                  },
                                               .beforeRequest = {} };
      switch_ =
         std::make_unique<Switch>( std::make_unique<SwitchDir>( life_.dir, life_.choice, options ), hooks );
      return *switch_;
   }

   // Watches a request from now on.
   void begin( const Operation *operation ) {
      if ( switch_ ) {
         watch_.emplace( switch_->chip(), *life_.choice.variant, switch_->ports() );
      }
      watch_->begin( operation ? operation->request.group : U16{ 0 },
                     operation ? operation->request.entry : 0 );
   }
   std::string watched( const Model &model ) { return watch_->end( model ); }
   void watchNoMore() { watch_.reset(); }

   // How many steps there were, once all is done.
   void tellSteps() { std::fprintf( output_, "steps %llu\n", static_cast<unsigned long long>( steps_ ) ); }

 private:
   void step( Step step ) {
      ++steps_;
      if ( step == Step::beforeCommit && steps_ + 1 == life_.stepsToLive ) {
         keepAside();
      }
      if ( steps_ == life_.stepsToLive ) {
         std::fprintf( output_, "died %s\n", nameOf( step ).c_str() );
         std::fflush( output_ );
         raise( SIGKILL );
      }
   }

   // The store's files before a commit after which the process dies: for who tears the commit.
   void keepAside() const {
      for ( const char *name : { "/store.db", "/store.db-wal" } ) {
         std::error_code none; // there is none while the switch is made
         std::filesystem::copy_file( life_.dir + name, life_.dir + name + ".before",
                                     std::filesystem::copy_options::overwrite_existing, none );
      }
   }

   const Life &life_;
   std::FILE *const output_;
   std::unique_ptr<Switch> switch_;
   std::optional<Watch> watch_;
   U64 steps_ = 0;
};

void readLine( const std::string &line, LifeEnd &end ) {
   std::istringstream in( line );
   std::string word;
   in >> word;
   if ( word == "died" ) {
      in >> end.diedAt;
   } else if ( word == "steps" ) {
      in >> end.steps;
   } else if ( word == "restart" ) {
      in >> end.restart;
      std::getline( in >> std::ws, end.refusal );
   } else {
      end.difference += ( end.difference.empty() ? "" : "\n" ) + line;
   }
}

// Runs a life in a process of its own. `work` gives the first difference, or an empty text.
LifeEnd run( const std::function<std::string( std::FILE *output )> &work ) {
   constexpr std::chrono::seconds patience( 60 );
   const auto ending = Child( [ & ]( std::FILE *output ) {
                          const auto difference = work( output );
                          std::fprintf( output, "%s", difference.c_str() );
                          return difference.empty() ? 0 : 1;
                       } ).end( patience );
   LifeEnd end;
   std::istringstream lines( ending.output + ending.errors );
   for ( std::string line; std::getline( lines, line ); ) {
      readLine( line, end );
   }
   const bool died = !ending.killed && WIFSIGNALED( ending.status ) && WTERMSIG( ending.status ) == SIGKILL;
   if ( end.good() && !ending.clean() && !( died && !end.diedAt.empty() ) ) {
      end.difference = ending.killed ? "the process did not go on"
                                     : fmt::format( "the process ended with status {}", ending.status );
   }
   return end;
}

bool sameRequest( const QuarraAgent::RequestInFlight &found, const Operation &operation ) {
   const auto &asked = operation.request;
   if ( found.removal != ( operation.kind == Operation::Kind::remove ) ||
        found.request.group != asked.group || found.request.entry != asked.entry ) {
      return false;
   }
   const std::set<Port> ports( found.request.ports.begin(), found.request.ports.end() );
   return found.removal || ( ports == asked.wanted.ports && found.request.ethernet == asked.wanted.ethernet );
}

// The model that the switch must be equal to; null where the answer cannot be true.
const Model *expectedAfter( const Restarted &restarted, const DeadlyOperation &deadly,
                            const Switch &theSwitch ) {
   switch ( restarted.outcome ) {
   case Restarted::Outcome::nothingInFlight:
      // Before the operation began, or after it ended.
      return verifyAll( deadly.before, theSwitch ).empty() ? &deadly.before : &deadly.after;
   case Restarted::Outcome::undone:
      return deadly.operation.kind == Operation::Kind::install ? &deadly.before : nullptr;
   case Restarted::Outcome::done:
      return deadly.operation.kind == Operation::Kind::remove ? &deadly.after : nullptr;
   }
   return nullptr;
}

std::string compareState( const Model &model, Switch &theSwitch, Process &process ) {
   if ( auto difference = verifyAll( model, theSwitch ); !difference.empty() ) {
      return difference;
   }
   if ( auto difference = compareMatches( model, theSwitch ); !difference.empty() ) {
      return difference;
   }
   process.watchNoMore();
   const auto audited = QuarraAgent::audit( theSwitch.agent() );
   return audited.drifts.empty() ? ""
                                 : fmt::format( "the audit finds {} on entry {} port {}",
                                                stringValue( audited.drifts.front().kind ),
                                                audited.drifts.front().entry, audited.drifts.front().port );
}

std::string again( Switch &theSwitch, Process &process, const DeadlyOperation &deadly ) {
   Hint hint;
   process.begin( &deadly.operation );
   const auto outcome = carryOut( theSwitch, deadly.operation, hint );
   auto difference = compareOutcomes( outcome, hint, deadly.outcome, deadly.hint );
   difference = difference.empty() ? verifyAll( deadly.after, theSwitch ) : difference;
   return difference.empty() ? process.watched( deadly.after ) : difference;
}

} // namespace

std::string nameOf( Step step ) {
   switch ( step ) {
   case Step::beforeSdkCall:
      return "beforeSdkCall";
   case Step::afterSdkCall:
      return "afterSdkCall";
   case Step::beforeCommit:
      return "beforeCommit";
   case Step::afterCommit:
      break;
   }
   return "afterCommit";
}

LifeEnd prepare( const Life &life, const std::vector<Operation> &operations, const Model &model ) {
   return run( [ & ]( std::FILE *output ) {
      Process process( life, output );
      Switch &theSwitch = process.open( nullptr );
      process.watchNoMore();
      for ( const auto &operation : operations ) {
         Hint hint;
         carryOut( theSwitch, operation, hint );
      }
      process.tellSteps();
      return verifyAll( model, theSwitch );
   } );
}

LifeEnd carryOut( const Life &life, const DeadlyOperation &deadly ) {
   return run( [ & ]( std::FILE *output ) {
      Process process( life, output );
      Switch &theSwitch = process.open( nullptr );
      if ( auto difference = verifyAll( deadly.before, theSwitch ); !difference.empty() ) {
         return "opened: " + difference;
      }
      auto difference = again( theSwitch, process, deadly );
      process.tellSteps();
      return difference;
   } );
}

LifeEnd takeOver( const Life &life, const DeadlyOperation &deadly ) {
   return run( [ & ]( std::FILE *output ) -> std::string {
      Process process( life, output );
      try {
         Switch &theSwitch = process.open( &deadly.operation );
         auto difference = process.watched( deadly.after );
         const auto &restarted = theSwitch.dir()->restarted();
         std::fprintf( output, "restart %s\n", nameOf( restarted.outcome ) );
         const auto *const expected = expectedAfter( restarted, deadly, theSwitch );
         const bool named = restarted.outcome == Restarted::Outcome::nothingInFlight ||
                            sameRequest( restarted.request, deadly.operation );
         if ( !difference.empty() || !expected || !named ) {
            return !difference.empty() ? "on the way: " + difference
                                       : "another request than the one in flight";
         }
         difference = compareState( *expected, theSwitch, process );
         if ( difference.empty() && expected == &deadly.before ) {
            difference = again( theSwitch, process, deadly );
            difference = difference.empty() ? "" : "asked again: " + difference;
         }
         process.tellSteps();
         return difference;
      } catch ( const QuarraAgent::StoreRefused &refused ) {
         std::fprintf( output, "restart refused %s: %s\n", refused.code().c_str(), refused.what() );
         return "";
      }
   } );
}

} // namespace QuarraSoak
