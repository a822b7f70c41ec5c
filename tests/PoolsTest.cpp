#include <random>

#include "tests/Library.h"

// Pools: where a run of bits lands, what it lends, and when its bits come back.
namespace QuarraTest {
namespace {

using Bits = std::vector<U32>;

constexpr U16 flexibleGroup = 500; // a number of no group: flexible on SDK6, fixed on HSDK
constexpr U16 otherGroup = 501;
constexpr U16 lastGroup = 502;

class Pools : public LibraryTest {
 protected:
   // Where the group's pool lies: its bits and the hardware value of its first class ID.
   Bits maskOf( TcamGroupId id, U16 poolId ) {
      return status( id ).poolStatus( poolId )->tcamMask()->setBits();
   }
};

TEST_F( Pools, TakeTheLowestFreeRunUnaligned ) {
   emptySpaces( { .flexible = 16 } );
   group( flexibleGroup, { .width = 3 } );
   group( otherGroup, { .width = 4 } );
   auto &space = *manager->classIdHwStatus( aclGroupFlexibleWidth );
   space.set( 0 );
   space.set( 4 );
   EXPECT_EQ( manager->reservePoolOfWidth( flexibleGroup, 3 ), 1 );
   EXPECT_EQ( maskOf( flexibleGroup, 1 ), Bits( { 1, 2, 3 } ) );
   EXPECT_EQ( manager->reservePoolOfWidth( otherGroup, 4 ), 1 );
   EXPECT_EQ( maskOf( otherGroup, 1 ), Bits( { 5, 6, 7, 8 } ) );
   EXPECT_EQ( manager->reservePoolOfWidth( flexibleGroup, 7 ), 2 ) << "a run may end on the last bit";
   EXPECT_EQ( maskOf( flexibleGroup, 2 ), Bits( { 9, 10, 11, 12, 13, 14, 15 } ) );
   EXPECT_EQ( status( flexibleGroup ).poolStatus( 2 )->tcamMask()->size(), 16u );
}

// Runs over word borders, over whole free words and longer than a word, against a search bit by bit.
TEST( LowestFreeRun, IsTheFirstThatASearchBitByBitFinds ) {
   std::mt19937 random( 11 );
   const auto below = [ & ]( U32 bound ) { return static_cast<U32>( random() % bound ); };
   for ( int round = 0; round < 2000; ++round ) {
      const U32 size = 1 + below( 300 );
      Vesk::Bitmap bitmap( 0, size, Vesk::HBitmap::BitState::clear );
      for ( U32 taken = below( 5 ); taken--; ) {
         bitmap.set( below( size ) );
      }
      for ( const U32 bits : { 1u, 2u, 63u, 64u, 65u, 128u, 1 + below( size ) } ) {
         std::optional<U32> expected;
         for ( U32 bit = 0, free = 0; bit < size && !expected; ++bit ) {
            free = bitmap.test( bit ) ? 0 : free + 1;
            if ( free == bits ) {
               expected = bit + 1 - bits;
            }
         }
         ASSERT_EQ( lowestFreeRun( bitmap, bits ), expected )
            << bits << " of " << size << " bits, round " << round;
      }
   }
}

TEST_F( Pools, OfOneReservationLieSideBySide ) {
   emptySpaces();
   group( flexibleGroup, { .width = 2, .numPools = 2 } );
   EXPECT_EQ( manager->reservePoolOfWidth( flexibleGroup, 2 ), 2 ) << "the last pool's id";
   EXPECT_EQ( maskOf( flexibleGroup, 1 ), Bits( { 0, 1 } ) );
   EXPECT_EQ( maskOf( flexibleGroup, 2 ), Bits( { 2, 3 } ) );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ), Bits( { 0, 1, 2, 3 } ) );
   EXPECT_EQ( status( flexibleGroup ).lastPoolNum(), 2 );
}

TEST_F( Pools, AtAFixedOffsetNeitherAskNorMarkTheSpace ) {
   emptySpaces();
   group( flexibleGroup, { .width = 4, .poolBits = 0x300 } );
   manager->classIdHwStatus( aclGroupFlexibleWidth )->rangeSet( 8, 9 );
   EXPECT_EQ( manager->reservePoolOfWidth( flexibleGroup, 4 ), 1 );
   EXPECT_EQ( maskOf( flexibleGroup, 1 ), Bits( { 8, 9, 10, 11 } ) );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ), Bits( { 8, 9 } ) );
   manager->maybeFreeClassIdPool( flexibleGroup, key( "a" ) );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ), Bits() ) << "its bits are cleared all the same";
}

TEST_F( Pools, LendTheirValuesFirstInFirstOut ) {
   emptySpaces();
   group( otherGroup, { .width = 3 } );
   group( flexibleGroup, { .width = 2 } );
   manager->reservePoolOfWidth( otherGroup, 3 );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   for ( const auto *name : { "a", "b", "c" } ) {
      ASSERT_TRUE( reserve( flexibleGroup, key( name ), 1 ) );
   }
   EXPECT_TRUE( trace.has( "Reserved classId: 8" ) && trace.has( "Reserved classId: 16" ) &&
                trace.has( "Reserved classId: 24" ) );
   manager->clearClassId( flexibleGroup, key( "b" ), 1 );
   manager->clearClassId( flexibleGroup, key( "a" ), 1 );
   const auto &queue = status( flexibleGroup ).poolStatus( 1 )->classIdPool();
   EXPECT_EQ( std::vector<U16>( queue.begin(), queue.end() ), std::vector<U16>( { 2, 1 } ) );
   EXPECT_TRUE( trace.has( "num classId's:2" ) );
   ASSERT_TRUE( reserve( flexibleGroup, key( "d" ), 1 ) );
   EXPECT_EQ( request( flexibleGroup, key( "d" ) ).classId(), 2 );
}

TEST_F( Pools, OfAGroupStartAgainAtOneWhenTheLastIsGone ) {
   emptySpaces();
   group( flexibleGroup, { .width = 1 } );
   for ( const auto *name : { "a", "b", "c" } ) {
      ASSERT_TRUE( reserve( flexibleGroup, key( name ), 1 ) );
   }
   EXPECT_EQ( request( flexibleGroup, key( "c" ) ).poolId(), 3 );
   manager->clearClassId( flexibleGroup, key( "b" ), 1 );
   ASSERT_TRUE( reserve( flexibleGroup, key( "d" ), 1 ) );
   EXPECT_EQ( request( flexibleGroup, key( "d" ) ).poolId(), 4 )
      << "ids are not used again while the group lives";
   EXPECT_EQ( maskOf( flexibleGroup, 4 ), Bits( { 1 } ) ) << "bits are";
   for ( const auto *name : { "a", "c", "d" } ) {
      manager->clearClassId( flexibleGroup, key( name ), 1 );
   }
   EXPECT_FALSE( manager->classIdTcamGroupStatusHas( flexibleGroup ) );
   ASSERT_TRUE( reserve( flexibleGroup, key( "e" ), 1 ) );
   EXPECT_EQ( request( flexibleGroup, key( "e" ) ).poolId(), 1 );
}

// A group with a key reserved at start-up never lost its status: after 65,535 pools in a row it answered
// "noRoom" for the life of the process, with most of its bits free.
TEST_F( Pools, OfAGroupThatIsNeverEmptyFindTheirIdsAgain ) {
   emptySpaces();
   group( flexibleGroup, { .width = 1 } );
   ASSERT_TRUE( reserve( flexibleGroup, key( "stays" ), INVALID_ENTRY_ID ) );
   const auto takeAndGiveBack = [ & ]( U32 expectedId ) {
      ASSERT_TRUE( reserve( flexibleGroup, key( "passes" ), 2 ) ) << expectedId;
      ASSERT_EQ( request( flexibleGroup, key( "passes" ) ).poolId(), expectedId );
      manager->clearClassId( flexibleGroup, key( "passes" ), 2 );
   };
   for ( U32 id = 2; id < 0xffff; ++id ) {
      takeAndGiveBack( id );
   }
   ASSERT_TRUE( reserve( flexibleGroup, key( "has the last id" ), 3 ) );
   takeAndGiveBack( 2 );
   takeAndGiveBack( 2 );
   ASSERT_TRUE( reserve( flexibleGroup, key( "has 2" ), 4 ) );
   takeAndGiveBack( 3 );
   manager->clearClassId( flexibleGroup, key( "stays" ), INVALID_ENTRY_ID );
   takeAndGiveBack( 1 );
   EXPECT_EQ( request( flexibleGroup, key( "has the last id" ) ).poolId(), 0xffff );
   EXPECT_EQ( status( flexibleGroup ).lastPoolNum(), 0xffff );
   EXPECT_EQ( reservedBits( aclGroupFlexibleWidth ), Bits( { 1, 2 } ) );
}

// More pools than ids can only lie at a fixed offset, over each other. The ids must not start again among the
// living.
TEST_F( Pools, WithoutAFreeIdAreNotMade ) {
   emptySpaces();
   group( flexibleGroup, { .width = 1, .poolBits = 1 } );
   for ( U32 id = 1; id <= 0xffff; ++id ) {
      ASSERT_EQ( manager->reservePoolOfWidth( flexibleGroup, 1 ), id );
   }
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   EXPECT_EQ( manager->reservePoolOfWidth( flexibleGroup, 1 ), 0 );
   EXPECT_TRUE( trace.has( "Failed to reserve a pool, returning.." ) );
   EXPECT_EQ( status( flexibleGroup ).poolStatuss(), 0xffffu );
}

// The bound of 16 bits came first: a wide pool aborted where the space only was too narrow for it.
TEST_F( Pools, TooWideForTheSpaceFallBackToOneBitBeforeTheyAreTooWideToLend ) {
   emptySpaces( { .flexible = 19 } );
   group( flexibleGroup, { .width = 20 } );
   ASSERT_TRUE( reserve( flexibleGroup, key( "a" ), 1 ) );
   EXPECT_EQ( maskOf( flexibleGroup, 1 ), Bits( { 0 } ) );
}

// From bit 64 on the trace showed the value at its bit modulo 64.
TEST_F( Pools, TraceTheHardwareValueAtEveryBit ) {
   emptySpaces( "hsdk", { .flexible = 32, .fixed = 128 } );
   auto &space = *manager->classIdHwStatus( aclGroupFixedWidth );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   const auto lendFrom = [ & ]( U32 bit, TcamGroupId id, U8 width ) {
      group( id, { .type = aclGroupFixedWidth, .width = width } );
      space.rangeSet( 0, bit - 1 );
      manager->createAclGroupBitmapHint( id );
      ASSERT_TRUE( reserve( id, key( "a" ), 1 ) );
   };
   lendFrom( 62, flexibleGroup, 2 );
   ASSERT_TRUE( reserve( flexibleGroup, key( "b" ), 1 ) );
   EXPECT_TRUE( trace.has( "Reserved classId: 9223372036854775808" ) );
   lendFrom( 64, otherGroup, 1 );
   EXPECT_TRUE( trace.has( "Reserved classId: 0x10000000000000000" ) );
   lendFrom( 65, lastGroup, 1 );
   EXPECT_TRUE( trace.has( "Reserved classId: 0x20000000000000000" ) );
}

TEST_F( Pools, OfAFixedWidthGroupStayUntilItIsDeleted ) {
   emptySpaces( "hsdk", { .flexible = 32, .fixed = 16 } );
   group( flexibleGroup, { .type = aclGroupFixedWidth, .width = 4 } );
   manager->createAclGroupBitmapHint( flexibleGroup );
   ASSERT_TRUE( reserve( flexibleGroup, key( "a" ), 1 ) );
   manager->clearClassId( flexibleGroup, key( "a" ), 1 );
   EXPECT_EQ( reservedBits( aclGroupFixedWidth ), Bits( { 0, 1, 2, 3 } ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   manager->clearClassIdPool( flexibleGroup );
   ASSERT_EQ( trace.lines().size(), 1u ) << "a pool that still lends would be traced";
   EXPECT_EQ( trace.lines()[ 0 ].text, "clearClassIdPoolunreserved classId for the group 500" );
   EXPECT_EQ( reservedBits( aclGroupFixedWidth ), Bits() );
   EXPECT_FALSE( manager->classIdTcamGroupStatusHas( flexibleGroup ) );
}

TEST_F( Pools, HintCoversTheGroupsBitsOfTheCombinedValue ) {
   emptySpaces( "hsdk", { .flexible = 32, .fixed = 16 } );
   group( flexibleGroup, { .type = aclGroupFixedWidth, .width = 4 } );
   manager->classIdHwStatus( aclGroupFixedWidth )->rangeSet( 0, 2 );
   auto hint = manager->createAclGroupBitmapHint( flexibleGroup );
   EXPECT_EQ( std::pair( hint.startBit, hint.endBit ), std::pair( U8{ 35 }, U8{ 38 } ) );
   hint = manager->createAclGroupBitmapHint( flexibleGroup );
   EXPECT_EQ( hint.startBit, 35 ) << "asking again reserves nothing";
   EXPECT_EQ( status( flexibleGroup ).poolStatuss(), 1u );

   group( otherGroup, { .type = aclGroupFlexibleWidth, .width = 4 } );
   hint = manager->createAclGroupBitmapHint( otherGroup );
   EXPECT_EQ( std::pair( hint.startBit, hint.endBit ), std::pair( U8{ 0 }, U8{ 31 } ) );
}

TEST_F( Pools, HintOfBitwisePoolsSpansThemAll ) {
   emptySpaces( "hsdk", { .flexible = 32, .fixed = 16 } );
   group( flexibleGroup, { .type = aclGroupFixedWidth, .width = 1 } );
   auto &space = *manager->classIdHwStatus( aclGroupFixedWidth );
   for ( const U32 free : { 2u, 5u, 3u } ) { // pools 1, 2 and 3 land where the only free bit is
      space.rangeSet( 0, 15 );
      space.clear( free );
      ASSERT_NE( manager->reservePoolOfWidth( flexibleGroup, 1 ), 0 );
   }
   auto hint = manager->createAclGroupBitmapHint( flexibleGroup );
   EXPECT_EQ( std::pair( hint.startBit, hint.endBit ), std::pair( U8{ 34 }, U8{ 37 } ) );
   manager->classIdTcamGroupStatus( flexibleGroup )->poolStatusDel( 2 );
   hint = manager->createAclGroupBitmapHint( flexibleGroup );
   EXPECT_EQ( std::pair( hint.startBit, hint.endBit ), std::pair( U8{ 34 }, U8{ 35 } ) );
   EXPECT_EQ( status( flexibleGroup ).poolStatus( 2 )->size(), 0 ) << "an empty pool takes the place";
   manager->clearClassIdPool( flexibleGroup );
   EXPECT_FALSE( space.test( 2 ) || space.test( 3 ) );
   EXPECT_TRUE( space.test( 5 ) && space.test( 0 ) );
}

} // namespace
} // namespace QuarraTest
