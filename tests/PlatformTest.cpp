#include "tests/Library.h"

#include <cstdio>
#include <numeric>
#include <set>
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
   ASSERT_EQ( trace.lines().size(), 1u );
   EXPECT_EQ( trace.lines()[ 0 ].handle, "PlatformTest" );
   EXPECT_EQ( trace.lines()[ 0 ].level, 3u );
   EXPECT_EQ( trace.lines()[ 0 ].text, "line 1 of 65" ) << "a U8 is a number";
   EXPECT_FALSE( trace.has( "line 1" ) ) << "only whole lines count";
   {
      const Nodra::MemoryTrace inner;
      TRACE( 3, "inner" );
      EXPECT_TRUE( inner.has( "inner" ) );
   }
   TRACE( 3, "outer" );
   EXPECT_TRUE( trace.has( "outer" ) && !trace.has( "inner" ) );
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
   EXPECT_EQ( Nodra::memberOf( map, Clashing{ 4 } ), 0u ) << "absent";
   EXPECT_TRUE( map.erase( { 3 } ) && !map.erase( { 3 } ) );
   map.put( { 3 }, 31 );
   EXPECT_EQ( numbers(), Bits( { 1, 2, 3 } ) );
   map.clear();
   EXPECT_TRUE( map.find( { 1 } ) == map.end() && map.begin() == map.end() );
}

TEST( Containers, AQueueIsFirstInFirstOut ) {
   Nodra::Queue<U16> queue;
   EXPECT_EQ( queue.deq(), 0 ) << "an empty queue gives the default";
   queue.push_back( 7 );
   queue.push_back( 8 );
   EXPECT_TRUE( queue.first() == 7 && queue.last() == 8 );
   EXPECT_EQ( queue.deq(), 7 );
   EXPECT_EQ( queue.deq(), 8 );
   EXPECT_TRUE( queue.empty() && queue.first() == 0 && queue.last() == 0 );
}

template <typename Enumeration, std::size_t count>
void expectNames( const std::string_view ( &names )[ count ] ) {
   for ( unsigned value = 0; value < count; ++value ) {
      EXPECT_EQ( Enumeration::of( value ).value(), value );
      EXPECT_EQ( Nodra::toText( Enumeration::of( value ) ), names[ value ] );
      EXPECT_EQ( Enumeration::of( names[ value ] ).value(), value );
   }
   EXPECT_THROW( Enumeration::of( unsigned{ count } ), Nodra::RangeError );
   EXPECT_THROW( Enumeration::of( 0x100u ), Nodra::RangeError ) << "not the low byte of it";
   EXPECT_THROW( Enumeration::of( names[ 1 ].substr( 1 ) ), Nodra::RangeError );
}

TEST( Ranges, AnEnumerationTakesItsNumbersAndNamesOnly ) {
   expectNames<ClassIdType>( { "classIdInvalid", "ifpSourceTrunkMap", "vfpSourceTrunkMap",
                               "aclGroupFlexibleWidth", "aclGroupFixedWidth", "classIdMax" } );
   expectNames<ClassIdAllocationStrategy>( { "invalidStrategy", "allocateOnInit", "allocateOnDemand" } );
   EXPECT_EQ( aclGroupFixedWidth(), ClassIdTypeInstance( 4 ) );
   EXPECT_EQ( allocateOnDemand(), ClassIdAllocationStrategyInstance( "allocateOnDemand" ) );
}

TEST( Ranges, APortModuleOrLogicalPortOutsideIsRefusedWithItsText ) {
   using QuarraTypes::QuarraPort;
   const auto badPort = ThrowsMessage<Nodra::RangeError>( "U10::value < 0 or > 0x03ff not allowed" );
   const auto badLogicalPort = ThrowsMessage<Nodra::RangeError>(
      "QuarraTypes::QuarraPort::logicalPort < 0 or > QuarraTypes::QuarraPort::defaultPort not allowed" );
   EXPECT_EQ( U16{ U10( 1023 ) }, 1023 );
   EXPECT_THAT( [] { U10( 1024 ); }, badPort );
   EXPECT_THAT( [] { U10( 0x10005 ); }, badPort ) << "not the low bits of it";
   EXPECT_EQ( QuarraCentral::ModId( 64 ), QuarraCentral::ModId() );
   EXPECT_THAT( [] { QuarraCentral::ModId( 65 ); },
                ThrowsMessage<Nodra::RangeError>( "QuarraCentral::ModId::value < QuarraCentral::ModId::min "
                                                  "or > QuarraCentral::ModId::null not allowed" ) );
   EXPECT_EQ( QuarraPort( 0xdead, 0xffff, 1023, 0 ), QuarraPort() );
   EXPECT_THAT( [] { QuarraPort( 1, 2, 1024, 4 ); }, badLogicalPort );
   EXPECT_THAT( [] { QuarraPort().logicalPortIs( 1024 ); }, badLogicalPort );
   EXPECT_LT( QuarraPort( 9, 9, 9, 1 ), QuarraPort( 0, 0, 0, 2 ) ) << "the last field weighs most";
   EXPECT_LT( QuarraPort( 9, 9, 1, 1 ), QuarraPort( 0, 0, 2, 1 ) );
   EXPECT_LT( QuarraPort( 9, 1, 1, 1 ), QuarraPort( 0, 2, 1, 1 ) );
}

TEST( Bitmaps, RangesCoverExactlyTheirBitsAcrossWords ) {
   constexpr U32 size = 130;
   const Bits borders = { 0, 1, 62, 63, 64, 65, 127, 128, 129 };
   for ( const U32 first : borders ) {
      for ( const U32 last : borders ) {
         if ( last < first ) {
            continue;
         }
         SCOPED_TRACE( std::to_string( first ) + " to " + std::to_string( last ) );
         Bits range( last + 1 - first );
         std::iota( range.begin(), range.end(), first );
         Bitmap bitmap( 0, size, clear );
         bitmap.rangeSet( first, last );
         EXPECT_EQ( bitmap.setBits(), range );
         Bitmap holed( 0, size, set );
         holed.rangeClear( first, last );
         EXPECT_EQ( holed.count(), size - range.size() );
         EXPECT_FALSE( holed.anySet( first, last ) );
         EXPECT_EQ( holed.count( first, last ), 0u );
         for ( const U32 edge : { first, last } ) {
            holed.set( edge );
            EXPECT_TRUE( holed.test( edge ) && holed.anySet( first, last ) );
            EXPECT_EQ( holed.count( first, last ), 1u );
            holed.clear( edge );
         }
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

TEST( Bitmaps, ABitOutsideAborts ) {
   const auto bitmap = std::make_shared<Bitmap>( 0, 130u, set );
   EXPECT_ABORT( bitmap->test( 130 ), "bit 130 of 130" );
   EXPECT_ABORT( bitmap->set( 130 ), "bits 130 to 130 of 130" );
   EXPECT_ABORT( bitmap->rangeClear( 5, 130 ), "bits 5 to 130 of 130" );
   EXPECT_ABORT( bitmap->count( 5, 4 ), "bits 5 to 4 of 130" );
   EXPECT_ABORT( bitmap->copyFrom( Bitmap( 0, 129, set ) ), "size_ == other.size_" );
}

// A sum or a plain xor of port numbers would let thousands of these 198,485 sets share a hash. A hash that
// spreads evenly leaves about 5 pairs.
TEST( Hashes, OfThreePortSetsHardlyEverCollide ) {
   constexpr U32 ports = 107; // half of them side by side, the others up to 1008
   const auto port = []( U32 i ) { return QuarraModPort( 0, i < 54 ? i : 54 + ( i - 53 ) * 18 ); };
   const auto intfGroup = intfGroupInfoFactory();
   std::vector<U32> hashes;
   for ( U32 a = 0; a < ports; ++a ) {
      for ( U32 b = a + 1; b < ports; ++b ) {
         for ( U32 c = b + 1; c < ports; ++c ) {
            intfGroup->portIdDelAll();
            for ( const U32 i : { a, b, c } ) {
               intfGroup->portIdIs( port( i ) );
            }
            hashes.push_back( intfGroup->hash() );
         }
      }
   }
   std::sort( hashes.begin(), hashes.end() );
   const auto distinct = std::unique( hashes.begin(), hashes.end() ) - hashes.begin();
   EXPECT_LE( static_cast<std::ptrdiff_t>( hashes.size() ) - distinct, 12 );
}

TEST( Hashes, TellApartWhatDiffersAnywhere ) {
   const auto onModule = intfGroupInfoFactory();
   onModule->portIdIs( QuarraModPort( 1, 5 ) );
   std::set<U32> hashes = { ports( {} )->hash(), allEthernet()->hash(), ports( { 5 } )->hash(),
                            onModule->hash() };
   const RequestKey keys[] = { { "a", 0, "b" }, { "b", 0, "a" },     { "a", 1, "b" },    { "a", 0, "c" },
                               { "ab", 0, "" }, { "longer", 0, "" }, { "longes", 0, "" } };
   for ( const auto &requestKey : keys ) {
      hashes.insert( requestKey.hash() );
   }
   EXPECT_EQ( hashes.size(), 4 + std::size( keys ) );
   EXPECT_EQ( ports( { 1, 2, 3 } )->hash(), ports( { 3, 1, 2 } )->hash() );
}

using Held = std::pair<bool, bool>; // by this thread: the interpreter's lock, the activity lock
Held held() {
   return { Nodra::interpreterLock().heldByThisThread(), Nodra::activityLock().heldByThisThread() };
}
void onLocks( Held which, void ( Nodra::AgentLock::*action )() ) {
   if ( which.first ) {
      ( Nodra::interpreterLock().*action )();
   }
   if ( which.second ) {
      ( Nodra::activityLock().*action )();
   }
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
   const Held none( false, false );
   for ( const Held &before : { none, Held( true, false ), Held( false, true ), Held( true, true ) } ) {
      onLocks( before, &Nodra::AgentLock::take );
      Held during( true, true );
      SDK_CALL( give( 0, &during ) );
      EXPECT_EQ( during, none );
      EXPECT_EQ( held(), before ) << "taken again";
      EXPECT_EQ( chip.heldAtPreCall, std::vector<Held>{ before } ) << "the hook runs once, before that";
      chip.heldAtPreCall.clear();
      Held elsewhere( true, true );
      std::thread( [ & ] { elsewhere = held(); } ).join();
      EXPECT_EQ( elsewhere, none ) << "held by this thread, not by any";
      onLocks( before, &Nodra::AgentLock::release );
   }
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

TEST_F( SdkCalls, ThatFailPrintOneLineRunTheHookAndAbort ) {
   const int line = __LINE__ + 1;
   const auto call = [] { SDK_CALL( give( -7 ) ); };
   const auto text = at( line ) + "give( -7 ) API ERROR:Entry not found (-7)\nhook -7\n";
   EXPECT_DEATH( call(), ::testing::AllOf( ::testing::StartsWith( text ),
                                           ::testing::HasSubstr( "assertion failed: 0\n" ) ) );
}

} // namespace
} // namespace QuarraTest
