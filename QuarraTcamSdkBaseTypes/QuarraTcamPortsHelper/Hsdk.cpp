#include <algorithm>
#include <vector>

#include "Nodra/Assert.h"
#include "QuarraCommon/QuarraCommonUtil.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/FirstChip.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/AclGroupSize.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/HsdkFunctions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SystemPortTable.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

namespace {

using QuarraCentral::ChipInfo;
using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

U32 systemPort( const ChipInfo &chipInfo, U16 modId, U32 port ) {
   return QuarraCentral::SYSPORT_FROM_MODPORT( chipInfo, modId, port,
                                               QuarraCentral::getMaxInterfacesPerSwitchChip( chipInfo ) );
}

} // namespace

QuarraTcamHSDKPortsHelper::QuarraTcamHSDKPortsHelper( Scsd scsd )
   : QuarraTcamSdk6PortsHelper( std::move( scsd ) ) {
   QuarraTcamHSDKPortsHelper::handleInitialized();
}

void QuarraTcamHSDKPortsHelper::handleInitialized() {
   NODRA_ASSERT( !!scsd() );
   modIdLowIs( 0 );
   modIdHighIs( 1 );
   const auto chipInfo = firstChip( scsd() ).chipInfo;
   const auto &activeChipProfile = QuarraCentral::activeChipProfile( chipInfo );
   NODRA_ASSERT( !!activeChipProfile );
   const auto &featureAttr = activeChipProfile->commonFeatureAttributes();
   NODRA_ASSERT( !!featureAttr );
   constexpr U8 wordBits = 32;
   const U8 portBits = featureAttr->portBits();
   const U32 lastPort = portBits < wordBits ? ( U32{ 1 } << portBits ) - 1 : ~U32{ 0 };
   const auto lastModId = static_cast<U16>( modIdHigh().value() - 1 );
   systemPortMaxIs( static_cast<U16>( systemPort( chipInfo, lastModId, lastPort ) ) );
}

void QuarraTcamHSDKPortsHelper::populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) {
   NODRA_ASSERT( !!intfGroup );
   const auto chipInfo = firstChip( scsd() ).chipInfo;
   for ( const auto &cpuPort : scsd()->quarraCpuModPort() ) {
      const ModId modId = cpuPort.modId;
      intfGroup->portIdIs( QuarraModPort( modId, systemPort( chipInfo, cpuPort.modId, cpuPort.port ) ) );
   }
}

// Rewrites the bit on every system port: set on the group's, cleared on all others. Known behaviour
// hsdk-trace-class: the trace names the SDK6 class.
void QuarraTcamHSDKPortsHelper::setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) {
   NODRA_ASSERT( SdkShim );
   const int unit = SdkShim->vmSingleUnit();
   TRACE( 1, "QuarraTcamSdk6PortsHelper::"
                << "setAclGroupClassId"
                << " unit: " << unit << " bitToSet: " << bitToSet );
   NODRA_ASSERT( !!intfGroup );
   intfGroup->dumpTrace();
   std::vector<bool> systemPorts( std::max<std::size_t>( systemPortMax(), U10::max ) + 1 );
   if ( intfGroup->ethernet() ) {
      TRACE( 4, "All ethernet is set, force programming to all system ports except cpu port" );
      systemPorts.flip();
      const auto cpuPorts = intfGroupInfoFactory();
      populateCpuIntfGroup( cpuPorts );
      for ( const auto &port : cpuPorts->portId() ) {
         systemPorts[ port.port() ] = false;
      }
   } else {
      S64 index = 0;
      for ( const auto &port : intfGroup->portId() ) {
         NODRA_ASSERT( index >= 0 && index < intfGroup->portIds() );
         systemPorts[ port.port() ] = true;
         ++index;
      }
      NODRA_ASSERT( index == intfGroup->portIds() );
   }
   const auto fieldName = getAclGroupFieldType( bitToSet );
   const char *field_name = fieldName.c_str();
   const auto bit_position = static_cast<U8>( bitToSet - Sdk::aclGroupFieldOf( bitToSet )->firstBit );
   const U64 group_bitmap = U64{ 1 } << bit_position;
   const TableNumbers numbers;
   for ( U32 system_source = 0; system_source <= systemPortMax(); ++system_source ) {
      const bool clear = !systemPorts[ system_source ];
      TRACE( 4, "setAclGroupClassId"
                   << " system source: " << system_source << " unit: " << unit << "bit: " << bitToSet
                   << "clear:" << clear );
      bcmlt_entry_handle_t systemPortEntry{};
      SDK_CALL( bcmlt_entry_allocate( unit, "ING_SYSTEM_PORT_TABLE", &systemPortEntry ) );
      SDK_CALL( bcmlt_entry_field_add( systemPortEntry, "SYSTEM_SOURCE", system_source ) );
      // Known behaviour look-up-may-fail: then the table has no entry for the port.
      const bool found =
         SDK_TRY_TEXT( bcmlt_entry_commit( systemPortEntry, numbers.lookup, numbers.priority ),
                       lookupText ) >= 0;
      U64 entry_grp_bmap = group_bitmap;
      if ( found ) {
         SDK_CALL( bcmlt_entry_field_get( systemPortEntry, field_name, &entry_grp_bmap ) );
         entry_grp_bmap = clear ? entry_grp_bmap & ~group_bitmap : entry_grp_bmap | group_bitmap;
      } else if ( clear ) { // no entry is made just to clear a bit
         TRACE( 2, " Couldn't find h/w entry for system source: " << system_source << " unit: " << unit );
         SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
         continue;
      }
      TRACE( 4, "setAclGroupClassId"
                   << "bit_position: " << bit_position << " entry_grp_bmap: " << entry_grp_bmap
                   << " group_bitmap:" << group_bitmap );
      SDK_CALL( bcmlt_entry_field_add( systemPortEntry, field_name, entry_grp_bmap ) );
      if ( found ) {
         SDK_CALL_TEXT( bcmlt_entry_commit( systemPortEntry, numbers.update, numbers.priority ), updateText );
      } else {
         SDK_CALL_TEXT( bcmlt_entry_commit( systemPortEntry, numbers.insert, numbers.priority ), insertText );
      }
      SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
   }
}

void QuarraTcamHSDKPortsHelper::qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits,
                                                        U32 *dataBits, U32 numSetMaskBits, U32 *maskBits ) {
   const auto &quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
   NODRA_ASSERT( !!quarraTcamAttr );
   const U8 classIdSize = aclGroupSize( *quarraTcamAttr );
   TRACE( 1, "qualifySubPortGroupIds"
                << "unit " << unit << " num data bits: " << numSetDataBits
                << " num mask bits: " << numSetMaskBits << "classIdSize:" << classIdSize );
   NODRA_ASSERT( SdkShim );
   SDK_CALL_TEXT( velmor_bcm_field_qualify_SubportGroupIds( static_cast<int>( unit ), entryId, numSetDataBits,
                                                            dataBits, numSetMaskBits, maskBits, classIdSize ),
                  "velmor_bcm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
                  "numSetMaskBits, &maskBits[ 0 ], classIdSize )" );
}

void requireHsdk() {
   const SdkFunction functions[] = {
      { "bcmlt_entry_allocate", bcmlt_entry_allocate != nullptr },
      { "bcmlt_entry_field_add", bcmlt_entry_field_add != nullptr },
      { "bcmlt_entry_field_get", bcmlt_entry_field_get != nullptr },
      { "bcmlt_entry_commit", bcmlt_entry_commit != nullptr },
      { "bcmlt_entry_free", bcmlt_entry_free != nullptr },
      { "velmor_bcm_field_qualify_SubportGroupIds", velmor_bcm_field_qualify_SubportGroupIds != nullptr },
   };
   requireSdk( "HSDK", functions );
}

QuarraTcamPortsHelper::Ptr quarraTcamHSDKPortsHelperFactory( const Scsd &scsd ) {
   requireHsdk();
   return std::make_shared<QuarraTcamHSDKPortsHelper>( scsd );
}

} // namespace QuarraTcam
