#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "Sdk/SdkShim.h"

// Class IDs in the per-port words of the two source-trunk-map tables. The chip is not written here: requests
// go to the port-table service, which applies them.
namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

namespace {

using QuarraCentral::PortTabWriteRequestKey;

// All ones but for the pool's bits, a bit position taken modulo 32. Known behaviour word-upper-half: it is
// only 16 bits wide, so applying it clears bits 16 to 31 of the old word as well.
U16 maskWithout( U8 baseOffset, U8 width ) {
   U32 mask = ~U32{ 0 };
   for ( U32 i = 0; i < width; ++i ) {
      mask &= ~( U32{ 1 } << ( baseOffset + i ) % 32 );
   }
   return static_cast<U16>( mask );
}

} // namespace

bool QuarraTcamPortsManager::programSourceTrunkMapClassId( TcamGroupId tcamGroupId,
                                                           const RequestKey &requestKey, U32 entryId,
                                                           const IntfGroupConst &intfGroup ) {
   TRACE( 1, "programSourceTrunkMapClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   NODRA_ASSERT( !!intfGroup );
   const auto &requestStatus = classIdStatus->requestStatus( requestKey );
   NODRA_ASSERT( !!requestStatus );
   if ( intfGroup->isEqual( requestStatus->intfGroup() ) ) {
      TRACE( 2, "Asked interface set is already programmed with the class Id" );
      return true;
   }
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( SdkShim );
   const auto unit = static_cast<U16>( SdkShim->vmSingleUnit() );
   NODRA_ASSERT_TEXT( scsd()->quarraModIdHas( unit ),
                      "scsd()->quarraModIdHas( ( U16 )SdkShim->vmSingleUnit() )" );
   const U16 chip = scsd()->quarraModId( unit ).chipInfo.chipId;
   TRACE( 3, " Programmed intf group: " );
   dumpIntfGroup( requestStatus->intfGroup() );
   TRACE( 3, " Supplied intf group: " );
   dumpIntfGroup( intfGroup );
   const auto &pool = classIdStatus->poolStatus( requestStatus->poolId() );
   NODRA_ASSERT( !!pool );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   if ( requestStatus->intfGroup()->portIds() || intfGroup->portIds() ) {
      NODRA_ASSERT( !!sourceTrunkMapConfig() );
   }
   const U16 mask = maskWithout( pool->baseOffset(), pool->size() );
   const U8 ownTable = sourceTrunkMapTableOf( classIdConfig->classIdType() );
   const U8 table = ownTable ? ownTable : QuarraCentral::vfpSourceTrunkMapTable;

   for ( const auto &port : requestStatus->intfGroup()->portId() ) {
      const PortTabWriteRequestKey srcTrunkMapKey( chip, port, table );
      if ( sourceTrunkMapConfig()->requestHas( srcTrunkMapKey ) ) {
         sourceTrunkMapConfig()->postRequest( srcTrunkMapKey,
                                              sourceTrunkMapConfig()->request( srcTrunkMapKey ) & mask );
      } else {
         NODRA_ASSERT( classIdConfig->classIdPoolBits() != 0 );
      }
   }
   // Adds to what the port carries: only the loop above takes bits off, and only from ports of the old group.
   const U32 setBits = U32{ requestStatus->classId() } << pool->baseOffset() % 32;
   for ( const auto &port : intfGroup->portId() ) {
      const PortTabWriteRequestKey srcTrunkMapKey( chip, port, table );
      sourceTrunkMapConfig()->postRequest( srcTrunkMapKey,
                                           setBits | sourceTrunkMapConfig()->request( srcTrunkMapKey ) );
      NODRA_ASSERT( sourceTrunkMapConfig()->requestHas( srcTrunkMapKey ) );
   }
   requestStatus->intfGroup()->portIdDelAll();
   requestStatus->intfGroup()->ethernetIs( false );
   requestStatus->intfGroup()->deepCopy( intfGroup );
   return true;
}

// Known behaviour vfp-on-demand: the chip variant's answer, which is narrower than the group's type.
bool QuarraTcamPortsManager::isSourceTrunkMapGroup( TcamGroupId tcamGroupId ) {
   TRACE( 1, "isSourceTrunkMapGroup"
                << " TcamGroupId: " << tcamGroupId );
   NODRA_ASSERT( !!portsHelper() );
   return portsHelper()->isSourceTrunkMapGroup( tcamGroupId );
}

// Clears the words of ports that no interface group ever named, too.
void QuarraTcamPortsManager::initializeSourceTrunkMap() {
   TRACE( 1, "initializeSourceTrunkMap" );
   if ( !sourceTrunkMapConfig() ) {
      return;
   }
   for ( const auto &[ key, value ] : sourceTrunkMapConfig()->request() ) {
      if ( typeOfSourceTrunkMapTable( key.table() ) != ClassIdType::classIdInvalid ) {
         sourceTrunkMapConfig()->postRequest( key, 0 );
      }
   }
}

} // namespace QuarraTcam
