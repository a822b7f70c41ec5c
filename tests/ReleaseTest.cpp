#include "tests/Library.h"

// What goes back when an entry goes: the reference, the ports' bits, the class ID, the index, the pool.
namespace QuarraTest {
namespace {

constexpr U16 group500 = 500;

class Release : public LibraryTest {};

TEST_F( Release, OfOneOfTwoEntriesOnlyDropsItsReference ) {
   emptySpaces();
   group( group500, { .width = 2 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2 } ) );
   carry( group500, key( "a" ), 2, ports( { 1, 2 } ) );
   carry( group500, key( "a" ), 3, ports( { 1, 2 } ) );
   EXPECT_TRUE( manager->clearClassIdAndIntfGroup( group500, key( "a" ), 1 ) );
   EXPECT_TRUE( manager->maybeFreeClassId( group500, key( "a" ), 3 ) );
   EXPECT_EQ( request( group500, key( "a" ) ).entryRefs(), 1u );
   EXPECT_EQ( portsWithBit( 0 ), std::vector<U32>( { 1, 2 } ) );
   EXPECT_EQ( manager->getRequestKey( group500, 3, RuleId(), ports( { 1, 2 } ) ), key( "a" ) );
}

TEST_F( Release, OfTheLastEntryTakesEverythingBack ) {
   emptySpaces();
   group( group500, { .width = 2 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2 } ) );
   carry( group500, key( "b" ), 2, ports( { 3 } ) );
   EXPECT_TRUE( manager->clearClassIdAndIntfGroup( group500, key( "a" ), 1 ) );
   EXPECT_EQ( portsWithBit( 0 ), std::vector<U32>() );
   EXPECT_FALSE( status( group500 ).requestStatusHas( key( "a" ) ) );
   EXPECT_NE( manager->getRequestKey( group500, 3, RuleId(), ports( { 1, 2 } ) ), key( "a" ) );
   EXPECT_EQ( status( group500 ).poolStatus( 1 )->classIdPoolBack(), 1 ) << "at the back of the queue";
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ).size(), 2u ) << "the pool still lends";
   EXPECT_TRUE( manager->clearClassIdAndIntfGroup( group500, key( "b" ), 2 ) );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ).size(), 0u );
   EXPECT_TRUE( shadow().empty() );
   EXPECT_FALSE( manager->classIdTcamGroupStatusHas( group500 ) );
}

// A caller that hands in the key of the manager's own record, as a walk over the requests does: the key died
// with the record and was traced afterwards.
TEST_F( Release, TakesTheKeyOfTheRecordThatGoes ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   carry( group500, key( "a" ), 1, ports( { 1 } ) );
   carry( group500, key( "b" ), 2, ports( { 2 } ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/1-2" );
   const auto &requests = status( group500 ).requestStatus();
   manager->clearClassId( group500, requests.begin()->first, 1 );
   EXPECT_TRUE( trace.has( "maybeFreeClassIdPool TcamGroupId: 500 RequestKey: a:0:a" ) );
   EXPECT_EQ( requests.begin()->first, key( "b" ) );
   const auto index = status( group500 ).intfGroupHashToIntfGroupInfo( ports( { 2 } )->hash() );
   manager->deleteIntfGroupFromIntfGroupInfo( group500, index->requestKeyToIntfGroup().begin()->first,
                                              ports( { 2 } ) );
   EXPECT_EQ( status( group500 ).intfGroupHashToIntfGroupInfos(), 0u );
}

// The same with the key that the index holds: it was read after the index had let it go.
TEST_F( Release, TakesTheKeyThatTheIndexLetsGo ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   carry( group500, key( "a" ), 1, ports( { 1 } ) );
   carry( group500, key( "b" ), 2, ports( { 2 } ) );
   const auto &index = *status( group500 ).intfGroupHashToIntfGroupInfo( ports( { 1 } )->hash() );
   manager->maybeFreeClassId( group500, index.requestKeyToIntfGroup().begin()->first, 1 );
   EXPECT_FALSE( status( group500 ).requestStatusHas( key( "a" ) ) );
   EXPECT_EQ( portsWithBit( 0 ), std::vector<U32>() );
   EXPECT_EQ( portsWithBit( 1 ), std::vector<U32>( { 2 } ) );
}

TEST_F( Release, OfWhatWasNeverReservedIsNoFault ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   EXPECT_TRUE( manager->clearClassIdAndIntfGroup( group500, key( "a" ), 1 ) );
   ASSERT_TRUE( reserve( group500, key( "b" ), 2 ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   EXPECT_TRUE( manager->clearClassIdAndIntfGroup( group500, key( "a" ), 1 ) );
   EXPECT_TRUE(
      trace.has( "clearClassIdAndIntfGroup TcamGroupId: 500 EntryId: 1 hasn't any classId allocated,  looks "
                 "like a installEntry fail " ) );
   EXPECT_TRUE( status( group500 ).requestStatusHas( key( "b" ) ) );
}

// Keys reserved at start-up: the last real entry clears the ports, and the key stays for the next one.
TEST_F( Release, OfAKeyReservedAtStartUpClearsThePortsOnly ) {
   bringUp();
   manager->doSetup();
   struct Case {
      U16 group;
      const char *rule;
   };
   for ( const auto &[ id, rule ] : { Case{ 2, "L4 Micro BFD" }, Case{ 51, "Broadcast skip rule" } } ) {
      carry( id, key( rule ), 7, ports( { 4 } ) );
      const U16 classId = request( id, key( rule ) ).classId();
      EXPECT_TRUE( manager->clearClassIdAndIntfGroup( id, key( rule ), 7 ) );
      EXPECT_TRUE( request( id, key( rule ) ).entryRefHas( INVALID_ENTRY_ID ) );
      EXPECT_EQ( request( id, key( rule ) ).classId(), classId );
      EXPECT_TRUE( request( id, key( rule ) ).intfGroup()->isEmpty() );
      carry( id, key( rule ), 8, ports( { 4, 5 } ) );
      EXPECT_EQ( request( id, key( rule ) ).entryRefs(), 2u );
   }
   EXPECT_TRUE( shadow().contains( 4 ) && shadow().contains( 5 ) );
}

} // namespace
} // namespace QuarraTest
