#pragma once

#include <functional>
#include <optional>

#include "agent/Sqlite.h"
#include "agent/StoreLock.h"
#include "agent/StoreRows.h"

namespace QuarraAgent {

// The version of the schema that this agent reads and writes.
inline constexpr S64 storeVersion = 1;

// What a store is of: refused where it is not the agent's.
struct StoreIdentity {
   std::string variant;
   ChipConfig chip;
   std::vector<std::string> startUp; // a line for each group and each rule reserved at start-up
};

struct StoreOptions {
   // Every commit survives a loss of power. Without it, every commit survives the death of the process.
   bool sync = false;

   // Called before and after every commit: for tests of what happens in between.
   std::function<void( const char *when )> hook = {};

   // Called before a request begins. Throws StoreRefused where something else could not take the request.
   std::function<void()> beforeRequest = {};
};

// State that outlives the process: one SQLite file, used by one process at a time. A change is one
// transaction: all of it is there afterwards, or nothing. Everything wrong throws StoreRefused; the store is
// then as it was. Main thread only.
class Store {
 public:
   // Makes a store with what `fill` puts into it, all in one transaction.
   static std::unique_ptr<Store> make( const std::string &path, const StoreIdentity &identity,
                                       const StoreOptions &options,
                                       const std::function<void( Store & )> &fill );

   // Opens one and checks it: that it is a store, of this version, sound, and not cut back to an earlier
   // commit.
   static std::unique_ptr<Store> open( const std::string &path, const StoreOptions &options );

   // For what can be saved of a store that open() refuses. Nothing is checked but the lock.
   static std::unique_ptr<Store> openUnchecked( const std::string &path );

   ~Store();
   Store( const Store & ) = delete;
   Store &operator=( const Store & ) = delete;

   const std::string &path() const { return database_.path(); }
   StoreIdentity identity() const;
   U64 commits() const { return commits_; }
   const StoreOptions &options() const { return options_; }

   // Makes all changes of `work` in one transaction.
   void change( const std::function<void()> &work );

   // The changes themselves, within change(). A row takes the place of one of the same key.
   void put( const SpaceRow &row );
   void put( const GroupRow &row );
   void put( const PoolRow &row );
   void put( const RequestRow &row );
   void put( const IndexRow &row );
   void put( const WordRow &row );
   void put( const BitRow &row );
   void put( const EntryRow &row );
   void eraseGroup( TcamGroupId group ); // without what it holds
   void erasePool( TcamGroupId group, U16 pool );
   void eraseRequest( TcamGroupId group, U64 order );
   void eraseIndexed( TcamGroupId group, U64 bucket, U64 order );
   void eraseEntry( U32 entry );
   void eraseRecords(); // everything but the identity

   // The request that is being carried out, as it was asked for.
   void inFlightIs( const std::optional<RequestInFlight> &request );
   std::optional<RequestInFlight> inFlight() const;

   // A number by name: the count of unique ids, a mark.
   void numberIs( const char *name, U64 value );
   U64 number( const char *name ) const; // 0 when it was never set

   // All rows of a table in their order. Throws "storeDamaged" for a row that is not as it was written.
   void each( const std::function<void( SpaceRow )> &action ) const;
   void each( const std::function<void( GroupRow )> &action ) const;
   void each( const std::function<void( PoolRow )> &action ) const;
   void each( const std::function<void( RequestRow )> &action ) const;
   void each( const std::function<void( IndexRow )> &action ) const;
   void each( const std::function<void( WordRow )> &action ) const;
   void each( const std::function<void( BitRow )> &action ) const;
   void each( const std::function<void( EntryRow )> &action ) const;

   // The same of entries; rows that are not as they were written are told, and left out.
   void eachReadable( const std::function<void( EntryRow )> &action,
                      const std::function<void()> &unreadable ) const;

   [[noreturn]] void damaged( const std::string &what ) const;

 private:
   struct Prepared;

   Store( const std::string &path, const StoreOptions &options, bool make );
   void makeTables( const StoreIdentity &identity );
   void chooseJournal();
   void callHook( const char *when ) const;

   StoreOptions options_;
   StoreLock lock_;
   Database database_;
   std::unique_ptr<Prepared> prepared_;
   U64 commits_ = 0;
};

} // namespace QuarraAgent
