#include "soak/Trial.h"

#include <fmt/format.h>

#include "agent/SystemAclFeatures.h"
#include "lab/Dump.h"

namespace QuarraSoak {

using QuarraAgent::InstallRequest;

namespace {

Outcome outcomeOf( const std::string &code ) {
   return code == "ok" ? Outcome::done : code == "noRoom" ? Outcome::noRoom : Outcome::refused;
}

const char *nameOf( Outcome outcome ) {
   switch ( outcome ) {
   case Outcome::done:
      return "done";
   case Outcome::refused:
      return "refused";
   case Outcome::noRoom:
      break;
   }
   return "no room";
}

} // namespace

std::string carryOut( Switch &theSwitch, const Operation &operation, Hint &hint ) {
   const auto &wanted = operation.request;
   auto &agent = theSwitch.agent();
   try {
      switch ( operation.kind ) {
      case Operation::Kind::createGroup:
         if ( const auto made = agent.createGroup( wanted.group ) ) {
            hint.emplace( made->startBit, made->endBit );
         }
         break;
      case Operation::Kind::deleteGroup:
         agent.deleteGroup( wanted.group );
         break;
      case Operation::Kind::install: {
         InstallRequest request{ .group = wanted.group,
                                 .entry = wanted.entry,
                                 .ports = { wanted.wanted.ports.begin(), wanted.wanted.ports.end() },
                                 .ethernet = wanted.wanted.ethernet,
                                 .rule = {} };
         if ( wanted.rule ) {
            request.rule.emplace( QuarraAgent::featureOf( wanted.group ), *wanted.rule );
         }
         agent.install( request );
         break;
      }
      case Operation::Kind::remove:
         agent.remove( wanted.group, wanted.entry );
         break;
      }
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      return refused.code();
   }
   return "ok";
}

Outcome carryOut( Model &model, const Operation &operation, Hint &hint ) {
   const auto &request = operation.request;
   switch ( operation.kind ) {
   case Operation::Kind::createGroup:
      return model.createGroup( request.group, hint );
   case Operation::Kind::deleteGroup:
      return model.deleteGroup( request.group );
   case Operation::Kind::install:
      return model.install( request );
   case Operation::Kind::remove:
      return model.remove( request.group, request.entry );
   }
   return Outcome::refused;
}

std::string compareOutcomes( const std::string &outcome, const Hint &hint, Outcome expected,
                             const Hint &expectedHint ) {
   if ( outcomeOf( outcome ) != expected ) {
      return fmt::format( "outcome {}, the model has {}", outcome, nameOf( expected ) );
   }
   return hint == expectedHint ? "" : "another hint than the model's";
}

Trial::Trial( const ChipChoice &choice, bool remembersStart )
   : switch_( choice ),
     model_( modelOf( switch_ ) ),
     watch_( switch_ ),
     stateAtStart_( remembersStart ? stateText() : "" ) {}

std::string Trial::stateText() const {
   return dumpSpaces( switch_ ).dump() + dumpGroups( switch_ ).dump() + switch_.chip().digest();
}

void Trial::carryOutUnseen( const Operation &operation ) {
   Hint unread;
   QuarraSoak::carryOut( switch_, operation, unread );
   QuarraSoak::carryOut( model_, operation, unread );
}

std::string Trial::carryOut( const Operation &operation ) {
   Hint hint;
   Hint expectedHint;
   watch_.begin( operation.request.group, operation.request.entry );
   outcome_ = QuarraSoak::carryOut( switch_, operation, hint );
   const auto expected = QuarraSoak::carryOut( model_, operation, expectedHint );
   if ( auto difference = compareOutcomes( outcome_, hint, expected, expectedHint ); !difference.empty() ) {
      return difference;
   }
   const auto difference = verifyAll( model_, switch_ );
   return difference.empty() ? watch_.end( model_ ) : difference;
}

std::string Trial::leftBehind() const {
   return stateText() == stateAtStart_ ? "" : "something is left behind after the removal of everything";
}

} // namespace QuarraSoak
