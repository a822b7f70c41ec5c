#include "agent/Store.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

#include "agent/StorePrepared.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;
using QuarraCentral::QuarraModPort;

constexpr S64 applicationId = 0x51544353; // "QTCS"

// The numbers of a chip, by name.
struct ChipNumber {
   const char *name;
   U64 ( *get )( const ChipConfig &chip );
   void ( *set )( ChipConfig &chip, U64 value );
};

template <auto Member>
constexpr ChipNumber chipNumber( const char *name ) {
   return { name, []( const ChipConfig &chip ) { return static_cast<U64>( chip.*Member ); },
            []( ChipConfig &chip, U64 value ) {
               chip.*Member = static_cast<std::remove_reference_t<decltype( chip.*Member )>>( value );
            } };
}

constexpr ChipNumber chipNumbers[] = {
   chipNumber<&ChipConfig::flexibleBits>( "chip.flexibleBits" ),
   chipNumber<&ChipConfig::fixedBits>( "chip.fixedBits" ),
   chipNumber<&ChipConfig::sourceTrunkMapBits>( "chip.sourceTrunkMapBits" ),
   chipNumber<&ChipConfig::portBits>( "chip.portBits" ),
   chipNumber<&ChipConfig::tcamRowBits>( "chip.tcamRowBits" ),
   chipNumber<&ChipConfig::ruleBits>( "chip.ruleBits" ),
   chipNumber<&ChipConfig::portBitmapBits>( "chip.portBitmapBits" ),
};

void checkThere( const std::string &path, bool make ) {
   struct stat status {};
   const bool there = stat( path.c_str(), &status ) == 0;
   if ( !there && errno != ENOENT ) {
      throw StoreRefused( "storeFailed", "store " + path + ": " + std::strerror( errno ) );
   }
   if ( make && there ) {
      throw StoreRefused( "storeExists", "store " + path + " is there already" );
   }
   if ( !make && !there ) {
      throw StoreRefused( "storeMissing", "store " + path + " is not there" );
   }
   if ( !make && status.st_size == 0 ) {
      throw StoreRefused( "storeDamaged", "store " + path + " is empty" );
   }
}

const std::string &checked( const std::string &path, bool make ) {
   checkThere( path, make );
   return path;
}

} // namespace

Store::Store( const std::string &path, const StoreOptions &options, bool make )
   : options_( options ), lock_( checked( path, make ) ), database_( path, make ) {
   // Before the first look at the file: the log's index stays in memory then.
   database_.run( "PRAGMA locking_mode = EXCLUSIVE" );
}

Store::~Store() = default;

void Store::callHook( const char *when ) const {
   if ( options_.hook ) {
      options_.hook( when );
   }
}

// A commit is in the log when it returns: there for whoever opens the store next, and with `sync` on the
// disk.
void Store::chooseJournal() {
   database_.run( "PRAGMA journal_mode = WAL" );
   database_.run( options_.sync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = OFF" );
}

std::unique_ptr<Store> Store::make( const std::string &path, const StoreIdentity &identity,
                                    const StoreOptions &options,
                                    const std::function<void( Store & )> &fill ) {
   std::unique_ptr<Store> store( new Store( path, options, true ) );
   store->chooseJournal();
   store->database_.run( "BEGIN" );
   store->makeTables( identity );
   fill( *store );
   store->commits_ = 1;
   store->numberIs( "commits", 1 );
   store->callHook( "before" );
   store->database_.run( "COMMIT" );
   store->callHook( "after" );
   store->lock_.noteCommits( 1 );
   return store;
}

void Store::makeTables( const StoreIdentity &identity ) {
   database_.run( "PRAGMA application_id = " + std::to_string( applicationId ) );
   database_.run( "PRAGMA user_version = " + std::to_string( storeVersion ) );
   for ( const auto *table : Schema::identity ) {
      database_.run( Schema::create( *table ) );
   }
   for ( const auto *table : Schema::records ) {
      database_.run( Schema::create( *table ) );
   }
   prepared_ = std::make_unique<Prepared>( database_ );
   prepared_->putMeta.bind( "variant" ).bind( identity.variant ).runWithSum();
   prepared_->putMeta.bind( "chip.profile" ).bind( identity.chip.profile ).runWithSum();
   for ( const auto &number : chipNumbers ) {
      numberIs( number.name, number.get( identity.chip ) );
   }
   Statement putPort( database_, Schema::put( Schema::chipPort ) );
   S64 order = 0;
   const auto port = [ & ]( const std::string &intf, const QuarraModPort &at, bool cpu ) {
      putPort.bind( ++order ).bind( intf ).bind( S64{ at.modId().value() } ).bind( S64{ at.port() } );
      putPort.bind( S64{ cpu } ).runWithSum();
   };
   for ( const auto &item : identity.chip.ports ) {
      port( item.intf, item.port, false );
   }
   for ( const auto &item : identity.chip.cpuPorts ) {
      port( "", item, true );
   }
   Statement putLine( database_, Schema::put( Schema::startUp ) );
   order = 0;
   for ( const auto &line : identity.startUp ) {
      putLine.bind( ++order ).bind( line ).runWithSum();
   }
}

std::unique_ptr<Store> Store::open( const std::string &path, const StoreOptions &options ) {
   std::unique_ptr<Store> store( new Store( path, options, false ) );
   auto &database = store->database_;
   if ( database.number( "PRAGMA application_id" ) != applicationId ) {
      store->damaged( "it is no store of a TCAM agent" );
   }
   if ( const S64 version = database.number( "PRAGMA user_version" ); version > storeVersion ) {
      throw StoreRefused( "storeNewer", "store " + path + ": its version is " + std::to_string( version ) +
                                           ", this agent knows versions up to " +
                                           std::to_string( storeVersion ) );
   } else if ( version < storeVersion ) {
      store->damaged( "its version is " + std::to_string( version ) );
   }
   store->chooseJournal();
   Statement check( database, "PRAGMA quick_check( 1 )" );
   if ( !check.next() || check.text() != "ok" ) {
      store->damaged( "the check of its file failed" );
   }
   store->prepared_ = std::make_unique<Prepared>( database );
   store->commits_ = store->number( "commits" );
   if ( store->commits_ < store->lock_.commits() ) {
      store->damaged( "it ends with commit " + std::to_string( store->commits_ ) + ", and there were " +
                      std::to_string( store->lock_.commits() ) );
   }
   return store;
}

std::unique_ptr<Store> Store::openUnchecked( const std::string &path ) {
   return std::unique_ptr<Store>( new Store( path, {}, false ) );
}

StoreIdentity Store::identity() const {
   StoreIdentity identity;
   Statement texts( database_, Schema::all( Schema::meta ) );
   while ( texts.next() ) {
      const std::string name( texts.text() );
      if ( name == "variant" ) {
         identity.variant = texts.text();
      } else if ( name == "chip.profile" ) {
         identity.chip.profile = texts.text();
      } else {
         texts.number();
      }
      texts.checkSum();
   }
   for ( const auto &item : chipNumbers ) {
      item.set( identity.chip, number( item.name ) );
   }
   Statement ports( database_, Schema::all( Schema::chipPort ) );
   while ( ports.next() ) {
      ports.number();
      const std::string intf( ports.text() );
      const auto module = static_cast<U16>( ports.numberUpTo( QuarraCentral::ModId::null ) );
      const QuarraModPort port( module, static_cast<U32>( ports.numberUpTo( U10::max ) ) );
      const bool cpu = ports.number() != 0;
      ports.checkSum();
      if ( cpu ) {
         identity.chip.cpuPorts.push_back( port );
      } else {
         identity.chip.ports.push_back( { intf, port } );
      }
   }
   Statement lines( database_, Schema::all( Schema::startUp ) );
   while ( lines.next() ) {
      lines.number();
      identity.startUp.emplace_back( lines.text() );
      lines.checkSum();
   }
   return identity;
}

void Store::change( const std::function<void()> &work ) {
   const U64 before = commits_;
   prepared_->begin.run();
   try {
      work();
      numberIs( "commits", ++commits_ );
      callHook( "before" );
      prepared_->commit.run();
   } catch ( ... ) {
      commits_ = before;
      try {
         database_.run( "ROLLBACK" );
      } catch ( const StoreRefused & ) {
         // SQLite has rolled back already
      }
      throw;
   }
   callHook( "after" );
   lock_.noteCommits( commits_ );
}

void Store::numberIs( const char *name, U64 value ) {
   prepared_->putMeta.bind( name ).bind( static_cast<S64>( value ) ).runWithSum();
}

U64 Store::number( const char *name ) const {
   Statement statement( database_, "SELECT * FROM meta WHERE name = ?" );
   statement.bind( name );
   if ( !statement.next() ) {
      return 0;
   }
   statement.text();
   const auto value = static_cast<U64>( statement.number() );
   statement.checkSum();
   return value;
}

void Store::damaged( const std::string &what ) const {
   throw StoreRefused( "storeDamaged", "store " + path() + ": " + what );
}

} // namespace QuarraAgent
