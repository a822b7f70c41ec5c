#include <fstream>

#include <sqlite3.h>

#include "lab/ChipFile.h"
#include "soak/Child.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

// The code with which a store is refused; its message is in `message`.
class StoreTest : public ::testing::Test {
 protected:
   std::string refusalOf( const std::function<void()> &work ) {
      try {
         work();
      } catch ( const StoreRefused &refused ) {
         message = refused.what();
         return refused.code();
      }
      return "ok";
   }
   std::string message;
};

// A store of some entries, whose file is then tampered with.
class Tampered : public StoreTest {
 protected:
   Tampered() : lasting( QuarraLab::defaultChoice( "sdk6" ) ) {
      for ( U32 entry = 1; entry <= 20; ++entry ) {
         lasting.agent().install( { .group = TcamGroupId( entry % 2 ? 13 : 16 ),
                                    .entry = entry,
                                    .ports = { { 0, entry }, { 0, entry + 1 } },
                                    .rule = {} } );
      }
      state = lasting.state();
      lasting.die();
   }

   void sql( const std::string &text ) {
      sqlite3 *database = nullptr;
      ASSERT_EQ( sqlite3_open( lasting.storePath().c_str(), &database ), SQLITE_OK );
      EXPECT_EQ( sqlite3_exec( database, text.c_str(), nullptr, nullptr, nullptr ), SQLITE_OK )
         << text << ": " << sqlite3_errmsg( database );
      sqlite3_close( database );
   }

   // Starts on the store; on refusal, checks that the chip was left alone.
   std::string start() {
      const auto before = lasting.chip().digest();
      const auto code = refusalOf( [ & ] { lasting.start(); } );
      EXPECT_EQ( lasting.chip().digest(), before );
      return code;
   }

   Lasting lasting;
   std::string state;
};

TEST_F( Tampered, AStoreWithoutAFileOrWithAnotherOneIsRefused ) {
   const auto path = lasting.storePath();
   std::filesystem::rename( path, path + ".away" );
   EXPECT_EQ( start(), "storeMissing" );
   std::ofstream( path ).close();
   EXPECT_EQ( start(), "storeDamaged" );
   std::ofstream( path ) << std::string( 5000, 'x' );
   EXPECT_EQ( start(), "storeDamaged" );
   std::filesystem::rename( path + ".away", path );
   EXPECT_EQ( start(), "ok" );
   EXPECT_EQ( lasting.state(), state );
}

TEST_F( Tampered, AStoreOfALaterVersionIsRefused ) {
   sql( "PRAGMA user_version = 2" );
   EXPECT_EQ( start(), "storeNewer" );
   EXPECT_THAT( message, ::testing::HasSubstr( "its version is 2" ) );
}

// Each of these leaves a sound SQLite file.
TEST_F( Tampered, ValuesThatDoNotFitTogetherAreFound ) {
   const std::string before = lasting.storePath() + ".before";
   std::filesystem::copy_file( lasting.storePath(), before );
   for ( const char *damage :
         { "UPDATE entry SET ports = x'05000000' WHERE entry = 3",
           "UPDATE entry SET label = 'x' WHERE entry = 3",
           "DELETE FROM pool WHERE tcamGroup = 13 AND pool = 1", "DELETE FROM request WHERE tcamGroup = 16",
           "DELETE FROM entry WHERE entry = 4", "DELETE FROM space",
           "DELETE FROM groupStatus WHERE tcamGroup = 13", "UPDATE space SET bits = x'ff'",
           "UPDATE meta SET value = 7 WHERE name = 'uniqueId'", "UPDATE indexed SET number = 1",
           "DROP TABLE bit", "UPDATE request SET classId = 2 WHERE tcamGroup = 13" } ) {
      sql( damage );
      EXPECT_EQ( start(), "storeDamaged" ) << damage << "\n" << message;
      lasting.die();
      std::filesystem::copy_file( before, lasting.storePath(),
                                  std::filesystem::copy_options::overwrite_existing );
   }
   EXPECT_EQ( start(), "ok" );
   EXPECT_EQ( lasting.state(), state );
}

TEST_F( Tampered, AFileThatWasCutIsFound ) {
   const auto size = std::filesystem::file_size( lasting.storePath() );
   for ( const auto left : { size - 1, size / 2, size / 3, size_t{ 4096 }, size_t{ 100 } } ) {
      std::filesystem::copy_file( lasting.storePath(), lasting.storePath() + ".before" );
      std::filesystem::resize_file( lasting.storePath(), left );
      EXPECT_EQ( start(), "storeDamaged" ) << left << " of " << size << " bytes";
      lasting.die();
      std::filesystem::rename( lasting.storePath() + ".before", lasting.storePath() );
   }
   EXPECT_EQ( start(), "ok" );
   EXPECT_EQ( lasting.state(), state );
}

// A store whose log was lost reads as an earlier state, sound in itself; the chip is ahead of it.
TEST_F( Tampered, AStoreThatFellBackToAnEarlierCommitIsFound ) {
   const auto copy = lasting.storePath() + ".copy";
   std::filesystem::copy_file( lasting.storePath(), copy );
   lasting.start();
   lasting.agent().remove( TcamGroupId( 13 ), 1 );
   lasting.die();
   std::filesystem::rename( copy, lasting.storePath() );
   std::filesystem::remove( lasting.storePath() + "-wal" );
   EXPECT_EQ( start(), "storeDamaged" );
   EXPECT_THAT( message, ::testing::HasSubstr( "there were" ) );
}

TEST_F( StoreTest, AStoreOfAnotherChipOrVariantIsRefused ) {
   Directory directory;
   const auto path = directory.file( "store.db" );
   const auto with = [ & ]( const std::string &variant, U8 flexibleBits, const auto &work ) {
      auto choice = QuarraLab::defaultChoice( variant );
      if ( flexibleBits ) {
         choice.chip.flexibleBits = flexibleBits;
      }
      QuarraSimulator::SimulatedChip chip( QuarraLab::chipOptions( *choice.variant, choice.chip ) );
      forgetEarlierAgents();
      TcamAgent agent( *choice.variant, choice.chip, QuarraTcam::quarraTcamPortsManagerFactory( "manager" ) );
      work( agent );
      EXPECT_EQ( chip.calls(), 0u );
   };
   const auto takeOver = [ & ]( TcamAgent &agent ) {
      const AgentStore store( agent, Store::open( path, {} ) );
   };
   with( "sdk6", 0, [ & ]( auto &agent ) { const AgentStore store( agent, path, {} ); } );
   struct Opening {
      const char *variant;
      U8 flexibleBits;
      const char *code;
   };
   for ( const auto &opening :
         { Opening{ "hsdk", 0, "storeOfAnother" }, Opening{ "testSdk6", 0, "storeOfAnother" },
           Opening{ "sdk6", 32, "storeOfAnother" }, Opening{ "sdk6", 0, "ok" } } ) {
      with( opening.variant, opening.flexibleBits, [ & ]( auto &agent ) {
         EXPECT_EQ( refusalOf( [ & ] { takeOver( agent ); } ), opening.code ) << opening.variant;
      } );
   }
   with( "sdk6", 0, [ & ]( auto &agent ) {
      EXPECT_EQ( refusalOf( [ & ] { const AgentStore again( agent, path, {} ); } ), "storeExists" );
   } );
   // A library that reserves another rule at start-up.
   with( "sdk6", 0, [ & ]( TcamAgent &agent ) {
      const TcamGroupId group( 1 );
      const QuarraTcam::RequestKey key( "Another rule", 0, "Another rule" );
      agent.manager().reserveClassId( group, key, QuarraTcam::INVALID_ENTRY_ID );
      EXPECT_EQ( refusalOf( [ & ] { takeOver( agent ); } ), "storeReservations" );
      EXPECT_THAT( message, ::testing::HasSubstr( "Another rule" ) );
   } );
}

TEST_F( StoreTest, TheSecondProcessIsToldWhoHoldsTheStore ) {
   Lasting lasting( QuarraLab::defaultChoice( "sdk6" ) );
   QuarraSoak::Child second( [ & ]( std::FILE *output ) {
      std::fprintf(
         output, "%s",
         refusalOf( [ & ] { Store::open( lasting.storePath(), {} ); } ).append( message ).c_str() );
      return 0;
   } );
   EXPECT_THAT(
      second.end().output,
      ::testing::AllOf( ::testing::StartsWith( "storeInUse" ),
                        ::testing::HasSubstr( "process " + std::to_string( getpid() ) + " (tests)" ) ) );
}

// Nothing of a process is needed for what it committed: not even its end.
TEST_F( StoreTest, WhatWasAnsweredOutlivesAKilledProcess ) {
   Directory directory;
   const auto path = directory.file( "store.db" );
   const auto choice = QuarraLab::defaultChoice( "testSdk6" );
   const auto start = [ & ] {
      forgetEarlierAgents();
      return std::make_unique<TcamAgent>( *choice.variant, choice.chip,
                                          QuarraTcam::quarraTcamPortsManagerFactory( "manager" ) );
   };
   QuarraSoak::Child killed( [ & ]( std::FILE * ) {
      QuarraSimulator::SimulatedChip chip( QuarraLab::chipOptions( *choice.variant, choice.chip ) );
      const auto agent = start();
      const AgentStore store( *agent, path, { .sync = true } );
      for ( U32 entry = 1; entry <= 50; ++entry ) {
         agent->install(
            { .group = TcamGroupId( 13 ), .entry = entry, .ports = { { 0, entry % 7 + 1 } }, .rule = {} } );
      }
      raise( SIGKILL );
      return 0;
   } );
   killed.end();
   QuarraSimulator::SimulatedChip chip( QuarraLab::chipOptions( *choice.variant, choice.chip ) );
   const auto agent = start();
   const AgentStore store( *agent, Store::open( path, {} ) );
   EXPECT_EQ( agent->entries().size(), 50u );
}

// What cannot be kept is not done; and when the chip has it already, nothing more is done.
TEST_F( StoreTest, AFullDiskLosesNothing ) {
   Lasting lasting( QuarraLab::defaultChoice( "sdk6" ) );
   const InstallRequest first{ .group = TcamGroupId( 13 ), .entry = 1, .ports = { { 0, 1 } }, .rule = {} };
   lasting.agent().install( first );
   auto second = InstallRequest{ .group = TcamGroupId( 13 ), .entry = 2, .ports = { { 0, 2 } }, .rule = {} };
   const auto full = [ & ]( U64 step ) {
      lasting.fullAtCommitStep = step;
      return refusalOf( [ & ] { lasting.agent().install( second ); } );
   };
   EXPECT_EQ( full( 1 ), "storeFailed" ); // as the request begins
   EXPECT_EQ( lasting.chip().tcamEntries().size(), 1u );
   const auto before = lasting.state();
   EXPECT_EQ( full( 3 ), "storeFailed" ); // as it ends
   second.entry = 3;
   EXPECT_EQ( full( 0 ), "storeFailed" ) << "goes on with records that are not kept";
   EXPECT_EQ( lasting.restart().outcome, Restarted::Outcome::undone );
   EXPECT_EQ( lasting.state(), before );
   EXPECT_EQ( full( 0 ), "ok" );
}

} // namespace
} // namespace QuarraTest
