#include "tests/ChipOfTests.h"

#include <iterator>
#include <optional>
#include <set>

namespace QuarraSimulator {
namespace {

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
