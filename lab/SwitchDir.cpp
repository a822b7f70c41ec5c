#include "lab/SwitchDir.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "lab/Switch.h"

namespace QuarraLab {

using namespace QuarraAgent;

namespace {

namespace fs = std::filesystem;

constexpr auto storeFile = "store.db";
constexpr auto chipFile = "chip";

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
      store_ = Store::open( file( storeFile ), options_ );
      const auto failures = choice_.failures;
      choice_ = choiceOf( *store_, path_ );
      choice_.failures = failures;
   }
   image_ = std::make_unique<ChipImage>( file( chipFile ) );
}

SwitchDir::~SwitchDir() = default;

// Everything is made in a directory beside, which takes its name when it is whole. What a process that died over
// it left there is cleared away.
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
   ChipImage::make( file( chipFile ), chipOptions( *choice_.variant, choice_.chip ) );
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
   }
   agentStore_ = std::make_unique<AgentStore>( agent, std::move( store_ ) );
}

} // namespace QuarraLab
