#include "simulator/SimulatedChip.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <set>

namespace QuarraSimulator {
namespace {

using enum Generation;
using QuarraCentral::QuarraModPort;
using Ports = std::vector<U32>;

constexpr int unit = 3;
constexpr auto table = "ING_SYSTEM_PORT_TABLE";
constexpr auto key = "SYSTEM_SOURCE";
constexpr auto bitmapField = "ACL_GROUP_BITMAP";
constexpr Sdk::QualifierFrame wholeValue = { .firstBit = 0, .startBit = 0, .endBit = 59 };

// 60 ACL-group bits, 12 class bits, 100 system ports.
ChipOptions optionsOf( Generation generation ) {
   const auto systemPort = []( auto port ) { return port.modId().value() * 20u + port.port(); };
   return { generation, unit, 60, 12, 100, systemPort, { 1, 2, 31, 32 }, { 0 }, { 2047 } };
}

int setGroup( U32 group, const Ports &ports, int onUnit = unit ) {
   return bcm_subport_port_group_subport_multi_set( onUnit, group, static_cast<U32>( ports.size() ),
                                                    ports.data() );
}

// A chip on which no test leaks a handle, or asks for a failure that no call meets.
struct Chip : testing::Test {
   explicit Chip( Generation generation ) : chip( optionsOf( generation ) ) {}

   void TearDown() override {
      EXPECT_EQ( chip.liveHandleTexts(), std::vector<std::string>() );
      EXPECT_EQ( chip.pendingFailures(), 0u );
   }

   SimulatedChip chip;
};

struct Sdk6Chip : Chip {
   Sdk6Chip() : Chip( sdk6 ) {}

   int qualify( const Ports &data, const Ports &mask, int onUnit = unit ) {
      return vm_field_qualify_SubportGroupIds( onUnit, 7, static_cast<U32>( data.size() ), data.data(),
                                               static_cast<U32>( mask.size() ), mask.data() );
   }
};

struct HsdkChip : Chip {
   HsdkChip() : Chip( hsdk ) {}

   U32 allocate( std::optional<U64> systemPort = {} ) {
      U32 handle = 0;
      EXPECT_EQ( bcmlt_entry_allocate( unit, table, &handle ), Code::ok );
      EXPECT_EQ( systemPort ? bcmlt_entry_field_add( handle, key, *systemPort ) : Code::ok, Code::ok );
      return handle;
   }

   int commit( U32 handle, Sdk::Opcode opcode ) {
      return bcmlt_entry_commit( handle, chip.opcode( opcode ), chip.priorityNormal() );
   }

   std::optional<U64> field( U32 handle, const char *name ) {
      U64 value = 0;
      return bcmlt_entry_field_get( handle, name, &value ) < 0 ? std::nullopt : std::optional( value );
   }

   int write( U64 systemPort, Sdk::Opcode opcode, const char *name, U64 value ) {
      const U32 handle = allocate( systemPort );
      EXPECT_EQ( bcmlt_entry_field_add( handle, name, value ), Code::ok );
      const int code = commit( handle, opcode );
      return bcmlt_entry_free( handle ) < 0 ? Code::internal : code;
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

TEST_F( HsdkChip, InsertionUpdateAndLookupMindWhatTheTableHolds ) {
   EXPECT_EQ( write( 5, Sdk::Opcode::lookup, bitmapField, 1 ), Code::notFound );
   EXPECT_EQ( write( 5, Sdk::Opcode::update, bitmapField, 1 ), Code::notFound );
   EXPECT_EQ( chip.tableEntries(), Ports() );
   EXPECT_EQ( write( 5, Sdk::Opcode::insert, bitmapField, 2 ), Code::ok );
   EXPECT_EQ( write( 5, Sdk::Opcode::insert, bitmapField, 4 ), Code::exists );
   EXPECT_EQ( write( 5, Sdk::Opcode::lookup, bitmapField, 8 ), Code::ok );
   EXPECT_EQ( chip.aclGroup( 5 ).setBits(), Ports( { 1 } ) );
   EXPECT_EQ( write( 5, Sdk::Opcode::update, "ACL_GROUP_CLASS_ID_0", 0x8001 ), Code::ok );
   EXPECT_EQ( chip.aclGroup( 5 ).setBits(), Ports( { 1, 32, 47 } ) );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports( { 5 } ) );
}

// Two owners share a port's entry, each with a field of its own. An update that wrote back what its look-up
// had filled would undo the other's.
TEST_F( HsdkChip, AnUpdateWritesOnlyTheFieldsThatWereAdded ) {
   ASSERT_EQ( write( 5, Sdk::Opcode::insert, bitmapField, 1 ), Code::ok );
   const U32 handle = allocate( 5 );
   ASSERT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_1", 9 ), Code::ok );
   ASSERT_EQ( commit( handle, Sdk::Opcode::lookup ), Code::ok );
   EXPECT_EQ( field( handle, bitmapField ), 1u );
   EXPECT_EQ( field( handle, "ACL_GROUP_CLASS_ID_1" ), 0u ) << "what the table holds";
   ASSERT_EQ( write( 5, Sdk::Opcode::update, bitmapField, 2 ), Code::ok );
   ASSERT_EQ( write( 5, Sdk::Opcode::update, "ACL_GROUP_CLASS_ID_1", 7 ), Code::ok );
   ASSERT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_0", 3 ), Code::ok );
   ASSERT_EQ( commit( handle, Sdk::Opcode::update ), Code::ok );
   ASSERT_EQ( commit( handle, Sdk::Opcode::lookup ), Code::ok );
   EXPECT_EQ( field( handle, bitmapField ), 2u );
   EXPECT_EQ( field( handle, "ACL_GROUP_CLASS_ID_0" ), 3u );
   EXPECT_EQ( field( handle, "ACL_GROUP_CLASS_ID_1" ), 7u );
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::ok );
}

TEST_F( HsdkChip, AnEntryOfZerosIsAnEntryThatTheDigestLeavesOut ) {
   ASSERT_EQ( write( 99, Sdk::Opcode::insert, bitmapField, 1 ), Code::ok );
   EXPECT_NE( chip.digest(), "" );
   ASSERT_EQ( write( 99, Sdk::Opcode::update, bitmapField, 0 ), Code::ok );
   EXPECT_EQ( chip.digest(), "" );
   EXPECT_EQ( chip.tableEntries(), Ports( { 99 } ) );
   EXPECT_EQ( chip.portsWithAclGroup(), Ports() );
}

// A library that also set bit 159 on chips of fewer bits passed every test: the table took what the chip's
// qualifiers can never see.
TEST_F( HsdkChip, FieldsTakeNoBitPastTheChipsOwnValue ) {
   const U32 handle = allocate( 5 );
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_1", 0x1000 ), Code::parameter ) << "bit 60";
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_1", 0x0fff ), Code::ok );
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_7", 0x8000 ), Code::parameter ) << "bit 159";
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_7", 0 ), Code::ok ) << "nothing is set";
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::ok );
}

TEST_F( HsdkChip, FieldsTakeOnlyWhatFitsAndGiveOnlyWhatTheyHave ) {
   const U32 handle = allocate();
   EXPECT_EQ( bcmlt_entry_field_add( handle, key, 100 ), Code::parameter );
   EXPECT_EQ( bcmlt_entry_field_add( handle, bitmapField, U64{ 1 } << 32 ), Code::parameter );
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_0", 0x10000 ), Code::parameter );
   EXPECT_EQ( bcmlt_entry_field_add( handle, "ACL_GROUP_CLASS_ID_8", 0 ), Code::notFound );
   EXPECT_EQ( field( handle, bitmapField ), std::nullopt );
   EXPECT_EQ( bcmlt_entry_field_add( handle, bitmapField, 0xffffffff ), Code::ok );
   EXPECT_EQ( field( handle, bitmapField ), 0xffffffffu );
   EXPECT_EQ( bcmlt_entry_field_get( handle, bitmapField, nullptr ), Code::parameter );
   EXPECT_EQ( commit( handle, Sdk::Opcode::insert ), Code::parameter ) << "no key yet";
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::ok );
}

TEST_F( HsdkChip, OnlyTheShimsOwnNumbersAreOpcodesAndPriority ) {
   const U32 handle = allocate( 5 );
   const int insert = chip.opcode( Sdk::Opcode::insert );
   const int normal = chip.priorityNormal();
   for ( const int guess : { 0, 1, 2 } ) {
      EXPECT_EQ( bcmlt_entry_commit( handle, guess, normal ), Code::parameter ) << guess;
      EXPECT_EQ( bcmlt_entry_commit( handle, insert, guess ), Code::parameter ) << guess;
   }
   EXPECT_EQ( bcmlt_entry_commit( handle, normal, insert ), Code::parameter );
   EXPECT_EQ( bcmlt_entry_commit( handle, insert, normal ), Code::ok );
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::ok );
}

TEST_F( HsdkChip, AFreedHandleIsNoHandle ) {
   const U32 handle = allocate( 5 );
   EXPECT_EQ( chip.liveHandleTexts().at( 0 ), std::to_string( handle ) + " ING_SYSTEM_PORT_TABLE 5" );
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::ok );
   const U32 next = allocate();
   EXPECT_EQ( bcmlt_entry_free( handle ), Code::notFound );
   EXPECT_EQ( bcmlt_entry_field_add( handle, key, 5 ), Code::notFound );
   EXPECT_EQ( bcmlt_entry_field_get( handle, key, nullptr ), Code::notFound );
   EXPECT_EQ( commit( handle, Sdk::Opcode::insert ), Code::notFound );
   EXPECT_EQ( bcmlt_entry_free( next ), Code::ok );
   U32 none = 0;
   EXPECT_EQ( bcmlt_entry_allocate( unit, "EGR_SYSTEM_PORT_TABLE", &none ), Code::notFound );
   EXPECT_EQ( bcmlt_entry_allocate( unit, table, nullptr ), Code::parameter );
   EXPECT_EQ( bcmlt_entry_allocate( unit + 1, table, &none ), Code::unit );
   EXPECT_EQ( none, 0u );
}

TEST_F( HsdkChip, HandlesRunOutAndComeBack ) {
   std::vector<U32> handles( 1024 );
   std::generate( handles.begin(), handles.end(), [ & ] { return allocate(); } );
   U32 none = 0;
   EXPECT_EQ( bcmlt_entry_allocate( unit, table, &none ), Code::memory );
   std::for_each( handles.begin(), handles.end(), bcmlt_entry_free );
   EXPECT_EQ( bcmlt_entry_free( allocate() ), Code::ok );
}

TEST_F( HsdkChip, AQualifierSeesTheSystemPortsValue ) {
   const U32 data[] = { 2, 33 };
   const U32 mask[] = { 2, 3, 33 };
   ASSERT_EQ( chip.fieldEntryCreate( unit, 7, wholeValue ), Code::ok );
   EXPECT_EQ( velmor_bcm_field_qualify_SubportGroupIds( unit, 7, 2, data, 3, mask, 64 ), Code::parameter );
   ASSERT_EQ( velmor_bcm_field_qualify_SubportGroupIds( unit, 7, 2, data, 3, mask, 60 ), Code::ok );
   ASSERT_EQ( chip.fieldEntryInstall( unit, 7 ), Code::ok );
   ASSERT_EQ( write( 45, Sdk::Opcode::insert, bitmapField, 0x4 ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 2, 5 } ) );
   ASSERT_EQ( write( 45, Sdk::Opcode::update, "ACL_GROUP_CLASS_ID_0", 0x2 ), Code::ok );
   EXPECT_TRUE( chip.matches( 7, { 2, 5 } ) );
   EXPECT_FALSE( chip.matches( 7, { 0, 5 } ) );
   ASSERT_EQ( write( 45, Sdk::Opcode::update, bitmapField, 0xc ), Code::ok );
   EXPECT_FALSE( chip.matches( 7, { 2, 5 } ) );
}

// Every function, with arguments that a chip refuses; and the generation that has it, when the other has not.
const struct {
   std::string name;
   int ( *call )();
   std::optional<Generation> generation = {};
} functions[] = {
   { "bcm_subport_port_group_subport_multi_set", [] { return setGroup( 99, {} ); }, sdk6 },
   { "vm_field_qualify_SubportGroupIds",
     [] { return vm_field_qualify_SubportGroupIds( unit, 1, 0, nullptr, 0, nullptr ); }, sdk6 },
   { "velmor_bcm_field_qualify_SubportGroupIds",
     [] { return velmor_bcm_field_qualify_SubportGroupIds( unit, 1, 0, nullptr, 0, nullptr, 60 ); }, hsdk },
   { "bcmlt_entry_allocate", [] { return bcmlt_entry_allocate( unit, "", nullptr ); }, hsdk },
   { "bcmlt_entry_field_add", [] { return bcmlt_entry_field_add( 0, key, 0 ); }, hsdk },
   { "bcmlt_entry_field_get", [] { return bcmlt_entry_field_get( 0, key, nullptr ); }, hsdk },
   { "bcmlt_entry_commit", [] { return bcmlt_entry_commit( 0, 0, 0 ); }, hsdk },
   { "bcmlt_entry_free", [] { return bcmlt_entry_free( 0 ); }, hsdk },
   { "bcm_field_qualify_InterfaceClassPort",
     [] { return bcm_field_qualify_InterfaceClassPort( unit, 1, 0, 0 ); } },
   { "fieldEntryCreate", [] { return SdkShim->fieldEntryCreate( unit, 0, wholeValue ); } },
   { "fieldEntryDestroy", [] { return SdkShim->fieldEntryDestroy( unit, 0 ); } },
   { "portTableSet", [] { return SdkShim->portTableSet( unit, 0, {}, 0 ); } },
};

TEST( SimulatedChip, LacksTheOtherGenerationsFunctionsAndCountsAndFailsAll ) {
   for ( const Generation own : { sdk6, hsdk } ) {
      SimulatedChip chip( optionsOf( own ) );
      for ( const auto &[ name, call, generation ] : functions ) {
         const int code = call();
         EXPECT_LT( code, 0 ) << name;
         EXPECT_EQ( code == Code::unavailable, generation && *generation != own ) << name;
         chip.failCall( 1, Code::busy, name );
         EXPECT_EQ( call(), Code::busy ) << name;
         EXPECT_EQ( chip.callCounts()[ name ], 2u ) << name;
      }
      EXPECT_EQ( chip.calls(), 2 * std::size( functions ) );
   }
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

TEST( SimulatedChip, IsTheOneChipWhileItLives ) {
   auto chip = std::make_unique<SimulatedChip>( optionsOf( sdk6 ) );
   EXPECT_EQ( SdkShim, chip.get() );
   EXPECT_EQ( SdkShim->vmSingleUnit(), unit );
   EXPECT_DEATH( SimulatedChip( optionsOf( sdk6 ) ), "SdkShim" );
   chip.reset();
   EXPECT_EQ( SdkShim, nullptr );
   EXPECT_EQ( setGroup( 1, { 5 } ), Code::unit );
}

TEST( SimulatedChip, WithoutClassBitsHasNoClassQualifier ) {
   const SimulatedChip chip( { .unit = unit, .sourceTrunkMapBits = 0 } );
   EXPECT_EQ( bcm_field_qualify_InterfaceClassPort( unit, 7, 0, 0 ), Code::unavailable );
}

TEST( SimulatedChip, HasATextOfItsOwnForEveryCode ) {
   EXPECT_STREQ( errorText( Code::conflict - 1 ), "Unknown error" );
   std::set<std::string> texts = { "Unknown error" };
   for ( int code = Code::ok; code >= Code::conflict; --code ) {
      EXPECT_TRUE( texts.insert( errorText( code ) ).second ) << errorText( code );
   }
}

} // namespace
} // namespace QuarraSimulator
