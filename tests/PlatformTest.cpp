#include "tests/Library.h"

#include <cstdio>
#include <deque>
#include <numeric>
#include <thread>

#include "Nodra/Locks.h"
#include "Sdk/SdkCall.h"

// The ground that the library stands on: tracing, containers, ranges, bitmaps, hashes and the door to the
// SDK.
namespace QuarraTest {
namespace {

using Bits = std::vector<U32>;
using ::testing::ThrowsMessage;
using Vesk::Bitmap;
using enum Vesk::HBitmap::BitState;

Nodra::TraceHandle unitTrace( "PlatformTest" );
Nodra::TraceHandle sameTrace( "PlatformTest" );
Nodra::TraceHandle otherTrace( "PlatformTestOther" );

class Tracing : public ::testing::Test {
 protected:
   Tracing() { Nodra::traceLevelsDelAll(); }
   ~Tracing() override { Nodra::traceLevelsDelAll(); }
};

TEST_F( Tracing, LevelsAreTurnedOnAsTheSettingsSay ) {
   const auto levels = []( const char *settings ) {
      Nodra::traceLevelsDelAll();
      EXPECT_EQ( Nodra::traceLevelsIs( settings ), "" ) << settings;
      return std::pair<U32, U32>( unitTrace.levels(), otherTrace.levels() );
   };
   EXPECT_EQ( levels( "" ), std::pair( 0u, 0u ) );
   EXPECT_EQ( levels( "PlatformTest/0" ), std::pair( 0x001u, 0u ) );
   EXPECT_EQ( levels( "PlatformTest/1-3,PlatformTest/9" ), std::pair( 0x20eu, 0u ) );
   EXPECT_EQ( levels( "*/4-4,PlatformTestOther/0-9" ), std::pair( 0x010u, 0x3ffu ) );
   EXPECT_EQ( sameTrace.levels(), 0x010 ) << "every source file of a unit";
   EXPECT_THAT( Nodra::traceHandles(), ::testing::Contains( "PlatformTest" ).Times( 1 ) );
}

TEST_F( Tracing, AWrongSettingIsReportedAndChangesNothing ) {
   for ( const auto *wrong : { "PlatformTest", "PlatformTest/", "/3", "PlatformTest/10", "PlatformTest/3-1",
                               "PlatformTest/3-", "PlatformTest/1-23", "PlatformTest/a", "PlatformTest/1+2",
                               "PlatformTest/1 ", ",PlatformTest/1", "Nowhere/1" } ) {
      EXPECT_NE( Nodra::traceLevelsIs( std::string( "PlatformTest/1,*/2," ) + wrong ), "" ) << wrong;
      EXPECT_EQ( unitTrace.levels(), 0 ) << wrong;
   }
   EXPECT_THAT( Nodra::traceLevelsIs( "Nowhere/1" ),
                ::testing::HasSubstr( "PlatformTest, PlatformTestOther" ) );
   EXPECT_EQ( Nodra::traceLevelsIs( "Nowhere/1,PlatformTest/1", true ), "" );
   EXPECT_EQ( unitTrace.levels(), 2 );
}

TEST_F( Tracing, ALineWhoseLevelIsOffIsNotEvenBuilt ) {
   int built = 0;
   const auto build = [ & ] { return ++built; };
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "PlatformTest/3" );
   TRACE( 2, build() );
   TRACE( 4, build() );
   NODRA_TRACE( otherTrace, 3, build() );
   EXPECT_EQ( built, 0 );
   TRACE( 3, "line " << build() << " of " << U8{ 65 } );
   const auto &[ handle, level, text ] = trace.lines().at( 0 );
   EXPECT_EQ( handle + "/" + std::to_string( level ) + " " + text, "PlatformTest/3 line 1 of 65" );
   {
      const Nodra::MemoryTrace inner;
      TRACE( 3, "inner" );
      EXPECT_EQ( inner.lines().size(), 1u );
   }
   TRACE( 3, "outer" );
   EXPECT_TRUE( trace.lines().size() == 2 && trace.has( "outer" ) && !trace.has( "oute" ) );
}

TEST( Containers, ASetIsWalkedInAscendingOrderAndHoldsAValueOnce ) {
   Nodra::FlatSet<U32> set;
   std::vector<bool> added;
   for ( const U32 value : { 5u, 9u, 1u, 5u, 7u, 9u, 1u } ) {
      added.push_back( set.insert( value ) );
   }
   EXPECT_EQ( added, std::vector<bool>( { true, true, true, false, true, false, false } ) );
   EXPECT_FALSE( set.erase( 6 ) || set.erase( 10 ) );
   EXPECT_TRUE( set.erase( 5 ) );
   EXPECT_EQ( Bits( set.begin(), set.end() ), Bits( { 1, 7, 9 } ) );
   EXPECT_TRUE( set.has( 7 ) && !set.has( 5 ) && !set.has( 8 ) );
}

// All keys in one bucket: what the map tells apart, it tells apart by the keys.
struct Clashing {
   U32 number;
   U32 hash() const { return 0; }
   bool operator==( const Clashing & ) const = default;
};

TEST( Containers, AHashMapIsWalkedInTheOrderOfInsertion ) {
   Nodra::HashedValueMap<Clashing, U32> map;
   const auto numbers = [ & ] {
      Bits keys;
      for ( const auto &[ clashing, value ] : map ) {
         keys.push_back( clashing.number );
      }
      return keys;
   };
   for ( const U32 number : { 3u, 1u, 2u } ) {
      map.put( { number }, number );
   }
   map.put( { 3 }, 30 );
   EXPECT_EQ( numbers(), Bits( { 3, 1, 2 } ) ) << "a replaced value keeps its place";
   EXPECT_EQ( Nodra::memberOf( map, Clashing{ 3 } ), 30u );
   EXPECT_TRUE( map.erase( { 3 } ) && !map.erase( { 3 } ) );
   map.put( { 3 }, 31 );
   EXPECT_EQ( numbers(), Bits( { 1, 2, 3 } ) );
   EXPECT_TRUE( map.find( { 4 } ) == map.end() );
}

TEST( Containers, AQueueIsFirstInFirstOut ) {
   Nodra::Queue<U16> queue;
   EXPECT_EQ( queue.deq(), 0 ) << "an empty queue gives the default";
   queue.enq( 7 );
   queue.enq( 8 );
   EXPECT_TRUE( queue.first() == 7 && queue.last() == 8 );
   EXPECT_EQ( queue.deq(), 7 );
   EXPECT_EQ( queue.deq(), 8 );
   EXPECT_TRUE( queue.empty() && queue.first() == 0 && queue.last() == 0 );

   std::deque<U16> plain;
   for ( U16 turn = 1; turn < 400; ++turn ) {
      queue.enq( turn );
      plain.push_back( turn );
      for ( U16 taken = 0; taken < turn % 7 && turn / 50 % 2 && !plain.empty(); ++taken ) {
         ASSERT_EQ( queue.deq(), plain.front() );
         plain.pop_front();
      }
      ASSERT_EQ( std::vector<U16>( queue.begin(), queue.end() ),
                 std::vector<U16>( plain.begin(), plain.end() ) );
   }
}

TEST( Ranges, AnEnumerationTakesItsNumbersAndNamesOnly ) {
   const std::vector<std::string> names = { "classIdInvalid",     "ifpSourceTrunkMap",
                                            "vfpSourceTrunkMap",  "aclGroupFlexibleWidth",
                                            "aclGroupFixedWidth", "classIdMax" };
   for ( unsigned value = 0; value < names.size(); ++value ) {
      EXPECT_EQ( Nodra::toText( ClassIdTypeInstance( value ) ), names[ value ] );
      EXPECT_EQ( static_cast<unsigned>( ClassIdTypeInstance( names[ value ] ) ), value );
   }
   EXPECT_THROW( ClassIdTypeInstance( 6 ), Nodra::RangeError );
   EXPECT_THROW( ClassIdTypeInstance( 0x100 ), Nodra::RangeError ) << "not the low byte of it";
   EXPECT_THROW( ClassIdTypeInstance( "SourceTrunkMap" ), Nodra::RangeError );
   EXPECT_EQ( ClassIdAllocationStrategyInstance( "invalidStrategy" ), ClassIdAllocationStrategy() );
   EXPECT_EQ( static_cast<int>( ClassIdAllocationStrategyInstance( "allocateOnInit" ) ), 1 );
   EXPECT_EQ( ClassIdAllocationStrategyInstance( 2 ), ClassIdAllocationStrategy::allocateOnDemand );
}

TEST( Ranges, APortModuleOrLogicalPortOutsideIsRefusedWithItsText ) {
   using QuarraTypes::QuarraPort;
   const auto badPort = ThrowsMessage<Nodra::RangeError>( "U10::value < 0 or > 0x03ff not allowed" );
   const auto badLogicalPort = ThrowsMessage<Nodra::RangeError>(
      "QuarraTypes::QuarraPort::logicalPort < 0 or > QuarraTypes::QuarraPort::defaultPort not allowed" );
   EXPECT_EQ( U16{ U10( 1023 ) }, 1023 );
   EXPECT_THAT( [] { U10( 1024 ); }, badPort );
   EXPECT_THAT( [] { U10( 0x10005 ); }, badPort ) << "not the low bits of it";
   EXPECT_THAT( [] { QuarraCentral::ModId( 65 ); },
                ThrowsMessage<Nodra::RangeError>( "QuarraCentral::ModId::value < QuarraCentral::ModId::min "
                                                  "or > QuarraCentral::ModId::null not allowed" ) );
   EXPECT_THAT( [] { QuarraPort( 1, 2, 1024, 4 ); }, badLogicalPort );
   EXPECT_THAT( [] { QuarraPort().logicalPortIs( 1024 ); }, badLogicalPort );
   EXPECT_LT( QuarraPort( 9, 9, 9, 1 ), QuarraPort( 0, 0, 0, 2 ) ) << "the last field weighs most";
   EXPECT_LT( QuarraPort( 9, 1, 1, 1 ), QuarraPort( 0, 2, 1, 1 ) );
}

TEST( Bitmaps, RangesCoverExactlyTheirBitsAcrossWords ) {
   for ( const U32 first : { 0u, 1u, 63u, 64u, 65u, 127u, 128u, 129u } ) {
      for ( U32 last = first; last < 130; ++last ) {
         SCOPED_TRACE( std::to_string( first ) + " to " + std::to_string( last ) );
         Bits range( last + 1 - first );
         std::iota( range.begin(), range.end(), first );
         Bitmap bitmap( 0, 130, clear );
         bitmap.rangeSet( first, last );
         EXPECT_EQ( bitmap.setBits(), range );
         EXPECT_EQ( bitmap.count( first, last ), range.size() );
         EXPECT_TRUE( bitmap.anySet( 0, first ) && bitmap.anySet( last, 129 ) && bitmap.test( last ) );
         Bitmap rest( 0, 130, set );
         rest.rangeClear( first, last );
         EXPECT_EQ( rest.count(), 130 - range.size() );
         EXPECT_TRUE( !rest.anySet( first, last ) && !rest.count( first, last ) && !rest.test( first ) );
      }
   }
}

TEST( Bitmaps, CopyPrintAndCompareAllTheirBits ) {
   const auto bitmap = std::make_shared<Bitmap>( 0, 130u, Vesk::HBitmap::BitState( 1 ) );
   EXPECT_EQ( bitmap->hex(), "0x0" ) << "the number 1 stands for clear";
   bitmap->set( 3 );
   bitmap->set( 129 );
   EXPECT_EQ( getBitmapString( bitmap, 130 ), "0x2" + std::string( 31, '0' ) + "8" );
   EXPECT_EQ( getBitmapString( bitmap, 129 ), "0x8" ) << "only the lowest bits";
   updateBitmap( bitmap, 0x8000000000000001, 65 );
   EXPECT_EQ( bitmap->setBits(), Bits( { 3, 65, 128, 129 } ) ) << "bits that are 0 in the value stay";
   Bitmap copy( 0, 130, set );
   EXPECT_FALSE( copy == *bitmap );
   copy.copyFrom( *bitmap );
   EXPECT_TRUE( copy == *bitmap );
   EXPECT_FALSE( Bitmap( 0, 130, clear ) == Bitmap( 0, 131, clear ) );
}

// Up to 256 bits are kept in another place than more of them.
TEST( Bitmaps, OfEverySizeKeepTheirLastBits ) {
   for ( const U32 size : { 1u, 255u, 256u, 257u, 1000u } ) {
      SCOPED_TRACE( size );
      Bitmap bitmap( 0, size, set );
      EXPECT_EQ( bitmap.count(), size );
      EXPECT_EQ( bitmap.word( size / 64 ), ( U64{ 1 } << size % 64 ) - 1 ) << "clear past the end";
      bitmap.clear( size - 1 );
      Bitmap copy( 0, size, set );
      EXPECT_FALSE( copy == bitmap );
      copy.copyFrom( bitmap );
      EXPECT_TRUE( copy == bitmap );
      copy.set( size - 1 );
      EXPECT_EQ( bitmap.count(), size - 1 ) << "the copy has its own bits";
   }
}

TEST( Bitmaps, ABitOutsideAborts ) {
   const auto bitmap = std::make_shared<Bitmap>( 0, 130u, set );
   EXPECT_ABORT( bitmap->test( 130 ), "bit 130 of 130" );
   EXPECT_ABORT( bitmap->set( 130 ), "bits 130 to 130 of 130" );
   EXPECT_ABORT( bitmap->rangeClear( 5, 130 ), "bits 5 to 130 of 130" );
   EXPECT_ABORT( bitmap->count( 5, 4 ), "bits 5 to 4 of 130" );
   EXPECT_ABORT( bitmap->copyFrom( Bitmap( 0, 129, set ) ), "size_ == other.size_" );
}

// A sum or a plain xor of port numbers would let thousands of these sets share a hash. A hash that
// spreads evenly leaves about 5 pairs.
TEST( Hashes, OfThreePortSetsHardlyEverCollide ) {
   constexpr U32 sets = 200'000;
   const auto intfGroup = intfGroupInfoFactory();
   std::vector<U32> hashes;
   for ( U32 i = 0; i < sets; ++i ) {
      intfGroup->portIdDelAll();
      for ( const U32 port : { i % 64, 64 + i / 64 % 64, 128 + i / 4096 * 16 } ) {
         intfGroup->portIdIs( QuarraModPort( 0, port ) );
      }
      hashes.push_back( intfGroup->hash() );
   }
   std::sort( hashes.begin(), hashes.end() );
   const auto distinct = std::unique( hashes.begin(), hashes.end() ) - hashes.begin();
   EXPECT_GE( distinct, sets - 12 );
   EXPECT_EQ( ports( { 1, 2, 3 } )->hash(), ports( { 3, 1, 2 } )->hash() );
}

TEST( Hashes, MindTheOrder ) {
   EXPECT_NE( RequestKey( "a", 0, "b" ).hash(), RequestKey( "b", 0, "a" ).hash() );
   EXPECT_NE( Zev::hash( "ab" ), Zev::hash( "ba" ) );
}

using Held = std::pair<bool, bool>; // by this thread: the interpreter's lock, the activity lock
Held held() {
   return { Nodra::interpreterLock().heldByThisThread(), Nodra::activityLock().heldByThisThread() };
}
// A shim that tells of its hooks.
class HookedChip : public QuarraSimulator::SimulatedChip {
 public:
   HookedChip() : SimulatedChip( QuarraSimulator::ChipOptions() ) {}
   void preCall() override { heldAtPreCall.push_back( held() ); }
   void errorHook( int code ) override { std::fprintf( stderr, "hook %d\n", code ); }

   std::vector<Held> heldAtPreCall;
};

class SdkCalls : public Tracing {
 protected:
   // How the line of a call in this file begins.
   static std::string at( int line ) { return __FILE__ ":" + std::to_string( line ) + " "; }

   // A function of the SDK that returns `code`.
   static int give( int code, Held *seen = nullptr ) {
      if ( seen ) {
         *seen = held();
      }
      return code;
   }

   HookedChip chip;
};

TEST_F( SdkCalls, GiveUpTheLocksThatTheThreadHoldsAndNoOthers ) {
   const auto expectReleased = [ & ]( Held before ) {
      Held during( true, true );
      SDK_CALL( give( 0, &during ) );
      EXPECT_EQ( during, Held( false, false ) );
      EXPECT_EQ( held(), before ) << "taken again";
      EXPECT_EQ( chip.heldAtPreCall.back(), before ) << "the hook runs before";
   };
   expectReleased( { false, false } );
   Nodra::activityLock().take();
   expectReleased( { false, true } );
   Nodra::interpreterLock().take();
   expectReleased( { true, true } );
   Held elsewhere( true, true );
   std::thread( [ & ] { elsewhere = held(); } ).join();
   EXPECT_EQ( elsewhere, Held( false, false ) ) << "held by this thread, not by any";
   Nodra::activityLock().release();
   expectReleased( { true, false } );
   Nodra::interpreterLock().release();
   EXPECT_ABORT( Nodra::activityLock().release(), "heldByThisThread()" );
}

TEST_F( SdkCalls, ThatSucceedAreTracedWithTheirTextAndCode ) {
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "PlatformTest/0-9" );
   const int line = __LINE__ + 1;
   SDK_CALL( give( 5 ) );
   const int tried = SDK_TRY( give( -7 ) );
   EXPECT_EQ( tried, -7 ) << "a call that may fail gives its code";
   ASSERT_EQ( trace.lines().size(), 2u );
   EXPECT_EQ( trace.lines()[ 0 ].level, 4u );
   EXPECT_EQ( trace.lines()[ 0 ].text, at( line ) + "give( 5 ) (rc:5)" );
   EXPECT_EQ( trace.lines()[ 1 ].text, at( line + 1 ) + "give( -7 ) (rc:-7)" );
   EXPECT_EQ( chip.heldAtPreCall.size(), 2u );
}

// The SDK's names may be macros: their numbers stood in the traces in place of the names.
#define FIVE_OF_AN_SDK 5
TEST_F( SdkCalls, AreTracedAsTheyAreWritten ) {
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "PlatformTest/4" );
   SDK_CALL( give( FIVE_OF_AN_SDK ) );
   SDK_CALL_TEXT( give( FIVE_OF_AN_SDK ), "give( five )" );
   EXPECT_THAT( trace.lines().at( 0 ).text, ::testing::EndsWith( " give( FIVE_OF_AN_SDK ) (rc:5)" ) );
   EXPECT_THAT( trace.lines().at( 1 ).text, ::testing::EndsWith( " give( five ) (rc:5)" ) );
}

TEST_F( SdkCalls, ThatFailPrintOneLineRunTheHookAndAbort ) {
   const int line = __LINE__ + 1;
   const auto call = [] { SDK_CALL( give( -7 ) ); };
   const auto text = at( line ) + "give( -7 ) API ERROR:Entry not found (-7)\nhook -7\n";
   EXPECT_DEATH( call(), ::testing::AllOf( ::testing::StartsWith( text ),
                                           ::testing::HasSubstr( "assertion failed: 0\n" ) ) );
}

} // namespace
} // namespace QuarraTest
