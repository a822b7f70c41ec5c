#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

namespace {

// The lowest pool id with a free class ID, or 0. Goes by ids, so the walk stays right whatever happens to the
// pools.
U16 firstPoolWithFreeClassId( const ClassIdTcamGroupStatus &classIdStatus ) {
   const auto &pools = classIdStatus.poolStatus();
   for ( auto item = pools.begin(); item != pools.end(); item = pools.upper_bound( item->first ) ) {
      if ( item->second->classIdPools() ) {
         return item->first;
      }
   }
   return 0;
}

} // namespace

bool QuarraTcamPortsManager::reserveClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                             U32 entryId ) {
   TRACE( 1, "reserveClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   if ( classIdTcamGroupStatusHas( tcamGroupId ) &&
        classIdTcamGroupStatus( tcamGroupId )->requestStatusHas( requestKey ) ) {
      TRACE( 2, "ClassId is already reserved for the requestKey, adding entryId as a reference" );
      const auto &requestStatus = classIdTcamGroupStatus( tcamGroupId )->requestStatus( requestKey );
      NODRA_ASSERT_TEXT(
         requestStatus->entryRefs(),
         "classIdTcamGroupStatus( tcamGroupId ) ->requestStatus( requestKey ) ->entryRefs()" );
      requestStatus->entryRefIs( entryId );
      return true;
   }
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   if ( QuarraTcam::isSystemAclGroup( tcamGroupId ) ) {
      NODRA_ASSERT( entryId == INVALID_ENTRY_ID && "System acl groups must reserve classId on init" );
      NODRA_ASSERT( !!classIdConfig );
   } else {
      NODRA_ASSERT( !!classIdConfig );
      NODRA_ASSERT( ( classIdConfig->classIdPoolBits() == 0 || entryId == INVALID_ENTRY_ID ) &&
                    "fixed offset pool can only be reserved on init" );
   }
   const U8 poolWidth = classIdConfig->classIdPoolWidth();
   if ( getClassIdFromPoolWidth( tcamGroupId, requestKey, entryId, poolWidth ) ) {
      TRACE( 2, "Successfully reserved a classId with poolWidth " << poolWidth );
      return true;
   }
   // Known behaviour width-one-tries-twice: tried again even where the width was 1 already.
   TRACE( 3,
          " Failed to reserve classId with poolWidth " << poolWidth << " attempting again with poolWidth 1" );
   if ( getClassIdFromPoolWidth( tcamGroupId, requestKey, entryId, 1 ) ) {
      TRACE( 2, "Successfully reserved a classId with poolWidth 1" );
      return true;
   }
   return false;
}

// Known behaviour failure-texts: the two for a pool that cannot be had differ, the second is a later
// request's.
bool QuarraTcamPortsManager::getClassIdFromPoolWidth( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                      U32 entryId, U8 poolWidth ) {
   TRACE( 1, "getClassIdFromPoolWidth"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey << " EntryId: " << entryId
                << " poolWidth: " << poolWidth );
   U16 poolNum = 0;
   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      if ( poolsComeWithGroup( getClassIdTypeForGroup( tcamGroupId ) ) ) {
         NODRA_ASSERT( 0 && "classId should have been reserved during group creation" );
      }
      TRACE( 3, "First requestKey for tcam group has shown up, reserving a pool" );
      poolNum = reservePoolOfWidth( tcamGroupId, poolWidth );
      if ( poolNum == 0 ) {
         TRACE( 2, "Failed to reserve a pool, returning.." );
         return false;
      }
   } else {
      const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
      NODRA_ASSERT( !classIdStatus->requestStatusHas( requestKey ) );
      NODRA_ASSERT( classIdStatus->poolStatuss() );
      // Known behaviour first-free-class-id: one of any width is taken before a new pool.
      poolNum = firstPoolWithFreeClassId( *classIdStatus );
      if ( poolNum == 0 ) {
         TRACE( 3, "None of the reserved pools have free class Id, reserving a new one" );
         // Fixed-width groups never grow beyond the pools made at their creation.
         if ( !poolsComeWithGroup( getClassIdTypeForGroup( tcamGroupId ) ) ) {
            poolNum = reservePoolOfWidth( tcamGroupId, poolWidth );
         }
      }
      if ( poolNum == 0 ) {
         TRACE( 2, "Failed to reserved a pool, returning.." );
         return false;
      }
   }
   NODRA_ASSERT( getClassIdFromPool( tcamGroupId, requestKey, entryId, poolNum ) );
   return true;
}

bool QuarraTcamPortsManager::reserveClassIdForIntfGroup( TcamGroupId tcamGroupId,
                                                         const RequestKey &requestKey, U32 entryId,
                                                         const IntfGroupConst &intfGroup ) {
   TRACE( 1, "reserveClassIdForIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( !!intfGroup );
   const bool reserved = reserveClassId( tcamGroupId, requestKey, entryId );
   if ( reserved ) {
      populateIntfGroupHashToIntfGroupInfo( tcamGroupId, requestKey, intfGroup );
   }
   return reserved;
}

} // namespace QuarraTcam
