#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/FirstChip.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/Trace.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {
namespace {

// Copies the standard bitmap of the first chip's unit.
const bcm_pbmp_t &unitPbmp( const Scsd &scsd, Sdk::PbmpKind kind, const char *name, bcm_pbmp_t &pbmp ) {
   const QuarraCentral::ModId modId = firstChip( scsd ).modId;
   NODRA_ASSERT( scsd->quarraModIdToUnitHas( modId ) );
   pbmp = SdkShim->pbmp( scsd->quarraModIdToUnit( modId ), kind );
   printPbmp( pbmp, name );
   return pbmp;
}

} // namespace

const bcm_pbmp_t &getPbmpEAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   if ( !firstChipIsVexProduct( scsd ) ) {
      return unitPbmp( scsd, Sdk::PbmpKind::ethernet, "getPbmpEAll", pbmp );
   }
   constexpr U32 lastEthernetKey = 511;
   for ( U32 port = 1; port <= lastEthernetKey; ++port ) {
      SdkShim->pbmpPortAdd( pbmp, port );
   }
   return pbmp;
}

const bcm_pbmp_t &getPbmpAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   if ( !firstChipIsVexProduct( scsd ) ) {
      return unitPbmp( scsd, Sdk::PbmpKind::all, "getPbmpAll", pbmp );
   }
   pbmp = getPbmpEAll( scsd );
   SdkShim->pbmpPortAdd( pbmp, 0 );
   return pbmp;
}

// Looks at the mode before it looks at the chip state; a null chip state has no mode and aborts as such.
const bcm_pbmp_t &getPbmpCpu( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   const bool isVexProduct = scsd && firstChipIsVexProduct( scsd );
   NODRA_ASSERT( !isVexProduct );
   NODRA_ASSERT( scsd );
   return unitPbmp( scsd, Sdk::PbmpKind::cpu, "getPbmpCpu", pbmp );
}

const bcm_pbmp_t &getPbmpLbAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   const bool isVexProduct = firstChipIsVexProduct( scsd );
   NODRA_ASSERT( !isVexProduct );
   return unitPbmp( scsd, Sdk::PbmpKind::loopback, "getPbmpLbAll", pbmp );
}

// Takes the unit's bitmap in both modes, though the chip must have attributes all the same.
const bcm_pbmp_t &getPbmpPortAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   firstChipIsVexProduct( scsd );
   return unitPbmp( scsd, Sdk::PbmpKind::frontPanel, "getPbmpPortAll", pbmp );
}

// The bitmap is never cleared: callers rely on ports staying in it.
const bcm_pbmp_t &getActivePorts( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   if ( firstChipIsVexProduct( scsd ) ) {
      for ( const auto &[ intfId, aclGroupKey ] : scsd->quarraIntfToAclGroupKey() ) {
         SdkShim->pbmpPortAdd( pbmp, aclGroupKey );
      }
   } else {
      for ( const auto &[ intfId, port ] : scsd->quarraIntfToPort() ) {
         SdkShim->pbmpPortAdd( pbmp, port.logicalPort() );
      }
   }
   return pbmp;
}

void printPbmp( const bcm_pbmp_t &pbmp, const char *name ) {
   if ( !unitTrace.isOn( 8 ) ) {
      return;
   }
   std::vector<char> text( SdkShim->pbmpFormatLength() );
   SdkShim->pbmpFormat( pbmp, text.data() );
   TRACE( 8, name << " pbmp: " << text.data() );
}

} // namespace QuarraTcam
