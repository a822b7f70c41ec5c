#include <numeric>
#include <vector>

#include "Nodra/Assert.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Sdk6Functions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

QuarraTcamSdk6PortsHelper::QuarraTcamSdk6PortsHelper( Scsd scsd )
   : QuarraTcamPortsHelper( std::move( scsd ) ) {
   QuarraTcamSdk6PortsHelper::handleInitialized();
}

void QuarraTcamSdk6PortsHelper::handleInitialized() {
   NODRA_ASSERT( !!scsd() );
   modIdLowIs( 30 );
   modIdHighIs( 35 );
}

namespace {

// Known behaviour ethernet-511: ports 1 to 511, though the trace counts 455.
std::vector<U32> allEthernetPorts() {
   std::vector<U32> ports( 511 );
   std::iota( ports.begin(), ports.end(), 1 );
   return ports;
}

} // namespace

// One call, made for an empty list too: the SDK takes the list as the bit's whole membership.
void QuarraTcamSdk6PortsHelper::setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) {
   NODRA_ASSERT( SdkShim );
   const int unit = SdkShim->vmSingleUnit();
   TRACE( 1, "QuarraTcamSdk6PortsHelper::"
                << "setAclGroupClassId"
                << " unit: " << unit << " bitToSet: " << bitToSet );
   NODRA_ASSERT( !!intfGroup );
   intfGroup->dumpTrace();
   std::vector<U32> sdkPorts;
   if ( intfGroup->ethernet() ) {
      TRACE( 4, "All ethernet is set, force programming to all 455 GPPs" );
      NODRA_ASSERT( !intfGroup->portIds() );
      sdkPorts = allEthernetPorts();
   } else {
      sdkPorts.resize( intfGroup->portIds() );
      S64 index = 0;
      for ( const auto &port : intfGroup->portId() ) {
         NODRA_ASSERT( index >= 0 && index < intfGroup->portIds() );
         sdkPorts[ static_cast<std::size_t>( index ) ] = port.port();
         ++index;
      }
      NODRA_ASSERT( index == intfGroup->portIds() );
   }
   const auto size = static_cast<U32>( sdkPorts.size() );
   SDK_CALL( bcm_subport_port_group_subport_multi_set( unit, bitToSet, size, sdkPorts.data() ) );
}

void QuarraTcamSdk6PortsHelper::populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) {
   NODRA_ASSERT( !!intfGroup );
   for ( const auto &cpuPort : scsd()->quarraCpuModPort() ) {
      intfGroup->portIdIs(
         QuarraCentral::QuarraModPort{ cpuPort.modId, cpuPort.port } ); // module checked first
   }
}

void QuarraTcamSdk6PortsHelper::qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits,
                                                        U32 *dataBits, U32 numSetMaskBits, U32 *maskBits ) {
   TRACE( 1, "qualifySubPortGroupIds"
                << "unit " << unit << " num data bits: " << numSetDataBits
                << " num mask bits: " << numSetMaskBits );
   NODRA_ASSERT( SdkShim );
   SDK_CALL_TEXT( vm_field_qualify_SubportGroupIds( static_cast<int>( unit ), entryId, numSetDataBits,
                                                    dataBits, numSetMaskBits, maskBits ),
                  "vm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
                  "numSetMaskBits, &maskBits[ 0 ] )" );
}

void requireSdk6() {
   const SdkFunction functions[] = {
      { "bcm_subport_port_group_subport_multi_set", bcm_subport_port_group_subport_multi_set != nullptr },
      { "bcm_field_qualify_InterfaceClassPort", bcm_field_qualify_InterfaceClassPort != nullptr },
      { "vm_field_qualify_SubportGroupIds", vm_field_qualify_SubportGroupIds != nullptr },
   };
   requireSdk( "SDK6", functions );
}

QuarraTcamPortsHelper::Ptr quarraTcamSdk6PortsHelperFactory( const Scsd &scsd ) {
   requireSdk6();
   return std::make_shared<QuarraTcamSdk6PortsHelper>( scsd );
}

} // namespace QuarraTcam
