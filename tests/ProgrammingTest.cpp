#include "tests/Library.h"

// Which ports carry a class ID after each request, and what an entry is told to match.
namespace QuarraTest {
namespace {

using Ports = std::vector<U32>;

constexpr U16 group500 = 500;
constexpr U16 table9Group = 120;  // ifpSourceTrunkMap on SDK6
constexpr U16 table10Group = 238; // vfpSourceTrunkMap on SDK6

std::vector<std::string> textsFrom( const Nodra::MemoryTrace &trace, std::size_t first ) {
   std::vector<std::string> texts;
   for ( ; first < trace.lines().size(); ++first ) {
      texts.push_back( trace.lines()[ first ].text );
   }
   return texts;
}

class Programming : public LibraryTest {
 protected:
   // Puts the request into the state in which it holds the bit of another request of its group.
   void holdBitOf( const RequestKey &other, const RequestKey &requestKey, U32 entry ) {
      const auto &added = manager->classIdTcamGroupStatus( group500 )->requestStatusIs( requestKey );
      added->classIdIs( request( group500, other ).classId() );
      added->poolIdIs( request( group500, other ).poolId() );
      added->intfGroupIs();
      added->entryRefIs( entry );
   }
   void program( const RequestKey &requestKey, U32 entry, const IntfGroupInfo::PtrConst &intfGroup ) {
      EXPECT_TRUE( manager->programClassIdForIntfGroup( group500, requestKey, entry, intfGroup ) );
   }
   Ports portsOf( const RequestKey &requestKey ) {
      return numbersOf( *manager->getIntfGroup( group500, requestKey, 1 ) );
   }
};

class SourceTrunkMap : public LibraryTest {
 protected:
   U32 posted( U32 port, U8 table = 9 ) {
      return directory->request(
         QuarraCentral::PortTabWriteRequestKey( 1, QuarraModPort( 0, port ), table ) );
   }
   void post( U32 port, U8 table, U32 value ) {
      directory->postRequest( QuarraCentral::PortTabWriteRequestKey( 1, QuarraModPort( 0, port ), table ),
                              value );
   }
};

TEST_F( Programming, ABitIsTheUnionOfTheRequestsThatHoldIt ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2 } ) );
   holdBitOf( key( "a" ), key( "b" ), 2 );
   manager->classIdTcamGroupStatus( group500 )->requestStatus( key( "b" ) )->classIdIs( 3 );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2,QuarraTcamPortsManagerTypes/4" );
   program( key( "b" ), 2, ports( { 2, 3 } ) );
   Nodra::traceLevelsDelAll();
   EXPECT_EQ( portsWithBit( 0 ), Ports( { 1, 2, 3 } ) );
   using ::testing::ElementsAre;
   EXPECT_THAT( textsFrom( trace, 0 ),
                ElementsAre( "IntfGroup for bit pos is: ", "   interfaces : ", "   0/1", "   0/2", "   0/3",
                             "   ethernet : 0", "   interfaces : ", "   0/1", "   0/2", "   0/3",
                             "   ethernet : 0" ) )
      << "by the manager, then by the helper";
   program( key( "a" ), 1, ports( { 1 } ) );
   EXPECT_EQ( portsWithBit( 0 ), Ports( { 1, 2, 3 } ) );
   program( key( "a" ), 1, ports( {} ) );
   EXPECT_EQ( portsWithBit( 0 ), Ports( { 2, 3 } ) );
   EXPECT_EQ( portsWithBit( 1 ), Ports() ) << "a class ID has no bit above its pool's width";
}

TEST_F( Programming, TheSamePortsAgainWritesNothing ) {
   emptySpaces( "sdk6", {} );
   group( group500, { .width = 4 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2 } ) );
   const auto calls = chip->calls();
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   program( key( "a" ), 1, ports( { 2, 1 } ) );
   EXPECT_EQ( chip->calls(), calls );
   EXPECT_TRUE( trace.has( "Asked interface set is already programmed with the class Id" ) );
}

TEST_F( Programming, EveryBitOfAClassIdIsSetAndItsStoredGroupIsUpdatedInPlace ) {
   emptySpaces();
   group( group500, { .width = 3 } );
   manager->classIdHwStatus( aclGroupFlexibleWidth )->set( 0 );
   for ( const auto *name : { "one", "two", "three" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 1 ) );
   }
   const auto stored = request( group500, key( "three" ) ).intfGroup();
   program( key( "three" ), 1, ports( { 7 } ) );
   EXPECT_EQ( shadow().at( 7 )->setBits(), std::vector<U32>( { 1, 2 } ) );
   EXPECT_EQ( numbersOf( *stored ), Ports( { 7 } ) );
}

TEST_F( Programming, FixedWidthBitsLieAboveTheFlexibleOnes ) {
   emptySpaces( "hsdk", { .flexible = 8, .fixed = 16 } );
   group( group500, { .type = aclGroupFixedWidth, .width = 4 } );
   manager->createAclGroupBitmapHint( group500 );
   for ( const auto *name : { "1", "2", "3", "4", "5" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 1 ) );
   }
   program( key( "5" ), 1, ports( { 9 } ) );
   EXPECT_EQ( chip->aclGroup( 9 ).setBits(), std::vector<U32>( { 8, 10 } ) );
}

// The union of a fixed-width bit compares unshifted positions, so it leaves out requests that share the bit.
TEST_F( Programming, AFixedWidthUnionIsFormedUnshifted ) {
   emptySpaces( "hsdk", { .flexible = 32, .fixed = 16 } );
   group( group500, { .type = aclGroupFixedWidth, .width = 4 } );
   manager->createAclGroupBitmapHint( group500 );
   for ( const auto *name : { "1", "2", "3" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 1 ) );
   }
   EXPECT_EQ( manager->getIntfGroupForBitPos( group500, key( "1" ), 0 )->portIds(), 0u );
   program( key( "1" ), 1, ports( { 1 } ) );
   program( key( "3" ), 1, ports( { 2 } ) );
   EXPECT_EQ( numbersOf( *manager->getIntfGroupForBitPos( group500, key( "3" ), 0 ) ), Ports( { 1 } ) );
   EXPECT_EQ( numbersOf( *manager->getIntfGroupForBitPos( group500, key( "3" ), 32 ) ), Ports() );
   EXPECT_EQ( chip->aclGroup( 1 ).setBits(), std::vector<U32>() )
      << "request 3 took the bit off request 1's port";
}

TEST_F( Programming, TheNewestRequestOfAValueBasedGroupWinsThePort ) {
   emptySpaces();
   group( group500, { .width = 2 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2, 3 } ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/3" );
   carry( group500, key( "b" ), 2, ports( { 2, 3, 4 } ) );
   EXPECT_TRUE( trace.has( "Conflicting intf: 0/2 found for key: a:0:a" ) );
   EXPECT_EQ( portsOf( key( "a" ) ), Ports( { 1 } ) );
   EXPECT_EQ( portsWithBit( 0 ), Ports( { 1 } ) );
   EXPECT_EQ( portsWithBit( 1 ), Ports( { 2, 3, 4 } ) );
   // The trimmed request is found by the ports that it has left, and no longer by those it had.
   EXPECT_EQ( manager->getRequestKey( group500, 3, RuleId(), ports( { 1 } ) ), key( "a" ) );
   EXPECT_NE( manager->getRequestKey( group500, 3, RuleId(), ports( { 1, 2, 3 } ) ), key( "a" ) );
   carry( group500, key( "c" ), 3, ports( { 1 } ) );
   EXPECT_EQ( portsOf( key( "a" ) ), Ports() ) << "without a port it keeps its class ID";
   EXPECT_EQ( request( group500, key( "a" ) ).classId(), 1 );
   EXPECT_EQ( shadow().at( 1 )->setBits(), std::vector<U32>( { 0, 1 } ) ) << "class ID 3 sets bits 0 and 1";
   manager->clearClassId( group500, key( "a" ), 1 );
   EXPECT_EQ( shadow().at( 1 )->setBits(), std::vector<U32>( { 0, 1 } ) );
}

// The group that the index shares, handed in as the new ports: it was read after the clean-up had let it go.
TEST_F( Programming, TakesThePortsOfAGroupThatTheIndexLetsGo ) {
   emptySpaces();
   group( group500, { .width = 4 } );
   carry( group500, key( "a" ), 1, ports( { 1, 2 } ) );
   carry( group500, key( "b" ), 2, ports( { 3 } ) );
   const auto &index = *status( group500 ).intfGroupHashToIntfGroupInfo( ports( { 1, 2 } )->hash() );
   manager->programClassIdForIntfGroup( group500, key( "b" ), 2, index.requestKeyToIntfGroup( key( "a" ) ) );
   EXPECT_EQ( portsOf( key( "a" ) ), Ports() );
   EXPECT_EQ( portsOf( key( "b" ) ), Ports( { 1, 2 } ) );
   EXPECT_EQ( portsWithBit( 1 ), Ports( { 1, 2 } ) );
}

// A key that was reserved without its ports is in no index when another takes a port from it.
TEST_F( Programming, APortIsTakenFromARequestOutsideOfTheIndex ) {
   emptySpaces();
   group( group500, { .width = 4 } );
   ASSERT_TRUE( reserve( group500, key( "a" ), 1 ) );
   program( key( "a" ), 1, ports( { 1, 2 } ) );
   carry( group500, key( "b" ), 2, ports( { 2 } ) );
   EXPECT_EQ( portsOf( key( "a" ) ), Ports( { 1 } ) );
   EXPECT_EQ( portsWithBit( 0 ), Ports( { 1 } ) );
   EXPECT_EQ( status( group500 ).intfGroupHashToIntfGroupInfos(), 1u );
   EXPECT_TRUE( manager->getIntfGroupForBitPos( 501, key( "a" ), 0 )->isEmpty() ) << "a group without status";
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   manager->dumpIntfGroup( nullptr );
   EXPECT_TRUE( trace.has( "Empty IntfGroup" ) );
}

TEST_F( Programming, AllEthernetPortsTakeOneBit ) {
   emptySpaces();
   group( group500, { .width = 1 } );
   carry( group500, key( "a" ), 1, allEthernet() );
   EXPECT_EQ( portsWithBit( 0 ).size(), 511u );
   manager->clearClassId( group500, key( "a" ), 1 );
   EXPECT_TRUE( shadow().empty() );
}

TEST_F( Programming, AQualifierComparesOnlyItsPoolsBits ) {
   emptySpaces( { .flexible = 16 } );
   group( group500, { .width = 3 } );
   manager->classIdHwStatus( aclGroupFlexibleWidth )->rangeSet( 0, 2 );
   for ( const auto *name : { "1", "2", "3", "4", "5" } ) {
      ASSERT_TRUE( reserve( group500, key( name ), 1 ) );
   }
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/3" );
   const auto qualifier = manager->getClassId( group500, key( "5" ), 1 );
   EXPECT_TRUE( trace.has( "baseOffset3classIdSize16requestStatus->classId()5" ) );
   EXPECT_TRUE( trace.has( " Class id data: 0x28 mask: 0x38" ) );
   EXPECT_EQ( qualifier->data()->setBits(), std::vector<U32>( { 3, 5 } ) );
   EXPECT_EQ( qualifier->mask()->setBits(), std::vector<U32>( { 3, 4, 5 } ) );
   EXPECT_EQ( std::pair( qualifier->data()->size(), qualifier->mask()->size() ), std::pair( 16u, 16u ) );
   EXPECT_EQ( qualifier->data()->id() + qualifier->mask()->id(), 0u );
   qualifier->mask()->clear( 4 );
   EXPECT_EQ( manager->getClassId( group500, key( "5" ), 1 )->mask()->count(), 3u )
      << "the pool's mask is not shared";
}

TEST_F( SourceTrunkMap, AddsToTheWordsAndTakesOffOnlyItsOwnPorts ) {
   bringUp();
   post( 2, 9, 0xdead0000 | 0x1 );
   post( 2, 7, 5 );
   post( 3, 10, 5 );
   manager->initializeSourceTrunkMap();
   EXPECT_EQ( posted( 2 ), 0u );
   EXPECT_EQ( posted( 3, 10 ), 0u );
   EXPECT_EQ( posted( 2, 7 ), 5u ) << "another table's word";
   manager->initializeHwBitmaps();
   manager->classIdHwStatus( ifpSourceTrunkMap )->rangeSet( 0, 3 );
   group( table9Group, { .type = ifpSourceTrunkMap, .width = 2 } );
   for ( const auto *name : { "1", "2", "3" } ) {
      ASSERT_TRUE( reserve( table9Group, key( name ), 1 ) );
   }
   post( 2, 9, 0xabc20001 ); // what other users of the word keep there
   const auto program = [ & ]( std::initializer_list<U32> numbers ) {
      EXPECT_TRUE( manager->programClassIdForIntfGroup( table9Group, key( "3" ), 1, ports( numbers ) ) );
   };
   program( { 2 } );
   EXPECT_EQ( posted( 2 ), 0xabc20031u );
   EXPECT_GT( directory->takePosted().size(), 0u );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/2" );
   program( { 2 } );
   EXPECT_TRUE( trace.has( "Asked interface set is already programmed with the class Id" ) );
   EXPECT_EQ( directory->takePosted().size(), 0u );
   Nodra::traceLevelsIs( "QuarraTcamPortsManager/3,QuarraTcamPortsManagerTypes/4" );
   const auto shownBefore = trace.lines().size();
   program( { 4 } );
   EXPECT_EQ( textsFrom( trace, shownBefore ),
              std::vector<std::string>(
                 { " Programmed intf group: ", "   interfaces : ", "   0/2", "   ethernet : 0",
                   " Supplied intf group: ", "   interfaces : ", "   0/4", "   ethernet : 0" } ) );
   EXPECT_EQ( posted( 2 ), 0x0001u ) << "its own bits are off, and bits 16 to 31 with them";
   EXPECT_EQ( posted( 4 ), 0x30u );
   manager->sourceTrunkMapConfigIs( nullptr );
   manager->initializeSourceTrunkMap(); // has nothing to clear
   EXPECT_EQ( posted( 4 ), 0x30u );
}

// A pool at the upper end of the word goes on at bit 0 when it is taken off.
TEST_F( SourceTrunkMap, CountsBitsModuloTheWord ) {
   emptySpaces();
   manager->classIdHwStatusIs( ifpSourceTrunkMap,
                               std::make_shared<Vesk::Bitmap>( 1, 40, Vesk::HBitmap::BitState::clear ) );
   group( table9Group, { .type = ifpSourceTrunkMap, .width = 2, .poolBits = 0x80000000 } );
   post( 1, 9, 3 );
   carry( table9Group, key( "a" ), INVALID_ENTRY_ID, ports( { 1 } ) );
   EXPECT_EQ( posted( 1 ), 0x80000003u );
   manager->programClassIdForIntfGroup( table9Group, key( "a" ), INVALID_ENTRY_ID, ports( {} ) );
   EXPECT_EQ( posted( 1 ), 2u );
   // And one beyond it lies two bits up.
   manager->classIdHwStatus( ifpSourceTrunkMap )->rangeSet( 0, 33 );
   group( 500, { .type = ifpSourceTrunkMap, .width = 2 } );
   post( 2, 9, 3 );
   carry( 500, key( "b" ), 1, ports( { 2 } ) );
   EXPECT_EQ( posted( 2 ), 7u );
   manager->programClassIdForIntfGroup( 500, key( "b" ), 1, ports( {} ) );
   EXPECT_EQ( posted( 2 ), 3u );
}

// The directory was asked for where no word is posted: for all ethernet ports, which have none here.
TEST_F( SourceTrunkMap, NeedsTheDirectoryForAPortOnly ) {
   emptySpaces();
   group( table9Group, { .type = ifpSourceTrunkMap, .width = 1 } );
   manager->sourceTrunkMapConfigIs( nullptr );
   carry( table9Group, key( "a" ), 1, allEthernet() );
   EXPECT_TRUE( request( table9Group, key( "a" ) ).intfGroup()->ethernet() );
   manager->clearClassId( table9Group, key( "a" ), 1 );
   EXPECT_FALSE( manager->classIdTcamGroupStatusHas( table9Group ) );
}

TEST_F( SourceTrunkMap, OfTheVlanFieldProcessorGoesToItsOwnTable ) {
   emptySpaces();
   group( table10Group, { .type = vfpSourceTrunkMap, .width = 4 } );
   carry( table10Group, key( "a" ), 1, ports( { 1, 2 } ) );
   EXPECT_EQ( posted( 1, 10 ), 1u );
   EXPECT_EQ( posted( 1, 9 ), 0u );
   carry( table10Group, key( "b" ), 2, ports( { 2 } ) );
   EXPECT_EQ( posted( 2, 10 ), 2u ) << "value-based: the newer request takes the port's old value off";
   manager->clearClassId( table10Group, key( "b" ), 2 );
   EXPECT_EQ( posted( 2, 10 ), 0u );
   EXPECT_EQ( posted( 1, 10 ), 1u );
}

TEST_F( SourceTrunkMap, AtAFixedOffsetNeedsNoWordForPortsOfTheOldGroup ) {
   emptySpaces();
   group( 88, { .type = ifpSourceTrunkMap, .width = 1, .poolBits = 32 } );
   carry( 88, key( "a" ), INVALID_ENTRY_ID, ports( { 1 } ) );
   directory->requestDelAll();
   manager->programSourceTrunkMapClassId( 88, key( "a" ), INVALID_ENTRY_ID, ports( { 2 } ) );
   EXPECT_EQ( posted( 2 ), 0x20u );
   EXPECT_FALSE(
      directory->requestHas( QuarraCentral::PortTabWriteRequestKey( 1, QuarraModPort( 0, 1 ), 9 ) ) );
}

} // namespace
} // namespace QuarraTest
