#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/FirstChip.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPorts" );

namespace {

// Copies the standard bitmap of the first chip's unit, for the getter of this name and signature.
const bcm_pbmp_t &unitPbmp( const Scsd &scsd, Sdk::PbmpKind kind, const char *name, const char *getter,
                            bcm_pbmp_t &pbmp ) {
   const QuarraCentral::ModId modId = firstChip( scsd ).modId;
   NODRA_ASSERT_OF( getter, scsd->quarraModIdToUnitHas( modId ), "scsd->quarraModIdToUnitHas( modId )" );
   NODRA_ASSERT_OF( getter, SdkShim, "SdkShim" );
   pbmp = SdkShim->pbmp( scsd->quarraModIdToUnit( modId ), kind );
   printPbmp( pbmp, name );
   return pbmp;
}

} // namespace

// Known behaviour ethernet-bitmap-only-adds: where interfaces are numbered by keys, the bitmap is not cleared
// first.
const bcm_pbmp_t &getPbmpEAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   if ( !firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ) {
      return unitPbmp( scsd, Sdk::PbmpKind::ethernet, "getPbmpEAll", __PRETTY_FUNCTION__, pbmp );
   }
   NODRA_ASSERT( SdkShim );
   constexpr U32 lastEthernetKey = 511;
   for ( U32 port = 1; port <= lastEthernetKey; ++port ) {
      SdkShim->pbmpPortAdd( pbmp, port );
   }
   return pbmp;
}

const bcm_pbmp_t &getPbmpAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   if ( !firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ) {
      return unitPbmp( scsd, Sdk::PbmpKind::all, "getPbmpAll", __PRETTY_FUNCTION__, pbmp );
   }
   pbmp = getPbmpEAll( scsd );
   SdkShim->pbmpPortAdd( pbmp, 0 );
   return pbmp;
}

// Looks at the mode before it looks at the chip state; a null chip state has no mode and aborts as such.
const bcm_pbmp_t &getPbmpCpu( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   const bool isVexProduct = scsd && firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ );
   NODRA_ASSERT( !isVexProduct );
   NODRA_ASSERT( scsd );
   return unitPbmp( scsd, Sdk::PbmpKind::cpu, "getPbmpCpu", __PRETTY_FUNCTION__, pbmp );
}

const bcm_pbmp_t &getPbmpLbAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   const bool isVexProduct = firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ );
   NODRA_ASSERT( !isVexProduct );
   return unitPbmp( scsd, Sdk::PbmpKind::loopback, "getPbmpLbAll", __PRETTY_FUNCTION__, pbmp );
}

// Takes the unit's bitmap in both modes, though the chip must have attributes all the same.
const bcm_pbmp_t &getPbmpPortAll( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ );
   return unitPbmp( scsd, Sdk::PbmpKind::frontPanel, "getPbmpPortAll", __PRETTY_FUNCTION__, pbmp );
}

// Known behaviour active-ports-stay: the bitmap is never cleared, callers rely on ports staying in it.
const bcm_pbmp_t &getActivePorts( const Scsd &scsd ) {
   static bcm_pbmp_t pbmp{};
   NODRA_ASSERT( scsd );
   const bool isVexProduct = firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ );
   NODRA_ASSERT( SdkShim );
   if ( isVexProduct ) {
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
   NODRA_ASSERT( SdkShim );
   std::vector<char> text( SdkShim->pbmpFormatLength() );
   SdkShim->pbmpFormat( pbmp, text.data() );
   TRACE( 8, name << " pbmp: " << text.data() );
}

} // namespace QuarraTcam
