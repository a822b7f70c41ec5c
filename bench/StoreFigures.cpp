#include "bench/StoreFigures.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include "agent/AgentStore.h"
#include "agent/ChipState.h"
#include "lab/Switch.h"

// What the store costs: each side does what the other one does, the floor with bare SQLite and bare records.
namespace QuarraBench {
namespace {

using namespace QuarraAgent;
using namespace QuarraTcam;

constexpr U16 group = 13; // one-bit pools: a bit for each port set
constexpr U32 portSets = 40;

InstallRequest requestOf( U32 entry ) {
   InstallRequest request;
   request.group = TcamGroupId( group );
   request.entry = entry;
   for ( U32 port = 0; port < 8; ++port ) {
      request.ports.emplace_back( 0, 1 + entry % portSets + port * portSets );
   }
   request.label = "TABLE|RULE_" + std::to_string( entry );
   request.rule = RuleId( FeatureGroupType::acl, request.label );
   return request;
}

class Folder {
 public:
   Folder() {
      std::string name = ( std::filesystem::temp_directory_path() / "quarraBenchXXXXXX" ).string();
      path_ = mkdtemp( name.data() );
   }
   Folder( const Folder & ) = delete;
   Folder &operator=( const Folder & ) = delete;
   ~Folder() { std::filesystem::remove_all( path_ ); }
   std::string file() const { return path_ + "/store.db"; }

 private:
   std::string path_;
};

// A chip with an agent on it, and a store or none.
struct Desk {
   Folder folder;
   QuarraLab::ChipChoice choice = QuarraLab::defaultChoice( "sdk6" );
   std::unique_ptr<QuarraSimulator::SimulatedChip> chip = QuarraLab::makeChip( *choice.variant, choice.chip );
   std::unique_ptr<TcamAgent> agent;
   std::unique_ptr<AgentStore> store;

   Desk( U32 entries, bool stored ) {
      startAgent();
      for ( U32 entry = 1; entry <= entries; ++entry ) {
         agent->install( requestOf( entry ) );
      }
      if ( stored ) {
         store = std::make_unique<AgentStore>( *agent, folder.file(), StoreOptions() );
      }
   }
   void startAgent() {
      forgetEarlierAgents();
      agent = std::make_unique<TcamAgent>( *choice.variant, choice.chip,
                                           quarraTcamPortsManagerFactory( "manager" ) );
   }
   void restart() {
      store.reset();
      agent.reset();
      startAgent();
      store = std::make_unique<AgentStore>( *agent, Store::open( folder.file(), {} ) );
   }
};

Operation restart( U32 entries ) {
   auto desk = std::make_shared<Desk>( entries, true );
   return [ desk ] { desk->restart(); };
}

// ---- Bare SQLite

struct Closer {
   void operator()( sqlite3 *database ) const { sqlite3_close( database ); }
   void operator()( sqlite3_stmt *statement ) const { sqlite3_finalize( statement ); }
};
using Database = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

Database openBare( const std::string &path ) {
   sqlite3 *database = nullptr;
   sqlite3_open( path.c_str(), &database );
   for ( const char *pragma :
         { "PRAGMA locking_mode = EXCLUSIVE", "PRAGMA journal_mode = WAL", "PRAGMA synchronous = OFF" } ) {
      sqlite3_exec( database, pragma, nullptr, nullptr, nullptr );
   }
   return Database( database );
}

Statement prepare( const Database &database, const std::string &sql ) {
   sqlite3_stmt *statement = nullptr;
   if ( sqlite3_prepare_v2( database.get(), sql.c_str(), -1, &statement, nullptr ) != SQLITE_OK ) {
      std::abort();
   }
   return Statement( statement );
}

std::string textOf( const Statement &row, int column ) {
   const auto *text = static_cast<const char *>( sqlite3_column_blob( row.get(), column ) );
   return { text ? text : "", static_cast<std::size_t>( sqlite3_column_bytes( row.get(), column ) ) };
}

S64 numberOf( const Statement &row, int column ) {
   return sqlite3_column_int64( row.get(), column );
}

// ---- Restart

// The records of entries as bare as they can be: what was asked of each, its key's entries, the key of each.
struct BareRecords {
   struct BareEntry {
      U16 group = 0;
      std::vector<U32> ports;
      bool ethernet = false;
      std::string feature, rule, label;
      std::string key;
   };
   struct BareRequest {
      std::string key;
      std::vector<U32> ports;
      std::unordered_set<U32> entries;
   };
   std::map<U32, BareEntry> entries;
   std::unordered_map<S64, BareRequest> requests;
   std::unordered_map<U32, const BareRequest *> requestOfEntry;
   std::map<std::string, std::vector<std::vector<std::string>>> others; // rows by table
};

std::vector<U32> portsOf( const Statement &row, int column ) {
   const auto bytes = textOf( row, column );
   std::vector<U32> ports( bytes.size() / 4 );
   std::copy_n( bytes.data(), ports.size() * 4, reinterpret_cast<char *>( ports.data() ) );
   return ports;
}

// The rows that there are only some of, whatever the number of entries.
void readOtherTables( const Database &database, BareRecords &records ) {
   for ( const char *table : { "meta", "chipPort", "startUp", "space", "groupStatus", "pool", "indexed",
                               "portWord", "bit", "inFlight" } ) {
      auto row = prepare( database, "SELECT * FROM " + std::string( table ) );
      auto &kept = records.others[ table ];
      while ( sqlite3_step( row.get() ) == SQLITE_ROW ) {
         auto &columns = kept.emplace_back();
         for ( int column = 0; column < sqlite3_column_count( row.get() ); ++column ) {
            columns.push_back( textOf( row, column ) );
         }
      }
   }
}

void readBare( const std::string &path ) {
   const auto database = openBare( path );
   BareRecords records;
   readOtherTables( database, records );
   auto requests = prepare( database, "SELECT * FROM request ORDER BY tcamGroup, ord" );
   while ( sqlite3_step( requests.get() ) == SQLITE_ROW ) {
      auto &request = records.requests[ numberOf( requests, 1 ) ];
      request.key = textOf( requests, 2 );
      request.ports = portsOf( requests, 8 );
   }
   std::vector<std::tuple<S64, U32, BareRecords::BareRequest *>> references;
   auto rows = prepare( database, "SELECT * FROM entry ORDER BY entry" );
   while ( sqlite3_step( rows.get() ) == SQLITE_ROW ) {
      const auto id = static_cast<U32>( numberOf( rows, 0 ) );
      auto &request = records.requests.at( numberOf( rows, 2 ) );
      BareRecords::BareEntry entry;
      entry.group = static_cast<U16>( numberOf( rows, 3 ) );
      entry.ports = portsOf( rows, 4 );
      entry.ethernet = numberOf( rows, 5 );
      entry.feature = textOf( rows, 6 );
      entry.rule = textOf( rows, 7 );
      entry.label = textOf( rows, 8 );
      entry.key = request.key;
      references.emplace_back( numberOf( rows, 1 ), id, &request );
      records.entries.emplace_hint( records.entries.end(), id, std::move( entry ) );
   }
   std::sort( references.begin(), references.end() );
   for ( const auto &[ order, id, request ] : references ) {
      request->entries.insert( id );
      records.requestOfEntry.emplace( id, request );
   }
   benchmark::DoNotOptimize( records );
}

// Both sides start an agent: what it sets up has nothing to do with the store.
Operation readBareOf( U32 entries ) {
   auto desk = std::make_shared<Desk>( entries, true );
   desk->store.reset();
   return [ desk ] {
      desk->agent.reset();
      desk->startAgent();
      readBare( desk->folder.file() );
   };
}

// ---- Install and remove

constexpr U32 entriesBefore = 1000;

Operation installAndRemove( const std::shared_ptr<Desk> &desk ) {
   return [ desk, next = entriesBefore ]() mutable {
      const auto request = requestOf( ++next );
      desk->agent->install( request );
      desk->agent->remove( request.group, request.entry );
   };
}

// The four transactions of an installation and a removal, of the same rows.
class BareTransactions {
 public:
   BareTransactions() : database_( openBare( folder_.file() ) ) {
      for ( const char *sql :
            { "CREATE TABLE entry( entry INTEGER PRIMARY KEY, ord, request, tcamGroup, ports, ethernet, "
              "feature, "
              "rule, label, sum )",
              "CREATE TABLE inFlight( one INTEGER PRIMARY KEY, removal, entry, tcamGroup, ports, ethernet, "
              "feature, rule, label, sum )",
              "CREATE TABLE meta( name TEXT PRIMARY KEY, value, sum )" } ) {
         sqlite3_exec( database_.get(), sql, nullptr, nullptr, nullptr );
      }
      begin_ = prepare( database_, "BEGIN" );
      commit_ = prepare( database_, "COMMIT" );
      putEntry_ = prepare( database_, "REPLACE INTO entry VALUES( ?,?,?,?,?,?,?,?,?,? )" );
      eraseEntry_ = prepare( database_, "DELETE FROM entry WHERE entry = ?" );
      putInFlight_ = prepare( database_, "REPLACE INTO inFlight VALUES( ?,?,?,?,?,?,?,?,?,? )" );
      eraseInFlight_ = prepare( database_, "DELETE FROM inFlight WHERE one = 1" );
      putMeta_ = prepare( database_, "REPLACE INTO meta VALUES( ?,?,? )" );
      for ( U32 entry = 1; entry <= entriesBefore; ++entry ) {
         put( putEntry_, requestOf( entry ) );
      }
   }

   void installAndRemove( const InstallRequest &request ) {
      for ( const bool removal : { false, true } ) {
         step( begin_ );
         put( putInFlight_, request );
         putCommits();
         step( commit_ );
         step( begin_ );
         if ( removal ) {
            sqlite3_bind_int64( eraseEntry_.get(), 1, request.entry );
            step( eraseEntry_ );
         } else {
            put( putEntry_, request );
         }
         step( eraseInFlight_ );
         putCommits();
         step( commit_ );
      }
   }

 private:
   static void step( const Statement &statement ) {
      sqlite3_step( statement.get() );
      sqlite3_reset( statement.get() );
   }
   static void bind( const Statement &statement, int place, const std::string &text ) {
      sqlite3_bind_text( statement.get(), place, text.data(), static_cast<int>( text.size() ),
                         SQLITE_STATIC );
   }
   void put( const Statement &statement, const InstallRequest &request ) {
      const std::string feature = "acl";
      sqlite3_bind_int64( statement.get(), 1, &statement == &putInFlight_ ? 1 : request.entry );
      sqlite3_bind_int64( statement.get(), 2, ++order_ );
      sqlite3_bind_int64( statement.get(), 3, request.entry );
      sqlite3_bind_int64( statement.get(), 4, group );
      sqlite3_bind_blob( statement.get(), 5, request.ports.data(),
                         static_cast<int>( request.ports.size() * sizeof( request.ports[ 0 ] ) ),
                         SQLITE_STATIC );
      sqlite3_bind_int64( statement.get(), 6, 0 );
      bind( statement, 7, feature );
      bind( statement, 8, request.label );
      bind( statement, 9, request.label );
      sqlite3_bind_int64( statement.get(), 10, 0x12345678 );
      step( statement );
   }
   void putCommits() {
      const std::string name = "commits";
      bind( putMeta_, 1, name );
      sqlite3_bind_int64( putMeta_.get(), 2, ++order_ );
      sqlite3_bind_int64( putMeta_.get(), 3, 0x12345678 );
      step( putMeta_ );
   }

   Folder folder_;
   Database database_;
   Statement begin_, commit_, putEntry_, eraseEntry_, putInFlight_, eraseInFlight_, putMeta_;
   S64 order_ = 0;
};

Operation withBareTransactions() {
   auto bare = std::make_shared<BareTransactions>();
   const auto without = installAndRemove( std::make_shared<Desk>( entriesBefore, false ) );
   return [ bare, without, next = entriesBefore ]() mutable {
      without();
      bare->installAndRemove( requestOf( ++next ) );
   };
}

double milliseconds( const Operation &operation, U32 times ) {
   std::vector<double> taken;
   for ( U32 i = 0; i < times; ++i ) {
      const auto start = std::chrono::steady_clock::now();
      operation();
      taken.push_back(
         std::chrono::duration<double, std::milli>( std::chrono::steady_clock::now() - start ).count() );
   }
   std::sort( taken.begin(), taken.end() );
   return taken[ taken.size() / 2 ];
}

} // namespace

const std::vector<Figure> &storeFigures() {
   static const std::vector<Figure> all = {
      { "P9", "restart with 10,000 entries / set-up, reading the rows and making the records bare", 2.0,
        [] { return restart( 10000 ); }, [] { return readBareOf( 10000 ); } },
      { "P10", "an entry comes and goes with a store / the same transactions bare, and without a store", 1.5,
        [] { return installAndRemove( std::make_shared<Desk>( entriesBefore, true ) ); },
        withBareTransactions },
   };
   return all;
}

unsigned long sdkCallsOfRestart() {
   Desk desk( 10000, true );
   const auto before = desk.chip->calls();
   desk.restart();
   return static_cast<unsigned long>( desk.chip->calls() - before );
}

nlohmann::ordered_json restarts() {
   auto rows = nlohmann::ordered_json::array();
   for ( const U32 entries : { 1000u, 10000u, 100000u } ) {
      constexpr U32 times = 15;
      double floor = 0;
      {
         const auto operation = readBareOf( entries );
         floor = milliseconds( operation, times );
      }
      const auto desk = std::make_shared<Desk>( entries, true );
      const auto calls = desk->chip->calls();
      const double taken = milliseconds( [ desk ] { desk->restart(); }, times );
      rows.push_back( { { "entries", entries },
                        { "milliseconds", taken },
                        { "floorMilliseconds", floor },
                        { "ratio", taken / floor },
                        { "sdkCalls", desk->chip->calls() - calls } } );
   }
   return rows;
}

} // namespace QuarraBench
