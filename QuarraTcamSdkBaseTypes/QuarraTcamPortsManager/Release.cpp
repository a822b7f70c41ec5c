#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager/ProgramOperation.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

bool QuarraTcamPortsManager::clearClassIdAndIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                       U32 entryId ) {
   TRACE( 1, "clearClassIdAndIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      return true;
   }
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   if ( classIdStatus->requestStatusHas( requestKey ) ) {
      NODRA_ASSERT( !!classIdStatus->requestStatus( requestKey )->intfGroup() );
      return clearClassId( tcamGroupId, requestKey, entryId );
   }
   TRACE( 2, "clearClassIdAndIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId
                << " hasn't any classId allocated, "
                << " looks like a installEntry fail " );
   return true;
}

bool QuarraTcamPortsManager::clearClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                           U32 entryId ) {
   TRACE( 1, "clearClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( classIdStatus->poolStatuss() );
   NODRA_ASSERT( classIdStatus->requestStatusHas( requestKey ) );
   NODRA_ASSERT( classIdStatus->requestStatus( requestKey )->entryRefHas( entryId ) );
   NODRA_ASSERT( classIdStatus->lastPoolNum() );
   NODRA_ASSERT( !!classIdStatus->requestStatus( requestKey )->intfGroup() );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   NODRA_ASSERT_TEXT( classIdConfig->classIdType() != ClassIdType::classIdInvalid,
                      "classIdConfig->classIdType() != classIdInvalid()" );
   // The caller's key may be the one inside of the record that goes.
   const auto requestStatus = classIdStatus->requestStatus( requestKey );
   maybeFreeClassId( tcamGroupId, requestStatus->requestKey(), entryId );
   maybeFreeClassIdPool( tcamGroupId, requestStatus->requestKey() );
   return true;
}

// The order matters: the index forgets the key first, the chip is cleared while the key still knows its class
// ID and ports, then the class ID goes back, and only then is the key forgotten.
bool QuarraTcamPortsManager::maybeFreeClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                               U32 entryId ) {
   TRACE( 1, "maybeFreeClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   // Held to the end: the caller's key may be the one inside of a record that goes.
   const auto requestStatus = classIdStatus->requestStatus( requestKey );
   NODRA_ASSERT( !!requestStatus );
   NODRA_ASSERT( requestStatus->entryRefHas( entryId ) ); // known behaviour uncounted-entry
   const auto &heldKey = requestStatus->requestKey();
   requestStatus->entryRefDel( entryId );
   const bool unused = !requestStatus->entryRefs();
   // Reserved at start-up: the key and its class ID stay, only the ports go.
   const bool onlyReserved =
      requestStatus->entryRefs() == 1 && requestStatus->entryRefHas( INVALID_ENTRY_ID );
   if ( unused ) {
      NODRA_ASSERT( !QuarraTcam::isSystemAclGroup( tcamGroupId ) );
      TRACE(
         2, "Ref count of tcam entries to classId is 0 now, clear acl group table and release the class Id" );
      const auto &intfGroup = requestStatus->intfGroup();
      NODRA_ASSERT( !!intfGroup );
      if ( classIdStatus->intfGroupHashToIntfGroupInfoHas( intfGroup->hash() ) ) {
         deleteIntfGroupFromIntfGroupInfo( tcamGroupId, heldKey, intfGroup );
      }
   } else if ( onlyReserved ) {
      NODRA_ASSERT( QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) );
      TRACE( 2, " Ref count of tcam entries to class id is 1 with only invalid entry pointing to class id, "
                "clear acl group table only" );
      NODRA_ASSERT_TEXT( classIdConfig->allocationType() == ClassIdAllocationStrategy::allocateOnInit,
                         "classIdConfig->allocationType() == allocateOnInit()" );
   } else {
      return true;
   }
   // An empty interface group takes the class ID off every port that carries it.
   if ( const auto *space = classIdSpace( classIdConfig->classIdType() ) ) {
      const auto operation = programOperation( space->field );
      NODRA_ASSERT_TEXT(
         ( this->*operation.program )( tcamGroupId, heldKey, entryId, intfGroupInfoFactory() ),
         operation.text( "tcamGroupId, requestKey, entryId, intfGroupInfoFactory()" ).c_str() );
   }
   NODRA_ASSERT_TEXT( !requestStatus->intfGroup()->portIds(),
                      "!classIdStatus->requestStatus( requestKey )->intfGroup()->portIds()" );
   NODRA_ASSERT_TEXT( !requestStatus->intfGroup()->ethernet(),
                      "!classIdStatus->requestStatus( requestKey )->intfGroup()->ethernet()" );
   if ( unused ) {
      const U16 poolId = requestStatus->poolId();
      NODRA_ASSERT( classIdStatus->poolStatusHas( poolId ) );
      const auto &pool = classIdStatus->poolStatus( poolId );
      pool->classIdPoolEnq( requestStatus->classId() );
      TRACE( 2, "num classId's:" << pool->classIdPools() );
      classIdStatus->requestStatusDel( heldKey );
   }
   return true;
}

} // namespace QuarraTcam
