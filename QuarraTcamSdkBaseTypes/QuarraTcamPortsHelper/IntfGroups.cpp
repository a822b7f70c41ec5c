#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

namespace {

using Ivrel::IntfId;
using QuarraCentral::QuarraModPort;
using QuarraTypes::QuarraPort;

template <typename Map, typename Test>
auto firstWhere( const Map &map, Test test ) {
   auto item = map.begin();
   while ( item != map.end() && !test( item->second ) ) {
      ++item;
   }
   return item;
}

// The interface whose ACL group key the bit is; invalid when there is none.
IntfId intfOfAclGroupKey( const Scsd &scsd, U32 bit ) {
   const auto &keys = scsd->quarraIntfToAclGroupKey();
   const auto item = firstWhere( keys, [ & ]( U16 key ) { return key == bit; } );
   return item == keys.end() ? IntfId() : item->first;
}

} // namespace

IntfGroupInfo::PtrConst QuarraTcamPortsHelper::getIntfGroupFromPbmp( TcamGroupId tcamGroupId,
                                                                     const bcm_pbmp_t &pbmp, bool ethernet ) {
   auto intfGroup = intfGroupInfoFactory();
   if ( ethernet ) {
      intfGroup->ethernetIs( true );
      return intfGroup;
   }
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( SdkShim );
   constexpr U32 pbmpBits = sizeof( pbmp.pbits ) * 8;
   for ( U32 bit = 0; bit < pbmpBits; ++bit ) {
      if ( !SdkShim->pbmpMember( pbmp, bit ) ) {
         continue;
      }
      auto intfId = intfOfAclGroupKey( scsd(), bit );
      QuarraPort port;
      U32 number = bit;
      if ( intfId.valid() ) {
         NODRA_ASSERT( scsd()->quarraIntfToPortHas( intfId ) );
         port = scsd()->quarraIntfToPort( intfId );
         number = isSourceTrunkMapGroup( tcamGroupId ) ? port.logicalPort() : bit;
      }
      // CPU interfaces, known by their logical port, win over interfaces known by their ACL group key.
      const auto &cpuPorts = scsd()->quarraIntfToCpuPort();
      const auto cpu =
         firstWhere( cpuPorts, [ & ]( const QuarraPort &p ) { return p.logicalPort() == bit; } );
      if ( cpu != cpuPorts.end() ) {
         intfId = cpu->first;
         port = cpu->second;
         number = bit;
      }
      if ( intfId.valid() ) {
         TRACE( 1, "getIntfGroupFromPbmp"
                      << " Interface: " << intfId );
         intfGroup->portIdIs( QuarraModPort{ port.modId(), number } ); // module checked first
      }
   }
   return intfGroup;
}

IntfGroupInfo::PtrConst QuarraTcamPortsHelper::getIntfGroupFromIntfProfile(
   const IntfProfile::PtrConst &profile ) {
   NODRA_ASSERT( !!profile );
   TRACE( 1, "getIntfGroupFromIntfProfile"
                << " IntfProfile: " << *profile );
   auto intfGroup = intfGroupInfoFactory();
   if ( profile->allEthernet() ) {
      intfGroup->ethernetIs( true );
      return intfGroup;
   }
   if ( profile->cpu() ) {
      populateCpuIntfGroup( intfGroup );
   }
   for ( const auto &port : profile->portId() ) {
      NODRA_ASSERT( !!scsd() );
      if ( isMyModId( scsd(), port.modId(), modIdLow(), modIdHigh(), getQuarraTcamCommonData()->modId() ) ) {
         TRACE( 4, "getIntfGroupFromIntfProfile"
                      << "adding port = " << port.port() );
         intfGroup->portIdIs( port );
      } else {
         TRACE( 4, "getIntfGroupFromIntfProfile"
                      << "ignoring port = " << port.port() );
      }
   }
   return intfGroup;
}

} // namespace QuarraTcam
