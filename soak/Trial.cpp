#include "soak/Trial.h"

#include <fmt/format.h>

#include "agent/SystemAclFeatures.h"
#include "lab/Dump.h"

namespace QuarraSoak {

using QuarraAgent::InstallRequest;
using QuarraLab::Reason;

namespace {

Outcome outcomeOf( const std::string &code ) {
   return code == "ok" ? Outcome::done : code == "noRoom" ? Outcome::noRoom : Outcome::refused;
}

const char *nameOf( Outcome outcome ) {
   constexpr const char *names[] = { "done", "refused", "no room" };
   return names[ static_cast<int>( outcome ) ];
}

// None where the model knows no rule: it fails no SDK calls.
std::optional<Rule> ruleOf( Reason reason ) {
   switch ( reason ) {
   case Reason::sameRule:
      return Rule::sameRule;
   case Reason::portTaken:
      return Rule::portTaken;
   case Reason::sharedOffset:
      return Rule::sharedOffset;
   case Reason::coveredOffset:
      return Rule::coveredOffset;
   case Reason::bitWithoutOthers:
      return Rule::bitWithoutOthers;
   case Reason::ethernetPorts:
      return Rule::ethernetPorts;
   case Reason::failedLookUp:
   case Reason::fault:
      break;
   }
   return std::nullopt;
}

std::string placeOf( U32 entry, const Port &port ) {
   return fmt::format( "entry {} on port {}/{}", entry, port.modId().value(), port.port() );
}

} // namespace

Trial::Trial( const ChipChoice &choice )
   : switch_( choice ), model_( modelOf( switch_ ) ), watch_( switch_ ), stateAtStart_( stateText() ) {}

std::string Trial::stateText() const {
   return dumpSpaces( switch_ ).dump() + dumpGroups( switch_ ).dump() + switch_.chip().digest();
}

std::string Trial::onTheSwitch( const Operation &operation, std::optional<std::pair<U8, U8>> &hint ) {
   const auto &wanted = operation.request;
   auto &agent = switch_.agent();
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

Outcome Trial::onTheModel( const Operation &operation, std::optional<std::pair<U8, U8>> &hint ) {
   const auto &request = operation.request;
   switch ( operation.kind ) {
   case Operation::Kind::createGroup:
      return model_.createGroup( request.group, hint );
   case Operation::Kind::deleteGroup:
      return model_.deleteGroup( request.group );
   case Operation::Kind::install:
      return model_.install( request );
   case Operation::Kind::remove:
      return model_.remove( request.group, request.entry );
   }
   return Outcome::refused;
}

std::string Trial::carryOut( const Operation &operation ) {
   std::optional<std::pair<U8, U8>> hint;
   std::optional<std::pair<U8, U8>> expectedHint;
   watch_.begin( operation.request.group, operation.request.entry );
   outcome_ = onTheSwitch( operation, hint );
   if ( const auto expected = onTheModel( operation, expectedHint ); outcomeOf( outcome_ ) != expected ) {
      return fmt::format( "outcome {}, the model has {}", outcome_, nameOf( expected ) );
   }
   if ( hint != expectedHint ) {
      return "another hint than the model's";
   }
   const auto difference = verifyAll( model_, switch_ );
   return difference.empty() ? watch_.end( model_ ) : difference;
}

std::string Trial::compareMatches() const {
   const auto found = checkMatches( switch_ );
   const auto expected = model_.mismatches();
   auto next = expected.begin();
   for ( const auto &mismatch : found ) {
      const auto place = placeOf( mismatch.entry, mismatch.port );
      if ( next == expected.end() || next->entry != mismatch.entry || next->port != mismatch.port ) {
         return "the match check, not the model, names " + place;
      }
      if ( const auto rule = ruleOf( mismatch.reason ); !rule || !next->rules.contains( *rule ) ) {
         return fmt::format( "{}: {} is not the reason", place, reasonName( mismatch.reason ) );
      }
      if ( mismatch.reason == Reason::portTaken && !next->takers.contains( mismatch.taker.value_or( 0 ) ) ) {
         return fmt::format( "{}: entry {} did not take the port", place, mismatch.taker.value_or( 0 ) );
      }
      ++next;
   }
   return next == expected.end()
             ? ""
             : "the model, not the match check, names " + placeOf( next->entry, next->port );
}

std::string Trial::leftBehind() const {
   return stateText() == stateAtStart_ ? "" : "something is left behind after the removal of everything";
}

} // namespace QuarraSoak
