#include "soak/Trial.h"

#include <fmt/format.h>

#include "agent/SystemAclFeatures.h"
#include "lab/Dump.h"

namespace QuarraSoak {

using QuarraAgent::InstallRequest;

Trial::Trial( const ChipChoice &choice )
   : switch_( choice ), model_( modelOf( switch_ ) ), stateAtStart_( stateText() ) {}

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

std::string Trial::onTheModel( const Operation &operation, std::optional<std::pair<U8, U8>> &hint ) {
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
   return "";
}

std::string Trial::carryOut( const Operation &operation ) {
   std::optional<std::pair<U8, U8>> hint;
   std::optional<std::pair<U8, U8>> expectedHint;
   outcome_ = onTheSwitch( operation, hint );
   if ( const auto expected = onTheModel( operation, expectedHint ); outcome_ != expected ) {
      return fmt::format( "outcome {}, the model has {}", outcome_, expected );
   }
   if ( hint != expectedHint ) {
      return "another hint than the model's";
   }
   return verifyAll( model_, switch_ );
}

std::string Trial::unexplainedMatches() const {
   for ( const auto &mismatch : checkMatches( switch_ ) ) {
      if ( mismatch.reason == QuarraLab::Reason::fault ) {
         return fmt::format( "entry {} on port {}: matches {}, should be {}", mismatch.entry,
                             mismatch.port.port(), mismatch.found, mismatch.expected );
      }
   }
   return "";
}

std::string Trial::leftBehind() const {
   return stateText() == stateAtStart_ ? "" : "something is left behind after the removal of everything";
}

} // namespace QuarraSoak
