#include "simulator/ChipState.h"

#include <utility>

#include "Nodra/Assert.h"

namespace QuarraSimulator {
namespace {

constexpr U32 maxSourceTrunkMapBits = 16;

} // namespace

ChipState::ChipState( ChipOptions chipOptions )
   : options( std::move( chipOptions ) ),
     backend( makeBackend( options ) ),
     tcam( options.aclGroupBits, options.sourceTrunkMapBits ),
     pbmps{} {
   NODRA_ASSERT( options.sourceTrunkMapBits <= maxSourceTrunkMapBits )
      << " sourceTrunkMapBits: " << options.sourceTrunkMapBits;
}

AclGroupValue ChipState::aclGroup( U32 port ) const {
   if ( !aclGroupSource ) {
      return backend->aclGroup( port );
   }
   AclGroupValue value;
   if ( const auto *kept = aclGroupSource( port ) ) {
      for ( const U32 bit : kept->setBits() ) {
         value.set( bit );
      }
   }
   return value;
}

void ChipState::wrotePort( U32 port ) {
   ++portWrites;
   if ( observer ) {
      seen.ports.push_back( port );
   }
}

void ChipState::wrotePorts( const SubportGroups::Ports &ports ) {
   if ( !observer ) {
      portWrites += ports.count();
      return;
   }
   for ( U32 port = 0; port < ports.size(); ++port ) {
      if ( ports.test( port ) ) {
         wrotePort( port );
      }
   }
}

int ChipState::wroteEntry( U32 entry, int code ) {
   if ( code == Code::ok ) {
      seen.entry = entry;
   }
   return code;
}

// Asks and tells nobody while the observer looks on: it may not call the SDK.
void ChipState::tellObserver( std::size_t function, int code ) {
   seen.function = sdkFunctions[ function ];
   seen.code = code;
   observer( seen );
}

ChipState *&installedChip() {
   static ChipState *chip = nullptr;
   return chip;
}

} // namespace QuarraSimulator
