#include <fstream>

#include <sqlite3.h>

#include "agent/Sqlite.h"
#include "agent/StoreSchema.h"
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

   // Gives every row of the table the sum that is right for what it holds now.
   void seal( const Schema::Table &table ) {
      const Database database( lasting.storePath(), false );
      Statement put( database, Schema::put( table ) );
      sqlite3_stmt *rows = nullptr;
      ASSERT_EQ( sqlite3_prepare_v2( database.handle(), Schema::all( table ).c_str(), -1, &rows, nullptr ),
                 SQLITE_OK );
      std::vector<std::vector<std::pair<int, std::string>>> all; // the types and values of the columns
      while ( sqlite3_step( rows ) == SQLITE_ROW ) {
         auto &row = all.emplace_back();
         for ( int i = 0; i < table.values; ++i ) {
            const auto *const bytes = static_cast<const char *>( sqlite3_column_blob( rows, i ) );
            row.emplace_back( sqlite3_column_type( rows, i ),
                              std::string( bytes ? bytes : "",
                                           static_cast<std::size_t>( sqlite3_column_bytes( rows, i ) ) ) );
         }
      }
      sqlite3_finalize( rows );
      for ( const auto &row : all ) {
         for ( const auto &[ type, value ] : row ) {
            if ( type == SQLITE_INTEGER ) {
               put.bind( S64{ std::stoll( value ) } );
            } else if ( type == SQLITE_TEXT ) {
               put.bind( std::string_view( value ) );
            } else {
               put.bind( std::span( reinterpret_cast<const U8 *>( value.data() ), value.size() ) );
            }
         }
         put.runWithSum();
      }
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
   std::filesystem::create_symlink( path, path );
   EXPECT_EQ( start(), "storeFailed" ) << "a link in a circle";
   std::filesystem::remove( path );
   std::ofstream( path ).close();
   EXPECT_EQ( start(), "storeDamaged" );
   EXPECT_THAT( message, ::testing::HasSubstr( "is empty" ) );
   std::ofstream( path ) << "x";
   EXPECT_EQ( start(), "storeDamaged" );
   EXPECT_THAT( message, ::testing::Not( ::testing::HasSubstr( "is empty" ) ) );
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

// Each table's rows have sums of their own, and each is looked at.
TEST_F( Tampered, ASumThatIsWrongIsFoundInEachTable ) {
   ASSERT_EQ( start(), "ok" );
   // Takes a word of a port table, so that this has a row, too.
   lasting.agent().install( { .group = TcamGroupId( 129 ), .entry = 21, .ports = { { 0, 3 } }, .rule = {} } );
   lasting.die();
   const std::string before = lasting.storePath() + ".before";
   std::filesystem::copy_file( lasting.storePath(), before );
   std::vector<const Schema::Table *> tables( std::begin( Schema::records ), std::end( Schema::records ) );
   tables.insert( tables.end(), std::begin( Schema::identity ), std::end( Schema::identity ) );
   std::erase( tables, &Schema::inFlight ); // no request was cut off: it has no row
   for ( const auto *table : tables ) {
      sql( std::string( "UPDATE " ) + table->name + " SET sum = sum + 1" );
      EXPECT_EQ( start(), "storeDamaged" ) << table->name;
      EXPECT_THAT( message, ::testing::HasSubstr( "a row whose sum is wrong" ) ) << table->name;
      lasting.die();
      std::filesystem::copy_file( before, lasting.storePath(),
                                  std::filesystem::copy_options::overwrite_existing );
   }
   EXPECT_EQ( start(), "ok" );
}

// With sums that are right: what no agent could have written, each named by the rule that it breaks. Group 16
// has one pool of four bits and lends 1 to 10 of it, 13 ten pools of one.
TEST_F( Tampered, RecordsThatBreakARuleAreFoundWhateverTheirSums ) {
   namespace Tables = Schema;
   struct Case {
      const Schema::Table &table;
      const char *damage, *says;
   };
   const Case cases[] = {
      { Tables::space, "UPDATE space SET size = 63 WHERE size = 64", "of 63 bits is not the chip's" },
      { Tables::space, "DELETE FROM space WHERE size = 64", "a class-ID space is missing" },
      { Tables::space, "UPDATE space SET bits = zeroblob( 8 ) WHERE size = 64",
        "are not those of the pools" },
      { Tables::groupStatus, "UPDATE groupStatus SET tcamGroup = 9999 WHERE tcamGroup = 16",
        "group 9999 uses no class IDs" },
      { Tables::groupStatus, "DELETE FROM groupStatus WHERE tcamGroup = 16",
        "a pool of group 16, which has no pools" },
      { Tables::groupStatus, "UPDATE groupStatus SET lastPool = 9 WHERE tcamGroup = 13",
        "pool 10 of group 13 lies outside" },
      { Tables::groupStatus, "UPDATE groupStatus SET lastPool = 65536 WHERE tcamGroup = 13",
        "out of its range" },
      { Tables::groupStatus, "INSERT INTO groupStatus VALUES( 15, 9999, 1, 0 )", "group 15 without a pool" },
      { Tables::pool, "UPDATE pool SET baseOffset = 61 WHERE tcamGroup = 16",
        "pool 1 of group 16 lies outside" },
      { Tables::pool, "UPDATE pool SET baseOffset = 60 WHERE tcamGroup = 16", "are not those of the pools" },
      { Tables::pool, "UPDATE pool SET size = 17, baseOffset = 0 WHERE tcamGroup = 16", "lies outside" },
      { Tables::pool, "UPDATE pool SET size = 0 WHERE tcamGroup = 16", "lies outside" },
      { Tables::pool, "UPDATE pool SET pool = 0 WHERE tcamGroup = 16", "pool 0 of group 16 lies outside" },
      { Tables::pool, "UPDATE pool SET size = 3 WHERE tcamGroup = 16",
        "class ID 11 of pool 1 of group 16 is none" },
      { Tables::pool, "UPDATE pool SET baseOffset = 0 WHERE tcamGroup = 13 AND pool = 1",
        "lies over another pool" },
      { Tables::pool, "UPDATE pool SET free = x'0b000c000d000e00' WHERE tcamGroup = 16",
        "has lost a class ID" },
      { Tables::pool, "UPDATE pool SET free = x'0b000c000d000e000b00' WHERE tcamGroup = 16",
        "is there twice" },
      { Tables::pool, "UPDATE pool SET free = x'0b000c000d000e001000' WHERE tcamGroup = 16",
        "class ID 16 of pool 1 of group 16" },
      { Tables::pool, "UPDATE pool SET free = x'0b000c000d000e000000' WHERE tcamGroup = 16",
        "class ID 0 of pool 1" },
      { Tables::pool, "UPDATE pool SET free = x'0b000c000d000e000f000a00' WHERE tcamGroup = 16",
        "class ID 10 of pool 1 of group 16" },
      { Tables::request, "UPDATE request SET classId = 2 WHERE tcamGroup = 16 AND classId = 1",
        "class ID 2" },
      { Tables::request, "UPDATE request SET pool = 9 WHERE tcamGroup = 16 AND classId = 1",
        "without its pool 9" },
      { Tables::request, "UPDATE request SET name = 'x', secondName = 'x' WHERE tcamGroup = 16",
        "key x:0:x of group 16 twice" },
      { Tables::request, "UPDATE request SET tcamGroup = 15 WHERE tcamGroup = 16 AND classId = 1",
        "a request of group 15" },
      { Tables::request, "UPDATE request SET startUp = 2 WHERE tcamGroup = 16", "out of its range" },
      { Tables::request, "UPDATE request SET ethernet = 2 WHERE tcamGroup = 16", "out of its range" },
      { Tables::request, "UPDATE request SET ports = x'010000' WHERE tcamGroup = 16", "ends within a port" },
      { Tables::request, "UPDATE request SET ports = x'00040000' WHERE tcamGroup = 16",
        "a port out of its range" },
      { Tables::indexed, "UPDATE indexed SET name = 'x' WHERE tcamGroup = 13",
        "in the index of group 13 only" },
      { Tables::indexed, "UPDATE indexed SET tcamGroup = 15 WHERE tcamGroup = 13", "an index of group 15" },
      { Tables::indexed,
        "UPDATE indexed SET bucket = ( SELECT min( bucket ) FROM indexed WHERE tcamGroup = 13 ) WHERE "
        "tcamGroup = 13",
        "two hashes in one bucket of the index of group 13" },
      { Tables::indexed,
        "UPDATE indexed SET ports = ( SELECT ports FROM indexed WHERE tcamGroup = 13 LIMIT 1 ) WHERE "
        "tcamGroup = 13",
        "two buckets of one hash in the index of group 13" },
      { Tables::indexed,
        "DELETE FROM indexed WHERE tcamGroup = 13 AND ord = ( SELECT max( ord ) FROM indexed WHERE tcamGroup "
        "= 13 )",
        "the index of group 13 does not find key" },
      { Tables::indexed,
        "INSERT INTO indexed SELECT tcamGroup, bucket + 99999, ord, name, number, secondName, x'63000000', "
        "ethernet, 0 FROM indexed WHERE tcamGroup = 16 LIMIT 1",
        "the index of group 16 has a key of other ports" },
      { Tables::indexed,
        "UPDATE indexed SET ports = x'63000000' WHERE tcamGroup = 13 AND "
        "ord = ( SELECT max( ord ) FROM indexed WHERE tcamGroup = 13 )",
        "the index of group 13 does not find key" },
      { Tables::bit, "UPDATE bit SET ethernet = 2", "out of its range" },
      { Tables::entry, "DELETE FROM entry WHERE entry = 4", "without an entry" },
      { Tables::entry, "UPDATE entry SET request = 99999 WHERE entry = 4",
        "entry 4 of group 16 without a class ID" },
      { Tables::entry, "UPDATE entry SET request = 0 WHERE entry = 4",
        "entry 4 of group 16 without a class ID" },
      { Tables::entry, "UPDATE entry SET entry = 0 WHERE entry = 4",
        "entry 0 of group 16 without a class ID" },
      { Tables::entry, "UPDATE entry SET tcamGroup = 15 WHERE entry = 4", "an entry of group 15" },
      { Tables::entry, "UPDATE entry SET ports = x'ff030000' WHERE entry = 4",
        "entry 4 on ports that the chip does not have" },
      { Tables::entry, "UPDATE entry SET ports = x'01000100' WHERE entry = 4",
        "entry 4 on ports that the chip does not have" },
      { Tables::entry, "UPDATE entry SET feature = 'nonsense' WHERE entry = 4", "nonsense" },
   };
   const std::string before = lasting.storePath() + ".before";
   std::filesystem::copy_file( lasting.storePath(), before );
   for ( const auto &[ table, damage, says ] : cases ) {
      sql( damage );
      seal( table );
      EXPECT_EQ( start(), "storeDamaged" ) << damage;
      EXPECT_THAT( message, ::testing::HasSubstr( says ) ) << damage;
      lasting.die();
      std::filesystem::copy_file( before, lasting.storePath(),
                                  std::filesystem::copy_options::overwrite_existing );
   }
   for ( const auto *table : Schema::records ) {
      seal( *table ); // does not harm by itself
   }
   EXPECT_EQ( start(), "ok" ) << message;
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
