#include "lab/SwitchDir.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "agent/Audit.h"
#include "lab/Switch.h"

namespace QuarraLab {

using namespace QuarraAgent;

namespace {

namespace fs = std::filesystem;

constexpr auto storeFile = "store.db";
constexpr auto chipFile = "chip";

// The store of a cold start, while it goes on and when it has ended: then it only has to take its place.
constexpr auto coldFile = "cold.db";
constexpr auto coldDoneFile = "cold.done";

// All that this version may have left in a directory that was not finished.
constexpr const char *ownFiles[] = { "store.db",         "store.db-wal",  "store.db-shm",
                                     "store.db-journal", "store.db.lock", "chip" };

[[noreturn]] void refuse( const std::string &path, const std::string &what ) {
   throw StoreRefused( "storeFailed", "switch " + path + ": " + what );
}

void check( const std::string &path, const std::error_code &error ) {
   if ( error ) {
      refuse( path, error.message() );
   }
}

ChipChoice choiceOf( const Store &store, const std::string &path ) {
   const auto identity = store.identity();
   const auto *variant = variantOf( identity.variant );
   if ( !variant ) {
      throw StoreRefused( "storeOfAnother", "switch " + path + ": its variant " + identity.variant +
                                               " is none of " + variantNames() );
   }
   return { variant, identity.chip };
}

} // namespace

bool SwitchDir::isThere( const std::string &path ) {
   std::error_code error;
   const auto status = fs::status( path, error );
   if ( status.type() == fs::file_type::not_found ) {
      return false;
   }
   check( path, error );
   if ( status.type() != fs::file_type::directory ) {
      refuse( path, "it is no directory" );
   }
   if ( fs::exists( path + "/" + storeFile, error ) ) {
      return true;
   }
   const bool empty = fs::is_empty( path, error );
   check( path, error );
   if ( !empty ) {
      throw StoreRefused( "storeMissing",
                          "switch " + path + ": the directory has files, but no " + storeFile );
   }
   return false;
}

SwitchDir::SwitchDir( const std::string &path, const ChipChoice &choice, const StoreOptions &options )
   : path_( path ), place_( path ), choice_( choice ), options_( options ), isNew_( !isThere( path ) ) {
   while ( path_.size() > 1 && path_.ends_with( '/' ) ) {
      path_.pop_back();
   }
   options_.beforeRequest = [ this ] { image_->makeRoom(); };
   if ( isNew_ ) {
      startNew();
   } else {
      endEarlierColdStart();
      store_ = Store::open( file( storeFile ), options_ );
      const auto failures = choice_.failures;
      choice_ = choiceOf( *store_, path_ );
      choice_.failures = failures;
   }
   image_ = std::make_unique<ChipImage>( file( chipFile ) );
}

SwitchDir::SwitchDir( const std::string &path, const Chooser &chooser, const StoreOptions &options )
   : path_( path ), place_( path ), choice_( { nullptr, {} } ), options_( options ) {
   options_.beforeRequest = [ this ] { image_->makeRoom(); };
   if ( fs::exists( file( storeFile ) ) || fs::exists( file( chipFile ) ) ) {
      prepareCold( chooser );
      return;
   }
   isNew_ = !isThere( path );
   choice_ = chooser( std::nullopt );
   startNew();
   image_ = std::make_unique<ChipImage>( file( chipFile ) );
}

// A directory that was not finished goes; where this process dies, with the next one that makes it.
SwitchDir::~SwitchDir() {
   if ( isNew_ && place_ != path_ ) {
      removeUnfinished();
   }
}

// Everything is made in a directory beside, which takes its name when it is whole. What a process that died
// over it left there is cleared away.
void SwitchDir::startNew() {
   place_ = path_ + ".new";
   std::error_code error;
   fs::create_directory( place_, error );
   check( place_, error );
   making_ = std::make_unique<StoreLock>( place_ + "/making" );
   for ( const auto *name : ownFiles ) {
      fs::remove( file( name ), error );
      check( place_, error );
   }
   try {
      ChipImage::make( file( chipFile ), chipOptions( *choice_.variant, choice_.chip ) );
   } catch ( const StoreRefused & ) {
      removeUnfinished();
      throw;
   }
}

void SwitchDir::removeUnfinished() {
   std::error_code ignored;
   for ( const auto *name : ownFiles ) {
      fs::remove( file( name ), ignored );
   }
   fs::remove( file( "making.lock" ), ignored );
   fs::remove( place_, ignored ); // unless something else is in it
}

void SwitchDir::finishNew( TcamAgent &agent ) {
   { const AgentStore made( agent, file( storeFile ), options_ ); }
   if ( std::rename( place_.c_str(), path_.c_str() ) != 0 ) {
      refuse( path_, std::strerror( errno ) );
   }
   place_ = path_;
   making_.reset();
   std::error_code ignored; // a left-over lock locks nobody out
   fs::remove( file( "making.lock" ), ignored );
   store_ = Store::open( file( storeFile ), options_ );
}

void SwitchDir::start( QuarraSimulator::SimulatedChip &chip, QuarraSimulator::Observer observer ) {
   auto ports = choice_.chip.cpuPorts;
   for ( const auto &port : choice_.chip.ports ) {
      ports.push_back( port.port );
   }
   image_->follow( chip, ports, std::move( observer ) );
}

void SwitchDir::start( TcamAgent &agent ) {
   if ( isNew_ ) {
      finishNew( agent );
   } else if ( salvaged_ ) {
      startCold( agent );
   }
   agentStore_ = std::make_unique<AgentStore>( agent, std::move( store_ ) );
}

// ---- Cold starts

// A file, and what SQLite and the lock put beside it.
void SwitchDir::removeFiles( const std::string &base ) {
   for ( const auto *end : { "", "-wal", "-shm", "-journal", ".lock" } ) {
      std::error_code error;
      fs::remove( file( base.c_str() ) + end, error );
      check( path_, error );
   }
}

void SwitchDir::endEarlierColdStart() {
   if ( !fs::exists( file( coldDoneFile ) ) && !fs::exists( file( coldFile ) ) ) {
      return;
   }
   StoreLock lock( file( storeFile ) ); // who holds it is at it still
   if ( fs::exists( file( coldDoneFile ) ) ) {
      finishCold( lock );
   } else if ( fs::exists( file( coldFile ) ) ) {
      throw StoreRefused( "storeDamaged", "switch " + path_ +
                                             ": a process died while it started "
                                             "cold; it has to start cold again" );
   }
}

void SwitchDir::prepareCold( const Chooser &chooser ) {
   if ( fs::exists( file( coldDoneFile ) ) ) {
      endEarlierColdStart();
   }
   salvaged_ = salvage( file( storeFile ) );
   making_ = std::make_unique<StoreLock>( file( storeFile ) );
   removeFiles( coldFile );
   coldStarted_.emplace();
   coldStarted_->why = salvaged_->why;
   coldStarted_->unreadable = salvaged_->unreadable;
   choice_ = chooser( salvaged_->identity );
   const auto sizes = chipOptions( *choice_.variant, choice_.chip );
   try {
      image_ = std::make_unique<ChipImage>( file( chipFile ) );
   } catch ( const StoreRefused &refused ) {
      if ( refused.code() == "storeFailed" ) {
         throw;
      }
      coldStarted_->chipWasReset = true;
      removeFiles( chipFile );
      ChipImage::make( file( chipFile ), sizes );
      image_ = std::make_unique<ChipImage>( file( chipFile ) );
   }
   if ( !image_->isOf( sizes ) ) {
      throw StoreRefused( "storeOfAnother",
                          "switch " + path_ + ": its chip is of other sizes than one of variant " +
                             std::string( choice_.variant->name ) + ", chip " + choice_.chip.profile );
   }
}

// The new store is there from before the first write to the chip: where it is found, and not in its place, a
// cold start did not end.
void SwitchDir::startCold( TcamAgent &agent ) {
   {
      const AgentStore made( agent, file( coldFile ), options_ );
      const auto audited = repair( agent );
      coldStarted_->taken =
         static_cast<U64>( std::ranges::count( audited.drifts, Drift::Kind::entryUnknown, &Drift::kind ) );
      bringBack( agent, *salvaged_, *coldStarted_ );
   }
   if ( fs::exists( file( coldFile ) + std::string( "-wal" ) ) ) {
      refuse( path_, "the new store could not be closed" );
   }
   if ( std::rename( file( coldFile ).c_str(), file( coldDoneFile ).c_str() ) != 0 ) {
      refuse( path_, std::strerror( errno ) );
   }
   finishCold( *making_ );
   making_.reset();
   store_ = Store::open( file( storeFile ), options_ );
}

// The log of the old store goes before the new one takes its place: SQLite would read it.
void SwitchDir::finishCold( StoreLock &lock ) {
   lock.noteCommits( 0 );
   for ( const auto *end : { "-wal", "-shm", "-journal" } ) {
      std::error_code error;
      fs::remove( file( storeFile ) + end, error );
      check( path_, error );
   }
   if ( std::rename( file( coldDoneFile ).c_str(), file( storeFile ).c_str() ) != 0 ) {
      refuse( path_, std::strerror( errno ) );
   }
   removeFiles( coldFile ); // its lock
}

} // namespace QuarraLab
