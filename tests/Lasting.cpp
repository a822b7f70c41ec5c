#include "tests/Lasting.h"

#include "agent/SystemAclFeatures.h"
#include "soak/Trial.h"

namespace QuarraTest {

using QuarraSoak::Operation;

History makeHistory( const std::string &variant, U64 seed, U32 length ) {
   QuarraSoak::SeededChoices choices( seed );
   History history{ QuarraSoak::drawChip( *variantOf( variant ), choices ), {} };
   QuarraSoak::Trial trial( history.choice );
   QuarraSoak::Player player( choices, trial.model() );
   while ( history.operations.size() < length ) {
      history.operations.push_back( player.next() );
      EXPECT_EQ( trial.carryOut( history.operations.back() ), "" );
   }
   return history;
}

std::string carryOut( TcamAgent &agent, const Operation &operation ) {
   const auto &wanted = operation.request;
   Nodra::Text text;
   try {
      switch ( operation.kind ) {
      case Operation::Kind::createGroup: {
         const auto hint = agent.createGroup( wanted.group );
         text << "hint " << ( hint ? hint->startBit : U8{ 0 } ) << " " << ( hint ? hint->endBit : U8{ 0 } );
         break;
      }
      case Operation::Kind::deleteGroup:
         agent.deleteGroup( wanted.group );
         break;
      case Operation::Kind::install: {
         InstallRequest request;
         request.group = wanted.group;
         request.entry = wanted.entry;
         // Not always in rising order: an entry is kept as it was asked for.
         request.ports.assign( wanted.wanted.ports.rbegin(), wanted.wanted.ports.rend() );
         request.ethernet = wanted.wanted.ethernet;
         if ( wanted.rule ) {
            request.rule.emplace( featureOf( wanted.group ), *wanted.rule );
         }
         request.label = "TABLE|RULE" + std::to_string( wanted.entry );
         const auto installed = agent.install( request );
         text << installed.key << " " << installed.classId << " " << installed.poolId << " "
              << installed.baseOffset << " " << installed.qualifier->data()->hex() << "/"
              << installed.qualifier->mask()->hex();
         break;
      }
      case Operation::Kind::remove:
         agent.remove( wanted.group, wanted.entry );
         break;
      }
   } catch ( const RequestRefused &refused ) {
      text << refused.code() << ": " << refused.what();
   }
   return text.string();
}

} // namespace QuarraTest
