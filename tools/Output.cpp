#include "tools/Output.h"

#include <cerrno>
#include <system_error>

#include <poll.h>
#include <unistd.h>

namespace QuarraTool {
namespace {

// Whoever lends us the descriptor may have set it not to wait.
bool canBeTriedAgain( int descriptor ) {
   if ( errno == EAGAIN ) {
      pollfd waiting{ descriptor, POLLOUT, 0 };
      poll( &waiting, 1, -1 );
      return true;
   }
   return errno == EINTR;
}

} // namespace

OutputError::OutputError( int error )
   : std::runtime_error( "standard output: cannot be written: " + std::generic_category().message( error ) ),
     readerIsGone_( error == EPIPE ) {}

void Output::print( std::string_view text ) {
   constexpr std::size_t keptAtMost = 1 << 16;
   kept_ += text;
   if ( kept_.size() >= keptAtMost ) {
      flush();
   }
}

void Output::flush() {
   std::string_view rest = kept_;
   while ( !rest.empty() ) {
      const auto written = ::write( descriptor_, rest.data(), rest.size() );
      if ( written >= 0 ) {
         rest.remove_prefix( static_cast<std::size_t>( written ) );
      } else if ( !canBeTriedAgain( descriptor_ ) ) {
         const int error = errno;
         kept_.clear();
         throw OutputError( error );
      }
   }
   kept_.clear();
}

void Output::close() {
   flush();
   if ( ::close( descriptor_ ) != 0 && errno != EINTR ) {
      throw OutputError( errno );
   }
}

bool Output::isTerminal() const {
   return isatty( descriptor_ );
}

} // namespace QuarraTool
