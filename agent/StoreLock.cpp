#include "agent/StoreLock.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "agent/StoreRefused.h"

namespace QuarraAgent {
namespace {

// One line of a fixed length: how many commits, the process and its name.
constexpr int lineLength = 64;
using Line = std::array<char, lineLength + 1>;

} // namespace

StoreLock::StoreLock( const std::string &storePath ) : storePath_( storePath ) {
   const auto path = storePath + ".lock";
   file_ = open( path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666 );
   if ( file_ < 0 ) {
      throw StoreRefused( "storeFailed", path + ": " + std::strerror( errno ) );
   }
   if ( flock( file_, LOCK_EX | LOCK_NB ) != 0 ) {
      const int error = errno;
      const auto who = holder();
      close( file_ );
      if ( error == EWOULDBLOCK ) {
         throw StoreRefused( "storeInUse", "store " + storePath + " is in use by " + who );
      }
      throw StoreRefused( "storeFailed", path + ": " + std::strerror( error ) );
   }
   Line line{};
   unsigned long long commits = 0;
   if ( pread( file_, line.data(), lineLength, 0 ) > 0 &&
        std::sscanf( line.data(), "%llu", &commits ) == 1 ) {
      commits_ = commits;
   }
   noteCommits( commits_ );
}

StoreLock::~StoreLock() {
   close( file_ );
}

std::string StoreLock::holder() const {
   Line line{};
   Line name{};
   int process = 0;
   if ( pread( file_, line.data(), lineLength, 0 ) <= 0 ||
        std::sscanf( line.data(), "%*u %d %48[^\n]", &process, name.data() ) < 1 ) {
      return "another process";
   }
   std::string text = name.data();
   text.erase( text.find_last_not_of( ' ' ) + 1 );
   return "process " + std::to_string( process ) + ( text.empty() ? "" : " (" + text + ")" );
}

// A note that the file system does not take is no reason to stop: the next one stands for it.
void StoreLock::noteCommits( U64 commits ) {
   commits_ = commits;
   Line line{};
   const int length = std::snprintf( line.data(), line.size(), "%20llu %10d %-31.31s\n",
                                     static_cast<unsigned long long>( commits ), static_cast<int>( getpid() ),
                                     program_invocation_short_name );
   if ( pwrite( file_, line.data(), static_cast<std::size_t>( length ), 0 ) != length ) {
      return;
   }
}

} // namespace QuarraAgent
