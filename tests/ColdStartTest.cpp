#include <fstream>

#include <sqlite3.h>

#include "agent/Audit.h"
#include "lab/ChipImage.h"
#include "lab/Switch.h"
#include "lab/SwitchDir.h"
#include "soak/Child.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

using QuarraLab::Switch;
using QuarraLab::SwitchDir;

constexpr U32 entries = 9;

// A switch with entries, whose store is of no use any more.
class ColdStart : public ::testing::TestWithParam<std::string> {
 protected:
   ColdStart() { fill( *std::make_unique<Switch>( std::make_unique<SwitchDir>( path, choice ) ) ); }

   static void fill( Switch &theSwitch ) {
      for ( U32 entry = 1; entry <= entries; ++entry ) {
         const TcamGroupId group( entry % 2 ? 16 : 17 );
         theSwitch.agent().createGroup( group );
         theSwitch.agent().install( { .group = group,
                                      .entry = entry,
                                      .ports = { { 0, entry }, { 0, entry + 20 } },
                                      .rule = {},
                                      .label = "T|R" + std::to_string( entry ) } );
      }
   }

   std::string refusal() {
      try {
         Switch( std::make_unique<SwitchDir>( path, choice ) );
      } catch ( const StoreRefused &refused ) {
         return refused.code();
      }
      return "ok";
   }

   std::unique_ptr<Switch> startCold( U64 failingCall = 0 ) {
      auto dir = std::make_unique<SwitchDir>(
         path,
         [ & ]( const auto &kept ) {
            auto chosen = kept ? QuarraLab::ChipChoice{ choice.variant, kept->chip } : choice;
            if ( failingCall ) {
               chosen.failures.push_back( { failingCall, -1, {} } );
            }
            return chosen;
         },
         StoreOptions() );
      return std::make_unique<Switch>( std::move( dir ) );
   }

   void sql( const std::string &statement ) {
      sqlite3 *database = nullptr;
      ASSERT_EQ( sqlite3_open( ( path + "/store.db" ).c_str(), &database ), SQLITE_OK );
      EXPECT_EQ( sqlite3_exec( database, statement.c_str(), nullptr, nullptr, nullptr ), SQLITE_OK );
      sqlite3_close( database );
   }

   static std::string state( const Switch &theSwitch ) {
      return stateText( theSwitch.agent().manager(), theSwitch.chip() );
   }

   // What an empty switch becomes with these entries.
   std::string freshState() {
      Switch theSwitch( choice );
      fill( theSwitch );
      return state( theSwitch );
   }

   Directory directory;
   const std::string path = directory.file( "switch" );
   const QuarraLab::ChipChoice choice = QuarraLab::defaultChoice( GetParam() );
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, ColdStart, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST_P( ColdStart, BringsBackWhatCanStillBeRead ) {
   struct Harm {
      const char *what;
      std::function<void()> make;
      const char *code;
      U64 back;
   };
   const Harm harms[] = {
      { "none", [] {}, "ok", entries },
      { "newer", [ & ] { sql( "PRAGMA user_version = 99" ); }, "storeNewer", entries },
      { "a row", [ & ] { sql( "UPDATE entry SET label = 'X' WHERE entry = 4" ); }, "storeDamaged",
        entries - 1 },
      { "a table", [ & ] { sql( "DROP TABLE pool" ); }, "storeDamaged", entries },
      { "other reservations", [ & ] { sql( "DELETE FROM startUp" ); }, "ok", entries },
      { "no store", [ & ] { std::filesystem::remove( path + "/store.db" ); }, "storeMissing", 0 },
      { "no database", [ & ] { std::ofstream( path + "/store.db" ) << "Dear Sir"; }, "storeDamaged", 0 },
   };
   for ( const auto &harm : harms ) {
      SCOPED_TRACE( harm.what );
      std::filesystem::remove_all( path );
      fill( *std::make_unique<Switch>( std::make_unique<SwitchDir>( path, choice ) ) );
      harm.make();
      if ( std::string( harm.what ) != "other reservations" ) {
         EXPECT_EQ( refusal(), harm.code );
      } else {
         EXPECT_NE( refusal(), "ok" );
      }
      {
         const auto theSwitch = startCold();
         const auto &cold = *theSwitch->dir()->coldStarted();
         EXPECT_EQ( cold.back, harm.back );
         EXPECT_EQ( cold.taken, entries ) << "the chip's entries, all of them";
         EXPECT_EQ( cold.unreadable, harm.back == entries - 1 ? 1u : 0u );
         EXPECT_EQ( theSwitch->agent().entries().size(), harm.back );
         EXPECT_TRUE( audit( theSwitch->agent() ).drifts.empty() );
      }
      EXPECT_EQ( refusal(), "ok" );
   }
}

TEST_P( ColdStart, EndsAsAnEmptySwitchThatGetsTheEntries ) {
   sql( "PRAGMA user_version = 99" );
   const auto now = state( *startCold() );
   EXPECT_EQ( now, freshState() );
}

// A chip whose tables are of no use is one that was reset; one that cannot be opened, or is another, is left
// alone.
TEST_P( ColdStart, ResetsAChipWhoseTablesAreOfNoUse ) {
   namespace fs = std::filesystem;
   const auto chip = path + "/chip";
   const auto expected = freshState();
   const std::function<void()> harms[] = {
      [ & ] { fs::remove( chip ); },
      [ & ] { fs::resize_file( chip, 5000 ); },
      [ & ] { std::ofstream( chip ) << "Dear Sir"; },
   };
   for ( const auto &harm : harms ) {
      harm();
      EXPECT_NE( refusal(), "ok" );
      const auto theSwitch = startCold();
      const auto &cold = theSwitch->dir()->coldStarted();
      EXPECT_TRUE( cold->chipWasReset );
      EXPECT_EQ( cold->taken, 0u );
      EXPECT_EQ( cold->back, entries );
      EXPECT_EQ( state( *theSwitch ), expected );
   }
   EXPECT_EQ( refusal(), "ok" );
   const auto refusedCold = [ & ] {
      try {
         startCold();
      } catch ( const StoreRefused &refused ) {
         return refused.code();
      }
      return std::string( "ok" );
   };
   fs::remove( chip );
   auto other = QuarraLab::chipOptions( *choice.variant, choice.chip );
   --other.aclGroupBits;
   QuarraLab::ChipImage::make( chip, other );
   EXPECT_EQ( refusedCold(), "storeOfAnother" );
   fs::remove( chip );
   fs::create_directory( chip );
   EXPECT_EQ( refusedCold(), "storeFailed" );
   EXPECT_TRUE( fs::is_directory( chip ) );
}

// An entry that still compares old bits while new ones are put on the ports matches what nobody asked for.
TEST_P( ColdStart, TakesAllEntriesOffBeforeTheFirstBitAndTheFirstEntryChanges ) {
   auto opened = std::make_unique<SwitchDir>(
      path, [ & ]( const auto & ) { return choice; }, StoreOptions() );
   const auto chip = QuarraLab::makeChip( *choice.variant, choice.chip );
   bool somethingBefore = false;
   U64 entriesTaken = 0;
   opened->start( *chip, [ & ]( const QuarraSimulator::SdkCallSeen &seen ) {
      entriesTaken += seen.function == "fieldEntryDestroy";
      somethingBefore |=
         ( !seen.ports.empty() || seen.function == "fieldEntryCreate" ) && entriesTaken < entries;
   } );
   QuarraAgent::TcamAgent agent( *choice.variant, choice.chip,
                                 QuarraTcam::quarraTcamPortsManagerFactory( "manager" ) );
   QuarraLab::showAclGroupsOf( *choice.variant, agent.manager().portsHelper(), *chip );
   const auto dir = std::move( opened ); // goes first
   dir->start( agent );
   EXPECT_EQ( agent.entries().size(), entries );
   EXPECT_EQ( entriesTaken, entries );
   EXPECT_FALSE( somethingBefore );
}

// Dead at any SDK call of a cold start: the switch is refused until it starts cold again, and then is whole.
TEST_P( ColdStart, MayDieAtAnyCallAndIsDoneAgain ) {
   sql( "PRAGMA user_version = 99" );
   const auto expected = freshState();
   const auto die = [ & ]( U64 call ) {
      QuarraSoak::Child child( [ & ]( std::FILE * ) {
         startCold( call );
         return 0;
      } );
      return child.end().aborted();
   };
   U32 deaths = 0;
   for ( U64 call = 1; call < 1500; call += 1 + call / 2 ) {
      const bool died = die( call ); // of a look-up that fails, an HSDK chip's agent does not die
      deaths += died;
      EXPECT_EQ( refusal() == "ok", !died ) << "at call " << call;
   }
   EXPECT_GE( deaths, 5u );
   EXPECT_EQ( state( *startCold() ), expected );
}

TEST_P( ColdStart, LeavesADirectoryAloneThatIsNoSwitch ) {
   std::filesystem::remove_all( path );
   std::filesystem::create_directory( path );
   std::ofstream( path + "/letter" ) << "Dear Sir";
   EXPECT_THROW( startCold(), StoreRefused );
   EXPECT_TRUE( std::filesystem::exists( path + "/letter" ) );
}

} // namespace
} // namespace QuarraTest
