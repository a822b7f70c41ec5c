#include "tools/Output.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "lab/TextFile.h"

namespace QuarraTool {
namespace {

using QuarraLab::oneLine;

// Whoever lends us the descriptor may have set it not to wait.
bool canBeTriedAgain( int descriptor ) {
   if ( errno == EAGAIN ) {
      pollfd waiting{ descriptor, POLLOUT, 0 };
      poll( &waiting, 1, -1 );
      return true;
   }
   return errno == EINTR;
}

void writeTo( const std::string &path, std::string_view text, const std::string &name ) {
   const int descriptor = open( path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666 );
   if ( descriptor < 0 ) {
      throw OutputError( name, errno );
   }
   Output out( descriptor, name );
   out.print( text );
   out.close();
}

} // namespace

OutputError::OutputError( const std::string &where, int error )
   : std::runtime_error( oneLine( where ) +
                         ": cannot be written: " + std::generic_category().message( error ) ),
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
         throw OutputError( name_, error );
      }
   }
   kept_.clear();
}

void Output::close() {
   flush();
   if ( ::close( descriptor_ ) != 0 && errno != EINTR ) {
      throw OutputError( name_, errno );
   }
}

std::filesystem::path whatIsWritten( const std::string &file ) {
   namespace fs = std::filesystem;
   constexpr int mostLinks = 40;
   std::error_code error;
   fs::path path = file;
   for ( int i = 0; i < mostLinks && fs::is_symlink( path, error ); ++i ) {
      path = path.parent_path() / fs::read_symlink( path, error );
   }
   path = fs::absolute( path, error );
   const auto canonical = fs::weakly_canonical( path, error );
   return error ? path : canonical;
}

void writeFile( const std::string &file, std::string_view text ) {
   namespace fs = std::filesystem;
   std::error_code error;
   if ( fs::exists( file, error ) && !fs::is_regular_file( file, error ) ) {
      writeTo( file, text, file );
      return;
   }
   const auto path = whatIsWritten( file ); // a link stays one
   const auto draft = path.string() + ".new";
   try {
      writeTo( draft, text, file );
      fs::rename( draft, path, error );
      if ( error ) {
         throw OutputError( file, error.value() );
      }
   } catch ( const OutputError & ) {
      fs::remove( draft, error );
      throw;
   }
}

bool Output::isTerminal() const {
   return isatty( descriptor_ );
}

} // namespace QuarraTool
