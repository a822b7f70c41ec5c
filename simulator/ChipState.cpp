#include "simulator/ChipState.h"

#include <utility>

#include "Nodra/Assert.h"

namespace QuarraSimulator {
namespace {

constexpr U32 maxCombinedBits = 160;
constexpr U32 maxSourceTrunkMapBits = 16;

} // namespace

ChipState::ChipState( ChipOptions chipOptions )
   : options( std::move( chipOptions ) ),
     tcam( options.aclGroupBits, options.sourceTrunkMapBits ),
     portTables( options.aclGroupBits ),
     logicalTables( options.systemPorts ),
     pbmps{} {
   NODRA_ASSERT( options.generation == Generation::sdk6 || options.aclGroupBits <= maxCombinedBits )
      << " aclGroupBits: " << options.aclGroupBits;
   NODRA_ASSERT( options.sourceTrunkMapBits <= maxSourceTrunkMapBits )
      << " sourceTrunkMapBits: " << options.sourceTrunkMapBits;
}

int ChipState::check( const CallTarget &target ) const {
   if ( target.unit && *target.unit != options.unit ) {
      return Code::unit;
   }
   return target.generation && *target.generation != options.generation ? Code::unavailable : Code::ok;
}

bool ChipState::aclGroupBit( U32 port, U32 bit ) const {
   return options.generation == Generation::sdk6 ? portTables.isMember( bit, port )
                                                 : logicalTables.systemPortTable().bit( port, bit );
}

Vesk::Bitmap ChipState::aclGroup( U32 port ) const {
   return options.generation == Generation::sdk6
             ? portTables.groupsOf( port )
             : logicalTables.systemPortTable().value( port, options.aclGroupBits );
}

U32 ChipState::aclGroupPort( const QuarraCentral::QuarraModPort &port ) const {
   return options.generation == Generation::hsdk && options.systemPort ? options.systemPort( port )
                                                                       : port.port();
}

ChipState *&installedChip() {
   static ChipState *chip = nullptr;
   return chip;
}

} // namespace QuarraSimulator
