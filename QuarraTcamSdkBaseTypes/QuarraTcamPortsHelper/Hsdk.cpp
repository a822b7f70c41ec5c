#include <algorithm>
#include <vector>

#include "Nodra/Assert.h"
#include "QuarraCommon/QuarraCommonUtil.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SystemPortTable.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Trace.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {
namespace {

using QuarraCentral::ChipInfo;
using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

ChipInfo firstChipInfo( const Scsd &scsd ) {
   const auto &chips = scsd->quarraModId();
   return chips.empty() ? ChipInfo() : chips.begin()->second.chipInfo;
}

U32 systemPort( const ChipInfo &chipInfo, U16 modId, U32 port ) {
   return QuarraCentral::SYSPORT_FROM_MODPORT( chipInfo, modId, port,
                                               QuarraCentral::getMaxInterfacesPerSwitchChip( chipInfo ) );
}

// One bit of the ACL-group value in the system port table: its field, and its place in it.
struct FieldBit {
   explicit FieldBit( U8 bitToSet )
      : field( getAclGroupFieldType( bitToSet ) ),
        position( static_cast<U8>( bitToSet < 32 ? bitToSet : bitToSet % 16 ) ),
        mask( U64{ 1 } << position ) {}

   std::string field;
   U8 position;
   U64 mask;
};

// Every call costs in the loop over all system ports, of which this is half.
[[gnu::always_inline]] inline bool lookUp( int unit, const TableNumbers &numbers, U32 system_source,
                                           bcmlt_entry_handle_t &systemPortEntry ) {
   const auto BCMLT_OPCODE_LOOKUP = numbers.lookup;
   const auto BCMLT_PRIORITY_NORMAL = numbers.priority;
   SDK_CALL( bcmlt_entry_allocate( unit, "ING_SYSTEM_PORT_TABLE", &systemPortEntry ) );
   SDK_CALL( bcmlt_entry_field_add( systemPortEntry, "SYSTEM_SOURCE", system_source ) );
   return SDK_TRY( bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_LOOKUP, BCMLT_PRIORITY_NORMAL ) ) >= 0;
}

// Rewrites the bit in the entry of one system port. No entry is created just to clear a bit.
void programSystemPort( int unit, const TableNumbers &numbers, U32 system_source, U8 bitToSet,
                        const FieldBit &bit, bool clear ) {
   const auto BCMLT_OPCODE_UPDATE = numbers.update;
   const auto BCMLT_OPCODE_INSERT = numbers.insert;
   const auto BCMLT_PRIORITY_NORMAL = numbers.priority;
   const char *field_name = bit.field.c_str();
   const U64 group_bitmap = bit.mask;
   U64 entry_grp_bmap = 0;
   bcmlt_entry_handle_t systemPortEntry{};
   TRACE( 4, "setAclGroupClassId"
                << " system source: " << system_source << " unit: " << unit << "bit: " << bitToSet
                << "clear:" << clear );
   const bool found = lookUp( unit, numbers, system_source, systemPortEntry );
   if ( found ) {
      SDK_CALL( bcmlt_entry_field_get( systemPortEntry, field_name, &entry_grp_bmap ) );
      entry_grp_bmap = clear ? entry_grp_bmap & ~group_bitmap : entry_grp_bmap | group_bitmap;
   } else if ( clear ) {
      TRACE( 2, " Couldn't find h/w entry for system source: " << system_source << " unit: " << unit );
      SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
      return;
   } else {
      entry_grp_bmap = group_bitmap;
   }
   TRACE( 4, "setAclGroupClassId"
                << "bit_position: " << bit.position << " entry_grp_bmap: " << entry_grp_bmap
                << " group_bitmap:" << group_bitmap );
   SDK_CALL( bcmlt_entry_field_add( systemPortEntry, field_name, entry_grp_bmap ) );
   if ( found ) {
      SDK_CALL( bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_UPDATE, BCMLT_PRIORITY_NORMAL ) );
   } else {
      SDK_CALL( bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_INSERT, BCMLT_PRIORITY_NORMAL ) );
   }
   SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
}

} // namespace

bool lookUpSystemPort( int unit, const TableNumbers &numbers, U32 system_source,
                       bcmlt_entry_handle_t &systemPortEntry ) {
   return lookUp( unit, numbers, system_source, systemPortEntry );
}

QuarraTcamHSDKPortsHelper::QuarraTcamHSDKPortsHelper( Scsd scsd )
   : QuarraTcamSdk6PortsHelper( std::move( scsd ) ) {
   QuarraTcamHSDKPortsHelper::handleInitialized();
}

void QuarraTcamHSDKPortsHelper::handleInitialized() {
   NODRA_ASSERT( !!scsd() );
   modIdLowIs( 0 );
   modIdHighIs( 1 );
   const auto chipInfo = firstChipInfo( scsd() );
   const auto &activeChipProfile = QuarraCentral::activeChipProfile( chipInfo );
   NODRA_ASSERT( !!activeChipProfile );
   const auto &featureAttr = activeChipProfile->commonFeatureAttributes();
   NODRA_ASSERT( !!featureAttr );
   const U32 lastPort = ( U32{ 1 } << featureAttr->portBits() ) - 1;
   const auto lastModId = static_cast<U16>( modIdHigh().value() - 1 );
   systemPortMaxIs( static_cast<U16>( systemPort( chipInfo, lastModId, lastPort ) ) );
}

void QuarraTcamHSDKPortsHelper::populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) {
   const auto chipInfo = firstChipInfo( scsd() );
   for ( const auto &cpuPort : scsd()->quarraCpuModPort() ) {
      const ModId modId = cpuPort.modId;
      intfGroup->portIdIs( QuarraModPort( modId, systemPort( chipInfo, cpuPort.modId, cpuPort.port ) ) );
   }
}

// Rewrites the bit on every system port: set on the group's, cleared on all others. The trace names the SDK6
// class, deliberately.
void QuarraTcamHSDKPortsHelper::setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) {
   const int unit = SdkShim->vmSingleUnit();
   TRACE( 1, "QuarraTcamSdk6PortsHelper::"
                << "setAclGroupClassId"
                << " unit: " << unit << " bitToSet: " << bitToSet );
   NODRA_ASSERT( !!intfGroup );
   intfGroup->dumpTrace();
   std::vector<bool> systemPorts( std::max<std::size_t>( systemPortMax(), U10::max ) + 1 );
   if ( intfGroup->ethernet() ) {
      TRACE( 4, "All ethernet is set, force programming to all system ports except cpu port" );
      for ( U32 port = 0; port <= systemPortMax(); ++port ) {
         systemPorts[ port ] = true;
      }
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
   const FieldBit bit( bitToSet );
   const TableNumbers numbers;
   for ( U32 system_source = 0; system_source <= systemPortMax(); ++system_source ) {
      programSystemPort( unit, numbers, system_source, bitToSet, bit, !systemPorts[ system_source ] );
   }
}

} // namespace QuarraTcam
