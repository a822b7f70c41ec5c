#include "QuarraTcam/SystemAclAttributes.h"
#include "tests/Library.h"

// Which key an entry gets, and whether and where its class ID comes from.
namespace QuarraTest {
namespace {

constexpr U16 group500 = 500;

class Reservation : public LibraryTest {};
class RequestKeys : public LibraryTest {};

TEST_F( Reservation, OfAKnownKeyAddsTheEntryEvenWithoutRoom ) {
   emptySpaces( { .flexible = 1 } );
   group( group500, { .width = 1 } );
   ASSERT_TRUE( reserve( group500, key( "a" ), 1 ) );
   ASSERT_TRUE( reserve( group500, key( "a" ), 2 ) );
   ASSERT_TRUE( reserve( group500, key( "a" ), 2 ) );
   EXPECT_EQ( request( group500, key( "a" ) ).entryRefs(), 2u );
   EXPECT_FALSE( reserve( group500, key( "b" ), 3 ) );
   EXPECT_FALSE( status( group500 ).requestStatusHas( key( "b" ) ) );
}

TEST_F( Reservation, FallsBackToOneBit ) {
   emptySpaces( { .flexible = 5 } );
   group( group500, { .width = 4 } );
   manager->classIdHwStatus( aclGroupFlexibleWidth )->set( 2 );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2-3" );
   ASSERT_TRUE( reserve( group500, key( "a" ), 1 ) );
   EXPECT_EQ( status( group500 ).poolStatus( 1 )->size(), 1 );
   EXPECT_TRUE( trace.has( "Failed to reserve a pool, returning.." ) ) << "the first request's text";
   EXPECT_TRUE(
      trace.has( " Failed to reserve classId with poolWidth 4 attempting again with poolWidth 1" ) );
   EXPECT_TRUE( trace.has( "Successfully reserved a classId with poolWidth 1" ) );
   EXPECT_FALSE( trace.has( "Failed to reserved a pool, returning.." ) );
   ASSERT_TRUE( reserve( group500, key( "b" ), 2 ) );
   EXPECT_TRUE( trace.has( "Failed to reserved a pool, returning.." ) ) << "a later request's text";
}

TEST_F( Reservation, IsTriedTwiceEvenForOneBit ) {
   emptySpaces( { .flexible = 1 } );
   group( group500, { .width = 1 } );
   ASSERT_TRUE( reserve( group500, key( "a" ), 1 ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   EXPECT_FALSE( reserve( group500, key( "b" ), 2 ) );
   EXPECT_EQ( std::count_if(
                 trace.lines().begin(), trace.lines().end(),
                 []( const auto &line ) { return line.text == "Failed to reserved a pool, returning.."; } ),
              2 );
}

// Pools 1 (width 2) and 2 (width 1): a free class ID of any pool goes before a new pool, the lower pool
// first.
TEST_F( Reservation, TakesTheFirstPoolWithAFreeClassId ) {
   emptySpaces( { .flexible = 8 } );
   group( group500, { .width = 2 } );
   for ( const auto *name : { "a", "b", "c" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 1 ) );
   }
   ASSERT_EQ( manager->reservePoolOfWidth( group500, 1 ), 2 );
   ASSERT_TRUE( reserve( group500, key( "d" ), 1 ) );
   EXPECT_EQ( request( group500, key( "d" ) ).poolId(), 2 );
   EXPECT_TRUE( manager->maybeFreeClassId( group500, key( "d" ), 1 ) &&
                manager->maybeFreeClassId( group500, key( "b" ), 1 ) );
   ASSERT_TRUE( reserve( group500, key( "e" ), 1 ) );
   EXPECT_EQ( request( group500, key( "e" ) ).poolId(), 1 );
   EXPECT_EQ( request( group500, key( "e" ) ).classId(), 2 );
   EXPECT_EQ( status( group500 ).poolStatuss(), 2u );
}

TEST_F( Reservation, AtStartUpCoversEveryRuleOfTheSystem ) {
   bringUp();
   const QuarraCentral::PortTabWriteRequestKey word( 1, QuarraModPort( 0, 2 ), 9 );
   directory->postRequest( word, 5 );
   manager->doSetup();
   EXPECT_EQ( directory->request( word ), 0u ) << "the words start clear";
   const auto held = [ & ]( U16 id ) { return status( id ).requestStatuss(); };
   EXPECT_EQ( std::vector<U32>( { held( 1 ), held( 2 ), held( 3 ), held( 5 ), held( 6 ) } ),
              std::vector<U32>( { 1, 4, 3, 1, 5 } ) );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ).size(), 14u );
   EXPECT_EQ( reservedBits( ifpSourceTrunkMap ).size(), 2u )
      << "groups 51 and 129; fixed offsets are not marked";
   EXPECT_EQ( status( 102 ).poolStatus( 1 )->baseOffset(), 5 );
   EXPECT_FALSE( manager->classIdTcamGroupStatusHas( 120 ) ) << "reserved at start-up, but no rule is known";
   const auto &entries = request( 6, key( "MACsec EAPoL Rule" ) ).entryRef();
   EXPECT_EQ( std::vector<U32>( entries.begin(), entries.end() ), std::vector<U32>( { INVALID_ENTRY_ID } ) );
   EXPECT_FALSE( manager->classIdHwStatusHas( aclGroupFixedWidth ) ) << "a space of no bits has no bitmap";
   EXPECT_EQ( getQuarraTcamPortsManager(), getQuarraTcamPortsManager() );
   EXPECT_TRUE( reserve( 2, key( "new" ), INVALID_ENTRY_ID ) ) << "a system group takes new keys at start-up";
}

TEST_F( RequestKeys, AreSharedByEqualPortsWhateverTheirOrder ) {
   emptySpaces();
   group( group500, { .width = 2 } );
   const RuleId rule( FeatureGroupType::acl, "r" );
   const auto first = manager->getRequestKey( group500, 1, rule, ports( { 1, 2 } ) );
   EXPECT_NE( first, manager->getRequestKey( group500, 1, rule, ports( { 1, 2 } ) ) )
      << "nothing is reserved yet";
   ASSERT_TRUE( manager->reserveClassIdForIntfGroup( group500, first, 1, ports( { 1, 2 } ) ) );
   EXPECT_EQ( manager->getRequestKey( group500, 2, rule, ports( { 2, 1 } ) ), first );
   EXPECT_NE( manager->getRequestKey( group500, 2, rule, ports( { 1, 2, 3 } ) ), first );
   EXPECT_NE( manager->getRequestKey( group500, 2, rule, allEthernet() ), first );
   EXPECT_EQ( first.number(), 0u );
   EXPECT_EQ( first.name(), first.secondName() );
   EXPECT_THAT( first.name(), ::testing::HasSubstr( "acl" ) );
}

// Two groups of one hash: found by walking pairs of ports, since a 32-bit hash has them.
TEST_F( RequestKeys, AreNotSharedByEqualHashesAlone ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   std::map<U32, std::pair<U32, U32>> seen;
   IntfGroupInfo::Ptr one;
   IntfGroupInfo::Ptr two;
   for ( U32 a = 0; a < 1024 && !two; ++a ) {
      for ( U32 b = a + 1; b < 1024 && !two; ++b ) {
         const auto candidate = ports( { a, b } );
         const auto [ item, added ] = seen.emplace( candidate->hash(), std::pair( a, b ) );
         if ( !added ) {
            one = ports( { item->second.first, item->second.second } );
            two = candidate;
         }
      }
   }
   ASSERT_TRUE( two ) << "half a million sets hold a collision of 32 bits";
   const RuleId rule;
   const auto keyOne = manager->getRequestKey( group500, 1, rule, one );
   ASSERT_TRUE( manager->reserveClassIdForIntfGroup( group500, keyOne, 1, one ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   const auto keyTwo = manager->getRequestKey( group500, 2, rule, two );
   EXPECT_TRUE( trace.has( " Creating a new RequestKey as we didn't find any for the intfGroup " ) );
   Nodra::traceLevelsDelAll();
   EXPECT_NE( keyOne, keyTwo );
   ASSERT_TRUE( manager->reserveClassIdForIntfGroup( group500, keyTwo, 2, two ) );
   EXPECT_EQ( status( group500 ).intfGroupHashToIntfGroupInfos(), 1u );
   EXPECT_EQ( manager->getRequestKey( group500, 3, rule, two ), keyTwo );
   manager->deleteIntfGroupFromIntfGroupInfo( group500, keyOne, one );
   EXPECT_EQ( manager->getRequestKey( group500, 3, rule, two ), keyTwo )
      << "the other key stays under the hash";
   manager->deleteIntfGroupFromIntfGroupInfo( group500, keyTwo, two );
   EXPECT_EQ( status( group500 ).intfGroupHashToIntfGroupInfos(), 0u );
}

TEST_F( RequestKeys, OfSystemRulesComeFromTheReservationTable ) {
   bringUp();
   const auto l2Ctrl = FeatureGroupType::l2Ctrl;
   const auto acls = std::make_shared<SystemAclAttributes>();
   const auto &table = acls->reservationAttrIs();
   table->featureGroupIs( SystemAclFeatureGroupKey( l2Ctrl, 1 ) )
      ->requestKeyIs( RuleId( l2Ctrl, "r" ), key( "second" ) );
   table->featureGroupIs( SystemAclFeatureGroupKey( l2Ctrl, 0 ) )
      ->requestKeyIs( RuleId( l2Ctrl, "s" ), key( "first" ) );
   systemAclAttributesIs( getQuarraTcamCommonData()->chipInfo(), acls );
   EXPECT_EQ( manager->getRequestKey( 6, 1, RuleId( l2Ctrl, "r" ), nullptr ), key( "second" ) );
   EXPECT_EQ( manager->getRequestKeyForRuleId( 6, RuleId( l2Ctrl, "t" ) ), key( "invalid RequestKey" ) );
   EXPECT_EQ( manager->getRequestKeyForRuleId( 6, RuleId( FeatureGroupType::dot1x, "r" ) ),
              key( "invalid RequestKey" ) );
}

// The index from entries to keys must answer as a walk over the requests would: the oldest request that holds
// the entry, also after some of them are gone.
TEST_F( RequestKeys, OfAnEntryAreTheOldestRequests ) {
   emptySpaces();
   group( group500, { .width = 3 } );
   const auto keyOf = [ & ]( U32 entry ) {
      return manager->getRequestKeyForEntryId( group500, entry, RuleId() );
   };
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/1-2" );
   EXPECT_EQ( keyOf( 1 ), key( "invalidRequestkey" ) );
   EXPECT_TRUE( trace.has( " TcamGroupId: 500 not using classId " ) );
   const auto made = manager->getRequestKey( group500, 1, RuleId(), nullptr );
   EXPECT_TRUE( trace.lines().at( 2 ).text.ends_with( " intfGroup: " ) ) << "without ports to show";
   EXPECT_NE( made, manager->getRequestKey( group500, 1, RuleId(), nullptr ) );
   Nodra::traceLevelsDelAll();
   for ( const auto *name : { "a", "b", "c" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 9 ) );
   }
   ASSERT_TRUE( reserve( group500, key( "c" ), 1 ) );
   ASSERT_TRUE( reserve( group500, key( "b" ), 1 ) );
   EXPECT_EQ( keyOf( 1 ), key( "b" ) );
   manager->maybeFreeClassId( group500, key( "b" ), 1 );
   EXPECT_EQ( keyOf( 1 ), key( "c" ) );
   manager->maybeFreeClassId( group500, key( "a" ), 9 );
   EXPECT_EQ( keyOf( 9 ), key( "b" ) );
   const auto kept = status( group500 ).requestStatus( key( "c" ) );
   manager->classIdTcamGroupStatus( group500 )->requestStatusDel( key( "c" ) );
   kept->entryRefIs( 77 );
   EXPECT_EQ( keyOf( 1 ), key( "invalidRequestkey" ) );
   EXPECT_EQ( keyOf( 77 ), key( "invalidRequestkey" ) ) << "a record without group is in no index";
}

} // namespace
} // namespace QuarraTest
