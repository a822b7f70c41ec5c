#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Trace.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {
namespace {

using Ivrel::IntfId;
using QuarraCentral::QuarraModPort;
using QuarraTypes::QuarraPort;

// The interface that a bit of a port bitmap stands for, with its port as the class-ID tables number it.
struct BitOwner {
   IntfId intfId;
   U16 modId = 0;
   U32 port = 0;
};

template <typename Map, typename Test>
auto firstWhere( const Map &map, Test test ) {
   auto item = map.begin();
   while ( item != map.end() && !test( item->second ) ) {
      ++item;
   }
   return item;
}

// CPU interfaces, known by their logical port, win over interfaces known by their ACL group key.
BitOwner ownerOfBit( const Scsd &scsd, U32 bit, bool sourceTrunkMap ) {
   BitOwner owner;
   const auto &keys = scsd->quarraIntfToAclGroupKey();
   if ( const auto item = firstWhere( keys, [ & ]( U16 key ) { return key == bit; } ); item != keys.end() ) {
      const auto &intfId = item->first;
      NODRA_ASSERT( scsd->quarraIntfToPortHas( intfId ) );
      const auto &port = scsd->quarraIntfToPort( intfId );
      owner = { intfId, port.modId(), sourceTrunkMap ? port.logicalPort() : bit };
   }
   const auto &cpuPorts = scsd->quarraIntfToCpuPort();
   const auto cpu =
      firstWhere( cpuPorts, [ & ]( const QuarraPort &port ) { return port.logicalPort() == bit; } );
   if ( cpu != cpuPorts.end() ) {
      owner = { cpu->first, cpu->second.modId(), bit };
   }
   return owner;
}

} // namespace

IntfGroupInfo::PtrConst QuarraTcamPortsHelper::getIntfGroupFromPbmp( TcamGroupId tcamGroupId,
                                                                     const bcm_pbmp_t &pbmp, bool ethernet ) {
   auto intfGroup = intfGroupInfoFactory();
   if ( ethernet ) {
      intfGroup->ethernetIs( true );
      return intfGroup;
   }
   constexpr U32 pbmpBits = sizeof( pbmp.pbits ) * 8;
   for ( U32 bit = 0; bit < pbmpBits; ++bit ) {
      if ( !SdkShim->pbmpMember( pbmp, bit ) ) {
         continue;
      }
      const auto owner = ownerOfBit( scsd(), bit, isSourceTrunkMapGroup( tcamGroupId ) );
      if ( owner.intfId.valid() ) {
         TRACE( 1, "getIntfGroupFromPbmp"
                      << " Interface: " << owner.intfId );
         intfGroup->portIdIs( QuarraModPort{ owner.modId, owner.port } ); // module checked first
      }
   }
   return intfGroup;
}

IntfGroupInfo::PtrConst QuarraTcamPortsHelper::getIntfGroupFromIntfProfile(
   const IntfProfile::PtrConst &profile ) {
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
