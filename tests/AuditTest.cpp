#include "agent/Audit.h"

#include "tests/Lasting.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

using Kind = Drift::Kind;

// What an audit finds on a chip that was damaged, and what a repair writes.
class AuditTexts : public ::testing::Test {
 protected:
   static std::string text( const Audited &audited ) {
      Nodra::Text text;
      for ( const auto &drift : audited.drifts ) {
         text << std::string( stringValue( drift.kind ) ) << " entry " << drift.entry << " port "
              << drift.port << " bit " << drift.bit << " table " << drift.table << ": " << drift.expected
              << ", found " << drift.found << "\n";
      }
      return text.string();
   }
};

class AuditTest : public AuditTexts, public ::testing::WithParamInterface<std::string> {
 protected:
   AuditTest() : lasting( QuarraLab::defaultChoice( GetParam() ), false ) {
      auto &agent = lasting.agent();
      for ( const U16 group : std::vector<U16>{ 16, 17, 238 } ) {
         if ( !QuarraTcam::classIdTcamGroupsInfo.contains( TcamGroupId( group ) ) ) {
            continue;
         }
         groups.push_back( group );
         agent.createGroup( TcamGroupId( group ) );
         for ( U32 entry = 1; entry <= 3; ++entry ) {
            agent.install( { .group = TcamGroupId( group ),
                             .entry = group * 10 + entry,
                             .ports = { { 0, entry }, { 0, 10 + entry } },
                             .rule = {} } );
         }
      }
      digest = lasting.chip().digest();
   }

   // Repairs; the chip must hold again what it held, by no more than `most` writes.
   void repaired( U64 most ) {
      const U64 before = writes( lasting.chip() );
      repair( lasting.agent() );
      const U64 made = writes( lasting.chip() ) - before;
      EXPECT_LE( made, most );
      EXPECT_EQ( lasting.chip().digest(), digest );
      EXPECT_TRUE( audit( lasting.agent() ).drifts.empty() );
   }

   bool bitsOnChip() const { return GetParam() != "testSdk6"; }

   Lasting lasting;
   std::vector<U16> groups;
   std::string digest;
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, AuditTest, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST_P( AuditTest, AChipThatHoldsWhatItShouldHasNoDriftAndIsNotWritten ) {
   const auto audited = audit( lasting.agent() );
   EXPECT_EQ( text( audited ), "" );
   EXPECT_EQ( audited.entries, groups.size() * 3 );
   EXPECT_EQ( audited.readsBits, bitsOnChip() );
   repaired( 0 );
}

TEST_P( AuditTest, EntriesThatAreGoneStrangeOrWrongAreNamedAndMended ) {
   auto &chip = lasting.chip();
   chip.tcamEntryDel( 161 );
   auto wrong = chip.tcamEntries().at( 162 );
   wrong.dataBits = { wrong.maskBits.back() + 1 };
   wrong.maskBits = wrong.dataBits;
   chip.tcamEntryIs( 162, wrong );
   chip.tcamEntryIs( 999, {} );
   const auto audited = audit( lasting.agent() );
   ASSERT_EQ( audited.drifts.size(), 3u ) << text( audited );
   EXPECT_EQ( audited.drifts[ 0 ].kind, Kind::entryMissing );
   EXPECT_EQ( audited.drifts[ 0 ].entry, 161u );
   EXPECT_EQ( audited.drifts[ 0 ].found, "nothing" );
   EXPECT_EQ( audited.drifts[ 1 ].kind, Kind::qualifier );
   EXPECT_THAT( audited.drifts[ 1 ].expected, ::testing::StartsWith( "data bits " ) );
   EXPECT_NE( audited.drifts[ 1 ].expected, audited.drifts[ 1 ].found );
   EXPECT_EQ( audited.drifts[ 2 ].kind, Kind::entryUnknown );
   EXPECT_EQ( audited.drifts[ 2 ].entry, 999u );
   repaired( 3 + 2 + 1 ); // made, qualified and installed; qualified and installed; destroyed
}

// An entry that is on the chip, and not as it should be: what is said of it, and that it is mended by no more
// writes than that takes.
TEST_P( AuditTest, AnEntryThatIsThereIsHeldAgainstAllThatItShouldBe ) {
   using Entry = QuarraSimulator::TcamEntry;
   struct Case {
      void ( *harm )( Entry & );
      const char *expected, *found; // their ends
      U64 writes;
   };
   const Case cases[] = {
      { []( Entry &entry ) { entry.installed = false; }, ", installed", ", not installed", 2 },
      { []( Entry &entry ) { entry = { .frame = entry.frame, .installed = true }; }, "", "no qualifier", 2 },
      { []( Entry &entry ) { entry = { .frame = entry.frame }; }, ", installed",
        "no qualifier, not installed", 2 },
      { []( Entry &entry ) { --entry.frame.endBit; }, "", "", 4 },
      { []( Entry &entry ) { entry.dataBits.clear(); }, "", "", 2 },
      { []( Entry &entry ) { entry.maskBits.push_back( entry.maskBits.back() + 1 ); }, "", "", 2 },
      { []( Entry &entry ) {
          entry = { .frame = { .sourceTrunkMapTable = 9 },
                    .installed = true,
                    .kind = Entry::Kind::interfaceClassPort,
                    .data = 1,
                    .mask = 3 };
       },
        "", "class data 0x1 mask 0x3", 4 },
   };
   for ( const auto &item : cases ) {
      auto entry = lasting.chip().tcamEntries().at( 162 );
      item.harm( entry );
      lasting.chip().tcamEntryIs( 162, entry );
      const auto audited = audit( lasting.agent() );
      ASSERT_EQ( audited.drifts.size(), 1u ) << text( audited );
      const auto &drift = audited.drifts[ 0 ];
      EXPECT_EQ( drift.kind, Kind::qualifier );
      EXPECT_THAT( drift.expected, ::testing::EndsWith( item.expected ) );
      EXPECT_THAT( drift.found, ::testing::EndsWith( item.found ) );
      EXPECT_NE( drift.expected, drift.found ) << "whatever is different, it is said";
      repaired( item.writes );
   }
}

TEST_P( AuditTest, BitsOfPortsAreNamedAndOnlyThoseAreWritten ) {
   auto &chip = lasting.chip();
   auto damaged = chip.aclGroup( 2 );
   damaged.set( 40 );
   chip.aclGroupIs( 2, damaged );
   const auto carried = chip.aclGroup( 13 ).setBits();
   chip.aclGroupIs( 13, Vesk::Bitmap( 0, damaged.size(), Vesk::HBitmap::BitState::clear ) );
   const auto audited = audit( lasting.agent() );
   if ( !bitsOnChip() ) {
      EXPECT_TRUE( audited.drifts.empty() ) << "the twin leaves the chip's bits alone";
      return;
   }
   ASSERT_EQ( audited.drifts.size(), 1 + carried.size() ) << text( audited );
   EXPECT_EQ( audited.drifts[ 0 ].port, 2 );
   EXPECT_EQ( audited.drifts[ 0 ].bit, 40 );
   EXPECT_EQ( audited.drifts[ 0 ].expected + audited.drifts[ 0 ].found, "01" );
   EXPECT_EQ( audited.drifts[ 1 ].port, 13 );
   EXPECT_EQ( audited.drifts[ 1 ].bit, carried[ 0 ] );
   // SDK6 writes a bit at a time, HSDK a port.
   repaired( GetParam() == "sdk6" ? 1 + carried.size() : 2 );
}

TEST_P( AuditTest, WordsOfPortTablesAreNamedAndMended ) {
   if ( GetParam() != "testSdk6" ) {
      return; // the one with a group of words that takes its keys on demand
   }
   auto &chip = lasting.chip();
   const U32 before = chip.sourceTrunkMapWord( 10, { 0, 1 } );
   chip.sourceTrunkMapWordIs( 10, { 0, 1 }, before ^ 0x8000 );
   chip.sourceTrunkMapWordIs( 9, { 0, 77 }, 3 );
   const auto audited = audit( lasting.agent() );
   ASSERT_EQ( audited.drifts.size(), 2u ) << text( audited );
   EXPECT_EQ( audited.drifts[ 0 ].table, 9 );
   EXPECT_EQ( audited.drifts[ 0 ].port, 77 );
   EXPECT_EQ( audited.drifts[ 0 ].expected + " " + audited.drifts[ 0 ].found, "0x0 0x3" );
   EXPECT_EQ( audited.drifts[ 1 ].table, 10 );
   repaired( 2 );
}

class AuditOfHistories : public AuditTexts, public ::testing::WithParamInterface<std::string> {};

INSTANTIATE_TEST_SUITE_P( EveryVariant, AuditOfHistories, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

// The chip of a history that went wrong nowhere never drifts: what the agent believes is what the chip holds.
TEST_P( AuditOfHistories, LeavesNoDrift ) {
   for ( U64 seed = 300; seed < 304; ++seed ) {
      const auto history = makeHistory( GetParam(), seed, 60 );
      Lasting other( history.choice, false );
      for ( const auto &operation : history.operations ) {
         carryOut( other.agent(), operation );
      }
      EXPECT_EQ( text( audit( other.agent() ) ), "" ) << "seed " << seed;
   }
}

// A twin without its shadow would be neither restored nor compared.
TEST( Variants, EveryTwinSaysWhatItsShadowIs ) {
   for ( const auto &variant : QuarraAgent::variants() ) {
      EXPECT_EQ( variant.twin, variant.shadow != nullptr ) << variant.name;
      EXPECT_TRUE( variant.shadow || !variant.aclGroupOf ) << variant.name;
   }
}

} // namespace
} // namespace QuarraTest
