#include "tests/ChipOfTests.h"

#include <algorithm>
#include <set>

namespace QuarraSimulator {
namespace {

struct Sdk6Chip : Chip {
   Sdk6Chip() : Chip( sdk6 ) {}

   int qualify( const Ports &data, const Ports &mask, int onUnit = unit ) {
      return vm_field_qualify_SubportGroupIds( onUnit, 7, static_cast<U32>( data.size() ), data.data(),
                                               static_cast<U32>( mask.size() ), mask.data() );
   }
};

TEST_F( Sdk6Chip, AGroupsListIsItsWholeMembership ) {
   ASSERT_EQ( setGroup( 4, { 1023, 0, 5 } ), Code::ok );
   ASSERT_EQ( setGroup( 47, { 5 } ), Code::ok );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports( { 0, 5, 1023 } ) );
   EXPECT_EQ( chip.aclGroup( 5 ).setBits(), Ports( { 4, 47 } ) );
   ASSERT_EQ( setGroup( 4, { 6, 5 } ), Code::ok );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports( { 5, 6 } ) );
   ASSERT_EQ( setGroup( 4, {} ), Code::ok );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports( { 5 } ) );
}

TEST_F( Sdk6Chip, ARefusedGroupListChangesNothing ) {
   ASSERT_EQ( setGroup( 4, { 1, 2 } ), Code::ok );
   const auto before = chip.digest();
   EXPECT_EQ( setGroup( 60, { 5 } ), Code::parameter );
   EXPECT_EQ( setGroup( 4, { 5, 1024 } ), Code::parameter );
   EXPECT_EQ( setGroup( 4, { 5, 6, 5 } ), Code::parameter );
   EXPECT_EQ( bcm_subport_port_group_subport_multi_set( unit, 4, 1, nullptr ), Code::parameter );
   EXPECT_EQ( setGroup( 4, { 5 }, unit + 1 ), Code::unit );
   EXPECT_EQ( chip.digest(), before );
}

TEST_F( Sdk6Chip, TcamEntriesAreMadeAndRemovedOnce ) {
   EXPECT_EQ( chip.fieldEntryCreate( unit, 0, wholeValue ), Code::parameter );
   EXPECT_EQ( chip.fieldEntryCreate( unit + 1, 7, wholeValue ), Code::unit );
   EXPECT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   EXPECT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::exists );
   EXPECT_EQ( chip.fieldEntryDestroy( unit, 7 ), Code::ok );
   EXPECT_EQ( chip.fieldEntryDestroy( unit, 7 ), Code::notFound );
   EXPECT_EQ( qualify( { 1 }, { 1 } ), Code::notFound );
   EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit, 7, 1, 1 ), Code::notFound );
}

TEST_F( Sdk6Chip, ARefusedQualifierLeavesTheEntryAsItWas ) {
   ASSERT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   ASSERT_EQ( qualify( { 2, 59 }, { 1, 2, 59 } ), Code::ok );
   const auto before = chip.digest();
   const struct {
      Ports data, mask;
      const char *fault;
   } refused[] = {
      { { 2, 1 }, { 1, 2 }, "data falls" },
      { { 2 }, { 2, 2 }, "mask repeats" },
      { { 2 }, { 2, 60 }, "past the value" },
      { { 3 }, { 1, 2 }, "data outside of the mask" },
      { {}, { 1 }, "no data" },
      { { 1 }, {}, "no mask" },
   };
   for ( const auto &[ data, mask, fault ] : refused ) {
      EXPECT_EQ( qualify( data, mask ), Code::parameter ) << fault;
   }
   EXPECT_EQ( vm_field_qualify_SubportGroupIds( unit, 7, 1, nullptr, 1, nullptr ), Code::parameter );
   EXPECT_EQ( qualify( { 2 }, { 2 }, unit + 1 ), Code::unit );
   EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit, 7, 1, 1 ), Code::conflict );
   EXPECT_EQ( chip.digest(), before );
}

// An entry was created without a qualifier, and matched every port until it got one.
TEST_F( Sdk6Chip, AnEntryMatchesAsItWasInstalledLast ) {
   ASSERT_EQ( setGroup( 1, { 5 } ), Code::ok );
   ASSERT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 0, 6 } ) );
   ASSERT_EQ( qualify( { 2 }, { 1, 2 } ), Code::ok );
   ASSERT_EQ( qualify( { 1 }, { 1, 2 } ), Code::ok ) << "it takes the place of the first";
   EXPECT_FALSE( chip.matches( 7, { 0, 5 } ) );
   ASSERT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::ok );
   EXPECT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::exists );
   EXPECT_EQ( qualify( { 2 }, { 2 } ), Code::ok );
   EXPECT_TRUE( chip.matches( 7, { 0, 5 } ) ) << "the new qualifier waits";
   EXPECT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 0, 5 } ) );
   EXPECT_EQ( qualify( { 1 }, { 1, 2 } ), Code::ok );
   EXPECT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::ok );
   EXPECT_EQ( chip.fieldEntryInstall( unit, 8 ), Code::notFound );
   EXPECT_EQ( chip.fieldEntryInstall( unit + 1, 7 ), Code::unit );
   EXPECT_TRUE( chip.matches( 7, { 0, 5 } ) );
   EXPECT_FALSE( chip.matches( 7, { 0, 6 } ) );
   ASSERT_EQ( setGroup( 2, { 5 } ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 0, 5 } ) ) << "bit 2 must be clear";
   EXPECT_FALSE( chip.matches( 8, { 0, 5 } ) ) << "no such entry";
   ASSERT_EQ( chip.fieldEntryCreate( unit, 8, wholeValue ), Code::ok );
   ASSERT_EQ( chip.fieldEntryInstall( unit, 8 ), Code::ok );
   EXPECT_TRUE( chip.matches( 8, { 0, 6 } ) ) << "no qualifier matches every port";
}

TEST_F( Sdk6Chip, AQualifierStandsWhereTheFrameSays ) {
   const Sdk::QualifierFrame refused[] = {
      { .sourceTrunkMapTable = 8 },
      { .startBit = 3, .endBit = 2 },
      { .startBit = 0, .endBit = 60 },
      { .firstBit = 4, .startBit = 3, .endBit = 5 },
   };
   for ( const auto &frame : refused ) {
      EXPECT_EQ( chip.fieldEntryCreate( unit, 7, frame ), Code::parameter );
   }
   const Sdk::QualifierFrame frame = { .firstBit = 32, .startBit = 34, .endBit = 37 };
   ASSERT_EQ( chip.fieldEntryCreate( unit, 7, frame ), Code::ok );
   EXPECT_EQ( qualify( { 2 }, { 1, 2 } ), Code::parameter ) << "bit 33 is another group's";
   EXPECT_EQ( qualify( { 2 }, { 2, 6 } ), Code::parameter ) << "so is bit 38";
   ASSERT_EQ( qualify( { 2 }, { 2, 5 } ), Code::ok );
   ASSERT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::ok );
   EXPECT_EQ( chip.tcamEntries().at( 7 ).dataBits, Ports( { 34 } ) );
   EXPECT_EQ( chip.tcamEntries().at( 7 ).maskBits, Ports( { 34, 37 } ) );
   ASSERT_EQ( setGroup( 2, { 5 } ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 0, 5 } ) );
   ASSERT_EQ( setGroup( 34, { 5 } ), Code::ok );
   EXPECT_TRUE( chip.matches( 7, { 0, 5 } ) );
}

TEST_F( Sdk6Chip, AClassQualifierSeesTheLowHalfOfTheWordInItsTable ) {
   const QuarraModPort port( 1, 5 );
   for ( const U8 words : { U8{ 9 }, U8{ 10 } } ) {
      ASSERT_EQ( chip.fieldEntryCreate( unit, words, { .sourceTrunkMapTable = words } ), Code::ok );
      ASSERT_EQ( bcm_field_qualify_InterfaceClassPort( unit, words, 0x010, 0x0f0 ), Code::ok );
      EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit, words, 0x020, 0x010 ), Code::parameter );
      EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit, words, 0, 0x1000 ), Code::parameter );
      EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit + 1, words, 1, 1 ), Code::unit );
      EXPECT_EQ( chip.tcamEntries().at( words ).mask, 0x0f0u );
      ASSERT_EQ( chip.fieldEntryInstall( unit, words ), Code::ok );
   }
   ASSERT_EQ( chip.portTableSet( unit, 9, port, 0x00ff0f1f ), Code::ok );
   EXPECT_TRUE( chip.matches( 9, port ) );
   EXPECT_FALSE( chip.matches( 10, port ) );
   EXPECT_FALSE( chip.matches( 9, { 2, 5 } ) ) << "the same port of another module";
   ASSERT_EQ( chip.portTableSet( unit, 9, port, 0x00100030 ), Code::ok );
   EXPECT_FALSE( chip.matches( 9, port ) );
   EXPECT_EQ( chip.portTableSet( unit, 8, port, 1 ), Code::notFound );
   EXPECT_EQ( chip.portTableSet( unit, 9, QuarraModPort(), 1 ), Code::parameter );
   EXPECT_EQ( chip.portTableSet( unit + 1, 9, port, 1 ), Code::unit );
   EXPECT_EQ( chip.sourceTrunkMapWord( 9, port ), 0x00100030u );
}

// What a soak sees between two calls: the call, what it wrote, and the chip as it is then.
TEST_F( Sdk6Chip, AnObserverSeesEachCallAndWhatItWrote ) {
   ASSERT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   std::vector<std::tuple<std::string, int, U32, Ports, bool>> seen;
   chip.observerIs( [ & ]( const SdkCallSeen &call ) {
      seen.emplace_back( call.function, call.code, call.entry, call.ports, chip.matches( 7, { 0, 5 } ) );
   } );
   const auto writes = chip.portWrites();
   setGroup( 1, { 5, 6 } );
   setGroup( 1, { 6, 8 } );
   setGroup( 99, {} );
   qualify( { 1 }, { 1 } );
   chip.failCall( 1, Code::busy );
   chip.fieldEntryInstall( unit, 7 );
   chip.fieldEntryInstall( unit, 7 );
   chip.portTableSet( unit, 9, { 0, 5 }, 1 );
   setGroup( 1, { 5 } );
   const auto *const membership = "bcm_subport_port_group_subport_multi_set";
   EXPECT_EQ( seen, decltype( seen )( {
                       { membership, Code::ok, 0, { 5, 6 }, false },
                       { membership, Code::ok, 0, { 5, 8 }, false },
                       { membership, Code::parameter, 0, {}, false },
                       { "vm_field_qualify_SubportGroupIds", Code::ok, 7, {}, false },
                       { "fieldEntryInstall", Code::busy, 0, {}, false },
                       { "fieldEntryInstall", Code::ok, 7, {}, false },
                       { "portTableSet", Code::ok, 0, { 5 }, false },
                       { membership, Code::ok, 0, { 5, 6, 8 }, true },
                    } ) );
   EXPECT_EQ( chip.portWrites() - writes, 8u );
   chip.observerIs( {} );
   setGroup( 1, { 6 } );
   EXPECT_EQ( seen.size(), 8u );
   EXPECT_EQ( chip.portWrites() - writes, 10u );
}

TEST_F( Sdk6Chip, ShowsAclGroupValuesThatAreKeptElsewhere ) {
   Vesk::Bitmap value( 0, 64, Vesk::HBitmap::BitState::clear );
   value.set( 2 );
   setGroup( 1, { 5 } );
   const auto digest = chip.digest();
   chip.aclGroupsFrom( [ & ]( U32 port ) { return port == 6 ? &value : nullptr; } );
   EXPECT_EQ( chip.aclGroup( 6 ).setBits(), Ports( { 2 } ) );
   EXPECT_EQ( chip.aclGroup( 5 ).setBits(), Ports() );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports( { 6 } ) );
   EXPECT_EQ( chip.digest(), digest );
   chip.aclGroupsFrom( {} );
   EXPECT_EQ( chip.aclGroup( 5 ).setBits(), Ports( { 1 } ) );
}

TEST_F( Sdk6Chip, EveryWriteShowsInTheDigestUntilItIsTakenBack ) {
   std::set<std::string> digests = { "" };
   const auto isNew = [ & ]( int code ) { return !code && digests.insert( chip.digest() ).second; };
   EXPECT_TRUE( isNew( setGroup( 1, { 5 } ) ) );
   EXPECT_TRUE( isNew( chip.portTableSet( unit, 9, { 0, 5 }, 1 ) ) );
   EXPECT_TRUE( isNew( chip.portTableSet( unit, 10, { 0, 5 }, 1 ) ) );
   EXPECT_TRUE( isNew( chip.fieldEntryCreate( unit, 7, wholeValue ) ) );
   EXPECT_TRUE( isNew( qualify( { 1 }, { 1 } ) ) );
   EXPECT_TRUE( isNew( qualify( { 1 }, { 1, 2 } ) ) );
   EXPECT_TRUE( isNew( chip.fieldEntryInstall( unit, 7 ) ) );
   setGroup( 1, {} );
   chip.portTableSet( unit, 9, { 0, 5 }, 0 );
   chip.portTableSet( unit, 10, { 0, 5 }, 0 );
   chip.fieldEntryDestroy( unit, 7 );
   EXPECT_EQ( chip.digest(), "" );
}

TEST_F( Sdk6Chip, TheNthCallFailsOnceAndWithoutEffect ) {
   chip.failCall( 3, Code::timeout );
   chip.failCall( 2, Code::busy, "fieldEntryDestroy" );
   EXPECT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   EXPECT_EQ( chip.fieldEntryDestroy( unit, 7 ), Code::ok );
   EXPECT_EQ( chip.fieldEntryCreate( unit, 8, wholeValue ), Code::timeout );
   EXPECT_EQ( chip.pendingFailures(), 1u );
   EXPECT_EQ( chip.fieldEntryCreate( unit, 8, wholeValue ), Code::ok );
   EXPECT_EQ( chip.fieldEntryDestroy( unit, 8 ), Code::busy );
   EXPECT_EQ( chip.fieldEntryDestroy( unit, 8 ), Code::ok );
}

TEST_F( Sdk6Chip, AFailureThatNoCallCouldMeetAborts ) {
   EXPECT_DEATH( chip.failCall( 0, Code::busy ), "nth > 0" );
   EXPECT_DEATH( chip.failCall( 1, 0 ), "code: 0" );
   EXPECT_DEATH( chip.failCall( 1, Code::busy, "bcmlt_entry_fee" ), "function: bcmlt_entry_fee" );
}

TEST_F( Sdk6Chip, PortBitmapsHoldTheirPortsAndPrintInFull ) {
   const std::map<Sdk::PbmpKind, std::set<U32>> expected = {
      { Sdk::PbmpKind::ethernet, { 1, 2, 31, 32 } },
      { Sdk::PbmpKind::frontPanel, { 1, 2, 31, 32 } },
      { Sdk::PbmpKind::cpu, { 0 } },
      { Sdk::PbmpKind::loopback, { 2047 } },
      { Sdk::PbmpKind::all, { 0, 1, 2, 31, 32, 2047 } },
   };
   for ( const auto &[ kind, ports ] : expected ) {
      for ( U32 port = 0; port < 2100; ++port ) {
         EXPECT_EQ( chip.pbmpMember( chip.pbmp( unit, kind ), port ), ports.contains( port ) ) << port;
      }
   }
   std::vector<char> text( chip.pbmpFormatLength() + 1, '?' );
   chip.pbmpFormat( chip.pbmp( unit, Sdk::PbmpKind::all ), text.data() );
   EXPECT_STREQ( text.data(), ( "0x8" + std::string( 512 - 1 - 16, '0' ) + "0000000180000007" ).c_str() );
   EXPECT_EQ( text.back(), '?' );
   bcm_pbmp_t pbmp{};
   EXPECT_DEATH( chip.pbmpPortAdd( pbmp, 2048 ), "port: 2048" );
}

} // namespace
} // namespace QuarraSimulator
