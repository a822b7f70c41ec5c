#include "tests/ChipOfTests.h"

#include <algorithm>
#include <optional>

namespace QuarraSimulator {
namespace {

constexpr auto bitmapField = "ACL_GROUP_BITMAP";

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

// A failed look-up is remembered by its port. A failed call without a handle, without a port, or of another
// kind is not.
TEST_F( HsdkChip, OnlyAFailedLookUpOfAPortIsRemembered ) {
   const auto fails = [ this ]( U32 handle, Sdk::Opcode opcode ) {
      chip.failCall( 1, Code::internal );
      EXPECT_EQ( commit( handle, opcode ), Code::internal );
      return chip.failedLookUps();
   };
   EXPECT_EQ( fails( 999, Sdk::Opcode::lookup ), std::set<U32>() ) << "no such handle";
   const U32 nameless = allocate();
   EXPECT_EQ( fails( nameless, Sdk::Opcode::lookup ), std::set<U32>() );
   const U32 handle = allocate( 7 );
   EXPECT_EQ( fails( handle, Sdk::Opcode::insert ), std::set<U32>() );
   EXPECT_EQ( fails( handle, Sdk::Opcode::lookup ), std::set<U32>{ 7 } );
   bcmlt_entry_free( nameless );
   bcmlt_entry_free( handle );
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

} // namespace
} // namespace QuarraSimulator
