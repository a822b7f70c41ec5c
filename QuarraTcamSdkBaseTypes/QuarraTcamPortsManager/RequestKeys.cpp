#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcam/SystemAclAttributes.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "Sdk/SdkShim.h"
#include "Vesk/UniqueId.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

namespace {

// Known behaviour invalid-keys: the two are spelled differently, and each caller compares with its own.
RequestKey invalidKeyForEntry() {
   return { "invalidRequestkey", 0, "invalidRequestkey" };
}

RequestKey invalidKeyForRule() {
   return { "invalid RequestKey", 0, "invalid RequestKey" };
}

// The group's dump for traces; empty for a null pointer.
struct Dump {
   const IntfGroupInfo *intfGroup;

   friend std::ostream &operator<<( std::ostream &out, const Dump &dump ) {
      return dump.intfGroup ? out << *dump.intfGroup : out;
   }
};

Dump dumpOf( const IntfGroupInfo::PtrConst &intfGroup ) {
   return { intfGroup.get() };
}

} // namespace

RequestKey QuarraTcamPortsManager::getRequestKey( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId,
                                                  const IntfGroupConst &intfGroup ) {
   return isSystemAclGroup( tcamGroupId )
             ? getRequestKeyForRuleId( tcamGroupId, ruleId )
             : getRequestKeyForIntfGroup( tcamGroupId, entryId, ruleId, intfGroup );
}

RequestKey QuarraTcamPortsManager::getRequestKeyForIntfGroup( TcamGroupId tcamGroupId, U32 entryId,
                                                              const RuleId &ruleId,
                                                              const IntfGroupConst &intfGroup ) {
   TRACE( 1, "getRequestKeyForIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId << " RuleId: " << ruleId
                << " intfGroup: " << dumpOf( intfGroup ) );
   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      TRACE( 2, " TcamGroupStatus is not present for this TCAM group "
                   << " Creating a new RequestKey " );
      return createRequestKeyForRule( entryId, ruleId );
   }
   NODRA_ASSERT( !!intfGroup );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   const auto &intfGroupInfo = classIdStatus->intfGroupHashToIntfGroupInfo( intfGroup->hash() );
   if ( !intfGroupInfo ) {
      TRACE( 2, " Creating a new RequestKey as we didn't find any for the intfGroup " );
      return createRequestKeyForRule( entryId, ruleId );
   }
   for ( const auto &[ requestKey, keyIntfGroup ] : intfGroupInfo->requestKeyToIntfGroup() ) {
      if ( keyIntfGroup->isEqual( intfGroup ) ) {
         NODRA_ASSERT( classIdStatus->requestStatusHas( requestKey ) );
         TRACE( 2, " RequestKey found: " << requestKey << " for intfGroup: " << dumpOf( intfGroup ) );
         return requestKey;
      }
   }
   TRACE( 2, " Creating a new RequestKey as we didn't find any for the intfGroup " );
   return createRequestKeyForRule( entryId, ruleId );
}

RequestKey QuarraTcamPortsManager::getRequestKeyForRuleId( TcamGroupId tcamGroupId, const RuleId &ruleId ) {
   TRACE( 1, "getRequestKeyForRuleId"
                << " TcamGroupId: " << tcamGroupId << " RuleId: " << ruleId );
   NODRA_ASSERT( QuarraTcam::isSystemAclGroup( tcamGroupId ) ) << "for tcamGroupId:" << tcamGroupId;
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( SdkShim );
   const auto &systemAclAttributes = getSystemAclAttributes( unitChipInfo() );
   const auto reservationAttr = systemAclAttributes ? systemAclAttributes->reservationAttr() : nullptr;
   NODRA_ASSERT( reservationAttr );
   for ( const auto &[ featureGroupKey, featureGroup ] : reservationAttr->featureGroup() ) {
      if ( featureGroupKey.featureGroupType() != ruleId.featureGroupType() ) {
         continue;
      }
      const auto &keys = featureGroup->requestKey();
      if ( const auto item = keys.find( ruleId ); item != keys.end() && item->first.isEq( ruleId ) ) {
         return item->second;
      }
   }
   return invalidKeyForRule();
}

RequestKey QuarraTcamPortsManager::createRequestKeyForRule( U32 entryId, const RuleId &ruleId ) {
   TRACE( 1, "createRequestKeyForRule"
                << " EntryId: " << entryId << " RuleId: " << ruleId );
   const std::string text = std::string( stringValue( ruleId.featureGroupType() ) ) + "-" +
                            std::to_string( entryId ) + "-" + Vesk::UniqueId().toStrep();
   return { text, 0, text };
}

// One look-up instead of a walk over the requests; the answer is the walk's, the first request that holds the
// entry.
RequestKey QuarraTcamPortsManager::getRequestKeyForEntryId( TcamGroupId tcamGroupId, U32 entryId,
                                                            const RuleId &ruleId ) {
   TRACE( 1, "getRequestKeyForEntryId"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId << " RuleId: " << ruleId );
   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      TRACE( 2, " TcamGroupId: " << tcamGroupId << " not using classId " );
      return invalidKeyForEntry();
   }
   const auto *request = classIdTcamGroupStatus( tcamGroupId )->requestOfEntry( entryId );
   return request ? request->requestKey() : invalidKeyForEntry();
}

void QuarraTcamPortsManager::populateIntfGroupHashToIntfGroupInfo( TcamGroupId tcamGroupId,
                                                                   const RequestKey &requestKey,
                                                                   const IntfGroupConst &intfGroup ) {
   TRACE( 1, "populateIntfGroupHashToIntfGroupInfo"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " intfGroup: " << dumpOf( intfGroup ) );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   NODRA_ASSERT( !!intfGroup );
   const auto &intfGroupInfo =
      classIdTcamGroupStatus( tcamGroupId )->intfGroupHashToIntfGroupInfoIs( intfGroup->hash() );
   if ( intfGroupInfo->requestKeyToIntfGroupHas( requestKey ) ) {
      NODRA_ASSERT( intfGroup->isEqual( intfGroupInfo->requestKeyToIntfGroup( requestKey ) ) );
      TRACE( 2,
             " RequestKey: " << requestKey << " is already present for intfGroup: " << dumpOf( intfGroup ) );
      return;
   }
   intfGroupInfo->requestKeyToIntfGroupIs( requestKey, intfGroup );
}

void QuarraTcamPortsManager::deleteIntfGroupFromIntfGroupInfo( TcamGroupId tcamGroupId,
                                                               const RequestKey &requestKey,
                                                               const IntfGroupConst &intfGroup ) {
   TRACE( 1, "deleteIntfGroupFromIntfGroupInfo"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " intfGroup: " << dumpOf( intfGroup ) );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   NODRA_ASSERT( !!intfGroup );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( classIdStatus->intfGroupHashToIntfGroupInfoHas( intfGroup->hash() ) );
   const auto intfGroupInfo = classIdStatus->intfGroupHashToIntfGroupInfo( intfGroup->hash() );
   NODRA_ASSERT( intfGroupInfo->requestKeyToIntfGroupHas( requestKey ) );
   // Before the deletion, which may take the caller's key with it.
   TRACE( 2, " Successfully deleted RequestKey: " << requestKey << " from intfGroupHashInfo for intfGroup "
                                                  << dumpOf( intfGroup ) );
   intfGroupInfo->requestKeyToIntfGroupDel( requestKey );
   if ( !intfGroupInfo->requestKeyToIntfGroups() ) {
      classIdStatus->intfGroupHashToIntfGroupInfoDel( intfGroupInfo->intfGroupHash() );
   }
}

} // namespace QuarraTcam
