#include "QuarraTcam/SystemAclAttributes.h"
#include "tests/Library.h"

// What a caller of the manager may do wrong, and the assertion that it ends in. Many mistakes reach into the
// manager's records, as only the manager should.
namespace QuarraTest {
namespace {

constexpr U16 one = 500;     // one-bit pools: key "a" for entry 1 on port 1, "none" for entry 2 on no port
constexpr U16 wide = 501;    // four-bit pools: keys "v" and "w" for entries 1 and 2 on ports 1 and 2
constexpr U16 word = 120;    // in the source trunk map: key "s" for entry 1 on port 1
constexpr U16 idle = 502;    // nothing reserved yet
constexpr U16 pairs = 503;   // two pools at a fixed offset
constexpr U16 unknown = 999; // not registered

class Misuse : public LibraryTest {
 protected:
   // A chip that holds the entries named above. The flexible space is full of pools up to bit 23.
   void start() {
      bringUp( "sdk6", { .sourceTrunkMap = 8 } );
      manager->doSetup();
      group( one, { .width = 1 } );
      group( wide, { .width = 4 } );
      group( word, { .type = ifpSourceTrunkMap, .width = 1 } );
      group( idle, { .width = 1 } );
      group( pairs, { .width = 1, .numPools = 2, .poolBits = 1 } );
      carry( one, key( "a" ), 1, ports( { 1 } ) );
      carry( one, key( "none" ), 2, ports( {} ) );
      carry( wide, key( "v" ), 1, ports( { 1 } ) );
      carry( wide, key( "w" ), 2, ports( { 2 } ) );
      carry( word, key( "s" ), 1, ports( { 1 } ) );
   }

   static ClassIdTcamGroupConfig &config( TcamGroupId id ) { return *getClassIdInfoForTcamGroup( id ); }
   ClassIdTcamGroupStatus &groupOf( TcamGroupId id ) { return *manager->classIdTcamGroupStatus( id ); }
   ClassIdRequestStatus &held( TcamGroupId id, const char *name ) {
      return *groupOf( id ).requestStatus( key( name ) );
   }
   // The manager with one thing wrong.
   using Manager = QuarraTcamPortsManager;
   Manager &withoutPools( TcamGroupId id ) { return groupOf( id ).poolStatusDelAll(), *manager; }
   Manager &withoutLastPool( TcamGroupId id ) { return groupOf( id ).lastPoolNumIs( 0 ), *manager; }
   Manager &withFreePool( TcamGroupId id ) { return manager->reservePoolOfWidth( id, 1 ), *manager; }
   Manager &withoutIntfGroup( TcamGroupId id, const char *name ) {
      return held( id, name ).intfGroupDel(), *manager;
   }
   Manager &pooled( TcamGroupId id, const char *name, U16 poolId ) {
      return held( id, name ).poolIdIs( poolId ), *manager;
   }
   Manager &reservedAtStart( TcamGroupId id, const char *name ) {
      return held( id, name ).entryRefIs( INVALID_ENTRY_ID ), *manager;
   }
   Manager &withoutHelper() { return manager->portsHelperIs( nullptr ), *manager; }
   Manager &withoutState() { return manager->scsdIs( nullptr ), *manager; }
   Manager &withoutShim() { return SdkShim = nullptr, *manager; }
   Manager &unregistered( TcamGroupId id ) { return classIdTcamGroupsInfo.erase( id ), *manager; }
   Manager &typed( TcamGroupId id, ClassIdType type ) { return config( id ).classIdTypeIs( type ), *manager; }
};

TEST_F( Misuse, OfSetupAndPools ) {
   start();
   Manager &m = *manager;
   const auto a = key( "a" );
   const auto restarted = [ & ] { bringUp( "sdk6" ); };
   expectAborts( {
      { "doSetup", "!classIdHwStatuss() && \"doSetup was called before\"", [ & ] { m.doSetup(); } },
      { "doSetup", "!!scsd()", [ & ] { restarted(), withoutState().doSetup(); } },
      { "doSetup", "!!portsHelper()", [ & ] { restarted(), withoutHelper().doSetup(); } },
      { "initializeHwBitmaps", "!classIdHwStatusHas( type )", [ & ] { m.initializeHwBitmaps(); } },
      { "initializeHwBitmaps", "!!scsd()", [ & ] { withoutState().initializeHwBitmaps(); } },
      { "initializeHwBitmaps", "SdkShim", [ & ] { restarted(), withoutShim().initializeHwBitmaps(); } },
      { "getClassIdTypeForGroup", "!!portsHelper()",
        [ & ] { withoutHelper().getClassIdTypeForGroup( one ); } },
      { "isSourceTrunkMapGroup", "!!portsHelper()", [ & ] { withoutHelper().isSourceTrunkMapGroup( one ); } },
      { "reserveClassIdForSystemAclGroup", "!!classIdConfig",
        [ & ] { m.reserveClassIdForSystemAclGroup( unknown ); } },
      { "reserveClassIdForSystemAclGroup",
        "QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId )",
        [ & ] { m.reserveClassIdForSystemAclGroup( one ); } },
      { "reserveClassIdForSystemAclGroup", "classIdConfig->allocationType() == allocateOnInit()",
        [ & ] { m.reserveClassIdForSystemAclGroup( word ); } },
      { "reserveClassIdForSystemAclGroup",
        "reserveClassId( tcamGroupId, requestIter.key(), INVALID_ENTRY_ID )",
        [ & ] {
           bringUp( "sdk6", { .flexible = 13 } );
           manager->doSetup();
        } },
      { "reservePoolOfWidth", "!!classIdConfig", [ & ] { m.reservePoolOfWidth( unknown, 1 ); } },
      { "reservePoolOfWidth", "classIdHwStatusHas( classIdConfig->classIdType() )",
        [ & ] { typed( idle, aclGroupFixedWidth ).reservePoolOfWidth( idle, 1 ); } },
      { "reservePoolOfWidth", "poolWidth <= 16", [ & ] { m.reservePoolOfWidth( idle, 17 ); } },
      { "reservePoolOfWidth", "classIdConfig->classIdNumPools() == 1",
        [ & ] { m.reservePoolOfWidth( pairs, 1 ); } },
      { "reservePoolOfWidth", "endIdx <= bitmap->size()", [ & ] { m.reservePoolOfWidth( word, 10 ); } },
      { "getClassIdFromPool", "classIdTcamGroupStatusHas( tcamGroupId )",
        [ & ] { m.getClassIdFromPool( idle, a, 1, 1 ); } },
      { "getClassIdFromPool", "classIdStatus->poolStatusHas( poolId )",
        [ & ] { m.getClassIdFromPool( wide, a, 1, 2 ); } },
      { "getClassIdFromPool", "classIdStatus->poolStatus( poolId )->classIdPools()",
        [ & ] { m.getClassIdFromPool( one, key( "new" ), 1, 1 ); } },
      { "getClassIdFromPool", "!classIdStatus->requestStatusHas( requestKey )",
        [ & ] { m.getClassIdFromPool( wide, key( "v" ), 1, 1 ); } },
      { "maybeFreeClassIdPool", "!!classIdConfig", [ & ] { m.maybeFreeClassIdPool( unknown, a ); } },
      { "maybeFreeClassIdPool", "!!classIdStatus", [ & ] { m.maybeFreeClassIdPool( idle, a ); } },
      { "maybeFreeClassIdPool", "!QuarraTcam::isSystemAclGroup( tcamGroupId )",
        [ & ] { withFreePool( 2 ).maybeFreeClassIdPool( 2, a ); } },
      { "maybeFreeClassIdPool", "!!bitmap",
        [ & ] {
           withFreePool( idle ).classIdHwStatusDelAll();
           m.maybeFreeClassIdPool( idle, a );
        } },
      { "maybeFreeClassIdPool", "!classIdStatus->requestStatuss()",
        [ & ] { withoutPools( one ).maybeFreeClassIdPool( one, a ); } },
      { "clearClassIdPool", "!QuarraTcam::isSystemAclGroup( tcamGroupId )",
        [ & ] { m.clearClassIdPool( 2 ); } },
      { "clearClassIdPool", "!!classIdStatus", [ & ] { m.clearClassIdPool( idle ); } },
      { "clearClassIdPool", "!!classIdConfig",
        [ & ] {
           m.classIdTcamGroupStatusIs( unknown );
           m.clearClassIdPool( unknown );
        } },
      { "clearClassIdPool",
        "poolStatus->classIdPools() == ( pow( 2, poolStatus->size() ) - 1 ) && \"group is being deleted. All "
        "classId's should have been released\"",
        [ & ] { m.clearClassIdPool( one ); } },
      { "clearClassIdPool",
        "classIdConfig->classIdType() == aclGroupFixedWidth() && \"other classIdType should have cleared "
        "classId during entry deletion\"",
        [ & ] { withFreePool( idle ).clearClassIdPool( idle ); } },
      { "clearClassIdPool", "!!bitmap",
        [ & ] {
           withFreePool( idle );
           typed( idle, aclGroupFixedWidth ).clearClassIdPool( idle );
        } },
      { "clearClassIdPool", "!classIdStatus->requestStatuss()",
        [ & ] { withoutPools( one ).clearClassIdPool( one ); } },
      { "createAclGroupBitmapHint", "!!classIdConfig", [ & ] { m.createAclGroupBitmapHint( unknown ); } },
      { "createAclGroupBitmapHint", "!!quarraTcamAttr",
        [ & ] { withoutProfile().createAclGroupBitmapHint( one ); } },
      { "createAclGroupBitmapHint",
        "classIdConfig->classIdType() == aclGroupFixedWidth() for tcamGroupId: 120",
        [ & ] { m.createAclGroupBitmapHint( word ); } },
      { "createAclGroupBitmapHint",
        "classIdStatus->lastPoolNum() == 1 && \"more than 1 pool is needed only while using bitwise "
        "allocation\"",
        [ & ] {
           config( wide ).classIdTypeIs( aclGroupFixedWidth );
           groupOf( wide ).lastPoolNumInc( 1 );
           m.createAclGroupBitmapHint( wide );
        } },
      { "createAclGroupBitmapHint",
        "endBit <= quarraTcamAttr->aclGroupFlexibleWidthSize() + quarraTcamAttr->aclGroupFixedWidthSize()",
        [ & ] { typed( wide, aclGroupFixedWidth ).createAclGroupBitmapHint( wide ); } },
   } );
}

TEST_F( Misuse, OfFixedWidthGroups ) {
   emptySpaces( "hsdk", {} );
   Manager &m = *manager;
   group( one, { .type = aclGroupFixedWidth, .width = 1 } );
   expectAborts( {
      { "getClassIdFromPoolWidth", "0 && \"classId should have been reserved during group creation\"",
        [ & ] { m.reserveClassId( one, key( "a" ), 1 ); } },
      { "createAclGroupBitmapHint", "startBit <= endBit",
        [ & ] {
           m.classIdTcamGroupStatusIs( one );
           m.createAclGroupBitmapHint( one );
        } },
   } );
}

TEST_F( Misuse, OfReservationsAndKeys ) {
   start();
   Manager &m = *manager;
   const auto a = key( "a" );
   const auto fresh = key( "new" );
   const auto on1 = ports( { 1 } );
   expectAborts( {
      { "reserveClassId", "classIdTcamGroupStatus( tcamGroupId ) ->requestStatus( requestKey ) ->entryRefs()",
        [ & ] {
           held( one, "a" ).entryRefDelAll();
           m.reserveClassId( one, a, 1 );
        } },
      { "reserveClassId", "entryId == INVALID_ENTRY_ID && \"System acl groups must reserve classId on init\"",
        [ & ] { m.reserveClassId( 2, fresh, 7 ); } },
      { "reserveClassId", "!!classIdConfig", [ & ] { m.reserveClassId( 4, fresh, INVALID_ENTRY_ID ); } },
      { "reserveClassId", "!!classIdConfig", [ & ] { m.reserveClassId( unknown, fresh, 7 ); } },
      { "reserveClassId",
        "( classIdConfig->classIdPoolBits() == 0 || entryId == INVALID_ENTRY_ID ) && \"fixed offset pool can "
        "only be reserved on init\"",
        [ & ] { m.reserveClassId( 88, fresh, 7 ); } },
      { "getClassIdFromPoolWidth", "!classIdStatus->requestStatusHas( requestKey )",
        [ & ] { m.getClassIdFromPoolWidth( one, a, 1, 1 ); } },
      { "getClassIdFromPoolWidth", "classIdStatus->poolStatuss()",
        [ & ] { withoutPools( one ).reserveClassId( one, fresh, 1 ); } },
      { "reserveClassIdForIntfGroup", "!!intfGroup",
        [ & ] { m.reserveClassIdForIntfGroup( one, fresh, 7, nullptr ); } },
      { "getRequestKeyForIntfGroup", "!!intfGroup", [ & ] { m.getRequestKey( one, 2, {}, nullptr ); } },
      { "getRequestKeyForRuleId", "!!scsd()", [ & ] { withoutState().getRequestKeyForRuleId( 2, {} ); } },
      { "getRequestKeyForRuleId", "SdkShim", [ & ] { withoutShim().getRequestKeyForRuleId( 2, {} ); } },
      { "populateIntfGroupHashToIntfGroupInfo", "!!intfGroup",
        [ & ] { m.populateIntfGroupHashToIntfGroupInfo( one, a, nullptr ); } },
      { "deleteIntfGroupFromIntfGroupInfo", "!!intfGroup",
        [ & ] { m.deleteIntfGroupFromIntfGroupInfo( one, a, nullptr ); } },
      { "getRequestKeyForIntfGroup", "classIdStatus->requestStatusHas( requestKey )",
        [ & ] {
           groupOf( one ).requestStatusDel( a );
           m.getRequestKey( one, 2, {}, on1 );
        } },
      { "getRequestKeyForRuleId", "QuarraTcam::isSystemAclGroup( tcamGroupId )for tcamGroupId:500",
        [ & ] { m.getRequestKeyForRuleId( one, {} ); } },
      { "getRequestKeyForRuleId", "reservationAttr",
        [ & ] {
           systemAclAttributesIs( usedChip(), nullptr );
           m.getRequestKeyForRuleId( 2, {} );
        } },
      { "populateIntfGroupHashToIntfGroupInfo", "classIdTcamGroupStatusHas( tcamGroupId )",
        [ & ] { m.populateIntfGroupHashToIntfGroupInfo( idle, a, on1 ); } },
      { "populateIntfGroupHashToIntfGroupInfo",
        "intfGroup->isEqual( intfGroupInfo->requestKeyToIntfGroup( requestKey ) )",
        [ & ] {
           const auto other = ports( { 1, 2 } );
           groupOf( one ).intfGroupHashToIntfGroupInfo( on1->hash() )->requestKeyToIntfGroupIs( a, other );
           m.populateIntfGroupHashToIntfGroupInfo( one, a, on1 );
        } },
      { "deleteIntfGroupFromIntfGroupInfo", "classIdTcamGroupStatusHas( tcamGroupId )",
        [ & ] { m.deleteIntfGroupFromIntfGroupInfo( idle, a, on1 ); } },
      { "deleteIntfGroupFromIntfGroupInfo",
        "classIdStatus->intfGroupHashToIntfGroupInfoHas( intfGroup->hash() )",
        [ & ] { m.deleteIntfGroupFromIntfGroupInfo( one, a, ports( { 9 } ) ); } },
      { "deleteIntfGroupFromIntfGroupInfo", "intfGroupInfo->requestKeyToIntfGroupHas( requestKey )",
        [ & ] { m.deleteIntfGroupFromIntfGroupInfo( one, fresh, on1 ); } },
   } );
}

TEST_F( Misuse, OfProgramming ) {
   start();
   Manager &m = *manager;
   const auto a = key( "a" );
   const auto on9 = ports( { 9 } );
   expectAborts( {
      { "programClassIdForIntfGroup", "!!intfGroup",
        [ & ] { m.programClassIdForIntfGroup( one, a, 1, nullptr ); } },
      { "programClassIdForIntfGroup", "classIdTcamGroupStatusHas( tcamGroupId )",
        [ & ] { m.programClassIdForIntfGroup( idle, a, 1, on9 ); } },
      { "programClassIdForIntfGroup", "classIdStatus->poolStatuss()",
        [ & ] { withoutPools( one ).programClassIdForIntfGroup( one, a, 1, on9 ); } },
      { "programClassIdForIntfGroup", "classIdStatus->requestStatusHas( requestKey )",
        [ & ] { m.programClassIdForIntfGroup( one, key( "new" ), 1, on9 ); } },
      { "programClassIdForIntfGroup", "classIdStatus->requestStatus( requestKey )->entryRefHas( entryId )",
        [ & ] { m.programClassIdForIntfGroup( one, a, 2, on9 ); } },
      { "programClassIdForIntfGroup", "classIdStatus->lastPoolNum()",
        [ & ] { withoutLastPool( one ).programClassIdForIntfGroup( one, a, 1, on9 ); } },
      { "programClassIdForIntfGroup", "classIdStatus->requestStatus( requestKey )->intfGroup()",
        [ & ] { withoutIntfGroup( one, "a" ).programClassIdForIntfGroup( one, a, 1, on9 ); } },
      { "programClassIdForIntfGroup", "!!classIdConfig",
        [ & ] { unregistered( one ).programClassIdForIntfGroup( one, a, 1, on9 ); } },
      { "programClassIdForIntfGroup", "0 && \"Invalid classId type\"",
        [ & ] { typed( one, classIdInvalid ).programClassIdForIntfGroup( one, a, 1, on9 ); } },
      { "programAclGroupClassId", "!!classIdStatus", [ & ] { m.programAclGroupClassId( idle, a, 1, on9 ); } },
      { "programAclGroupClassId", "!!intfGroup", [ & ] { m.programAclGroupClassId( one, a, 1, nullptr ); } },
      { "programAclGroupClassId", "!!requestStatus",
        [ & ] { m.programAclGroupClassId( one, key( "new" ), 1, on9 ); } },
      { "programAclGroupClassId", "requestStatus->poolId()",
        [ & ] { pooled( one, "a", 0 ).programAclGroupClassId( one, a, 1, on9 ); } },
      { "programAclGroupClassId", "classIdStatus->poolStatusHas( requestStatus->poolId() )",
        [ & ] { withoutPools( one ).programAclGroupClassId( one, a, 1, on9 ); } },
      { "programAclGroupClassId", "!!quarraTcamAttr",
        [ & ] { withoutProfile().programAclGroupClassId( one, a, 1, on9 ); } },
      { "programAclGroupClassId", "widthOfClassId",
        [ & ] {
           groupOf( one ).poolStatus( 1 )->sizeIs( 0 );
           m.programAclGroupClassId( one, a, 1, on9 );
        } },
      { "programAclGroupClassId", "widthOfClassId == 1",
        [ & ] { m.programClassIdForIntfGroup( wide, key( "v" ), 1, allEthernet() ); } },
      { "programAclGroupClassId", "!tempIntfGroup->portIds()",
        [ & ] { pooled( one, "none", 1 ).programAclGroupClassId( one, key( "none" ), 1, allEthernet() ); } },
      { "getIntfGroupForBitPos", "!!pool",
        [ & ] { pooled( one, "none", 99 ).programAclGroupClassId( one, a, 1, on9 ); } },
      { "getIntfGroupForBitPos", "!!other->intfGroup()",
        [ & ] { withoutIntfGroup( one, "none" ).getIntfGroupForBitPos( one, a, 15 ); } },
      { "appendIntfGroup", "!!target", [ & ] { m.appendIntfGroup( nullptr, on9 ); } },
      { "appendIntfGroup", "!!source", [ & ] { m.appendIntfGroup( ports( {} ), nullptr ); } },
      { "programBitForIntfGroup", "!!intfGroup", [ & ] { m.programBitForIntfGroup( 1, nullptr ); } },
      { "programBitForIntfGroup", "!!portsHelper()",
        [ & ] { withoutHelper().programBitForIntfGroup( 1, on9 ); } },
      { "getIntfGroup", "classIdTcamGroupStatusHas( tcamGroupId )", [ & ] { m.getIntfGroup( idle, a, 1 ); } },
      { "getIntfGroup", "classIdTcamGroupStatus( tcamGroupId )->requestStatusHas( requestKey )",
        [ & ] { m.getIntfGroup( wide, a, 1 ); } },
      { "getIntfGroup", "!!requestStatus->intfGroup()",
        [ & ] { withoutIntfGroup( one, "a" ).getIntfGroup( one, a, 1 ); } },
      { "cleanupConflictingIntfs", "!!intfGroup", [ & ] { m.cleanupConflictingIntfs( wide, a, nullptr ); } },
      { "cleanupConflictingIntfs", "!!classIdStatus", [ & ] { m.cleanupConflictingIntfs( idle, a, on9 ); } },
      { "cleanupConflictingIntfs", "other->entryRefs()",
        [ & ] {
           held( wide, "v" ).entryRefDelAll();
           m.programClassIdForIntfGroup( wide, key( "w" ), 2, ports( { 1 } ) );
        } },
      { "cleanupConflictingIntfs",
        "!intfs->ethernet() && \"Feature cannot have value based class id reservation\"",
        [ & ] {
           held( wide, "v" ).intfGroup()->ethernetIs( true );
           m.programClassIdForIntfGroup( wide, key( "w" ), 2, on9 );
        } },
      { "cleanupConflictingIntfs", "!!classIdConfig",
        [ & ] { unregistered( wide ).cleanupConflictingIntfs( wide, key( "v" ), ports( { 2 } ) ); } },
      { "cleanupConflictingIntfs", "0 && \"Invalid classId type\"",
        [ & ] {
           typed( wide, classIdInvalid ).cleanupConflictingIntfs( wide, key( "v" ), ports( { 2 } ) );
        } },
      { "programSourceTrunkMapClassId", "!!classIdStatus",
        [ & ] { m.programSourceTrunkMapClassId( idle, a, 1, on9 ); } },
      { "programSourceTrunkMapClassId", "!!intfGroup",
        [ & ] { m.programSourceTrunkMapClassId( word, key( "s" ), 1, nullptr ); } },
      { "programSourceTrunkMapClassId", "!!requestStatus",
        [ & ] { m.programSourceTrunkMapClassId( word, key( "new" ), 1, on9 ); } },
      { "programSourceTrunkMapClassId", "!!scsd()",
        [ & ] { withoutState().programSourceTrunkMapClassId( word, key( "s" ), 1, on9 ); } },
      { "programSourceTrunkMapClassId", "SdkShim",
        [ & ] { withoutShim().programSourceTrunkMapClassId( word, key( "s" ), 1, on9 ); } },
      { "programSourceTrunkMapClassId", "scsd()->quarraModIdHas( ( U16 )SdkShim->vmSingleUnit() )",
        [ & ] {
           scsd->quarraModIdDelAll();
           m.programSourceTrunkMapClassId( word, key( "s" ), 1, on9 );
        } },
      { "programSourceTrunkMapClassId", "!!pool",
        [ & ] { withoutPools( word ).programSourceTrunkMapClassId( word, key( "s" ), 1, on9 ); } },
      { "programSourceTrunkMapClassId", "!!classIdConfig",
        [ & ] { unregistered( word ).programSourceTrunkMapClassId( word, key( "s" ), 1, on9 ); } },
      { "programSourceTrunkMapClassId", "!!sourceTrunkMapConfig()",
        [ & ] {
           m.sourceTrunkMapConfigIs( nullptr );
           m.programSourceTrunkMapClassId( word, key( "s" ), 1, on9 );
        } },
      { "programSourceTrunkMapClassId", "classIdConfig->classIdPoolBits() != 0",
        [ & ] {
           directory->requestDelAll();
           m.programSourceTrunkMapClassId( word, key( "s" ), 1, on9 );
        } },
      { "getClassId", "classIdTcamGroupStatusHas( tcamGroupId )", [ & ] { m.getClassId( idle, a, 1 ); } },
      { "getClassId", "classIdTcamGroupStatus( tcamGroupId )->requestStatusHas( requestKey )",
        [ & ] { m.getClassId( wide, a, 1 ); } },
      { "getClassId", "classIdTcamGroupStatus( tcamGroupId ) ->poolStatusHas( requestStatus->poolId() )",
        [ & ] { withoutPools( one ).getClassId( one, a, 1 ); } },
      { "getClassId", "requestStatus->entryRefHas( entryId )", [ & ] { m.getClassId( one, a, 2 ); } },
      { "getClassId", "!!pool->tcamMask()",
        [ & ] {
           groupOf( one ).poolStatus( 1 )->tcamMaskDel();
           m.getClassId( one, a, 1 );
        } },
      { "getClassId", "!!scsd()", [ & ] { withoutState().getClassId( one, a, 1 ); } },
      { "getClassId", "SdkShim", [ & ] { withoutShim().getClassId( one, a, 1 ); } },
      { "programClassIdQualifierInHw", "classId && classId->data() && classId->mask()",
        [ & ] { m.programClassIdQualifierInHw( 0, one, 1, nullptr ); } },
      { "programClassIdQualifierInHw", "classId && classId->data() && classId->mask()",
        [ & ] { m.programClassIdQualifierInHw( 0, one, 1, bitmapQualifierFactory() ); } },
      { "programClassIdQualifierInHw", "!!helper",
        [ & ] {
           const auto classId = m.getClassId( one, a, 1 );
           withoutHelper().programClassIdQualifierInHw( 0, one, 1, classId );
        } },
   } );
}

TEST_F( Misuse, OfRelease ) {
   start();
   Manager &m = *manager;
   const auto a = key( "a" );
   const char *noPorts = "!classIdStatus->requestStatus( requestKey )->intfGroup()->portIds()";
   const char *noEthernet = "!classIdStatus->requestStatus( requestKey )->intfGroup()->ethernet()";
   expectAborts( {
      { "clearClassIdAndIntfGroup", "!!classIdStatus->requestStatus( requestKey )->intfGroup()",
        [ & ] { withoutIntfGroup( one, "a" ).clearClassIdAndIntfGroup( one, a, 1 ); } },
      { "clearClassId", "classIdTcamGroupStatusHas( tcamGroupId )", [ & ] { m.clearClassId( idle, a, 1 ); } },
      { "clearClassId", "classIdStatus->poolStatuss()",
        [ & ] { withoutPools( one ).clearClassId( one, a, 1 ); } },
      { "clearClassId", "classIdStatus->requestStatusHas( requestKey )",
        [ & ] { m.clearClassId( wide, a, 1 ); } },
      { "clearClassId", "classIdStatus->requestStatus( requestKey )->entryRefHas( entryId )",
        [ & ] { m.clearClassIdAndIntfGroup( one, a, 2 ); } },
      { "clearClassId", "classIdStatus->lastPoolNum()",
        [ & ] { withoutLastPool( one ).clearClassId( one, a, 1 ); } },
      { "clearClassId", "!!classIdStatus->requestStatus( requestKey )->intfGroup()",
        [ & ] { withoutIntfGroup( one, "a" ).clearClassId( one, a, 1 ); } },
      { "clearClassId", "!!classIdConfig", [ & ] { unregistered( one ).clearClassId( one, a, 1 ); } },
      { "clearClassId", "classIdConfig->classIdType() != classIdInvalid()",
        [ & ] { typed( one, classIdInvalid ).clearClassId( one, a, 1 ); } },
      { "maybeFreeClassId", "classIdTcamGroupStatusHas( tcamGroupId )",
        [ & ] { m.maybeFreeClassId( idle, a, 1 ); } },
      { "maybeFreeClassId", "!!classIdConfig", [ & ] { unregistered( one ).maybeFreeClassId( one, a, 1 ); } },
      { "maybeFreeClassId", "!!requestStatus", [ & ] { m.maybeFreeClassId( wide, a, 1 ); } },
      { "maybeFreeClassId", "requestStatus->entryRefHas( entryId )",
        [ & ] { m.maybeFreeClassId( one, a, 2 ); } },
      { "maybeFreeClassId", "!!intfGroup",
        [ & ] { withoutIntfGroup( one, "a" ).maybeFreeClassId( one, a, 1 ); } },
      { "maybeFreeClassId", "!QuarraTcam::isSystemAclGroup( tcamGroupId )",
        [ & ] { m.maybeFreeClassId( 2, key( "L4 Micro BFD" ), INVALID_ENTRY_ID ); } },
      { "maybeFreeClassId", "classIdStatus->poolStatusHas( poolId )",
        [ & ] { withoutPools( one ).maybeFreeClassId( one, key( "none" ), 2 ); } },
      { "maybeFreeClassId",
        "QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId )",
        [ & ] { reservedAtStart( one, "a" ).maybeFreeClassId( one, a, 1 ); } },
      { "maybeFreeClassId", "classIdConfig->allocationType() == allocateOnInit()",
        [ & ] { reservedAtStart( word, "s" ).maybeFreeClassId( word, key( "s" ), 1 ); } },
      { "maybeFreeClassId", noPorts, [ & ] { typed( one, classIdInvalid ).maybeFreeClassId( one, a, 1 ); } },
      { "maybeFreeClassId", noEthernet,
        [ & ] {
           config( one ).classIdTypeIs( classIdInvalid );
           held( one, "a" ).intfGroup()->deepCopy( allEthernet() );
           m.maybeFreeClassId( one, a, 1 );
        } },
   } );
}

} // namespace
} // namespace QuarraTest
