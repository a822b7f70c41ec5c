#include "soak/Child.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <sstream>
#include <system_error>

#include <sys/wait.h>
#include <unistd.h>

namespace QuarraSoak {
namespace {

std::string contents( std::FILE *file ) {
   std::string text;
   std::rewind( file );
   char buffer[ 4096 ];
   for ( std::size_t n = 0; ( n = std::fread( buffer, 1, sizeof buffer, file ) ) > 0; ) {
      text.append( buffer, n );
   }
   return text;
}

// An exception must not reach the parent's code, which the child would go on with.
int outcome( const std::function<int( std::FILE * )> &work, std::FILE *output ) {
   try {
      return work( output );
   } catch ( const std::exception &exception ) {
      std::fprintf( stderr, "%s\n", exception.what() );
   }
   constexpr int thrown = 255;
   return thrown;
}

std::FILE *temporary() {
   std::FILE *const file = std::tmpfile();
   if ( !file ) {
      throw std::system_error( errno, std::generic_category(), "temporary file" );
   }
   return file;
}

} // namespace

bool Ending::exitedWith( int code ) const {
   return WIFEXITED( status ) && WEXITSTATUS( status ) == code;
}

std::vector<std::string> Ending::errorLines() const {
   std::vector<std::string> lines;
   std::istringstream in( errors );
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

bool Ending::aborted() const {
   return WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT;
}

Child::Child( const std::function<int( std::FILE *output )> &work )
   : output_( temporary(), std::fclose ), errors_( temporary(), std::fclose ) {
   std::fflush( nullptr );
   process_ = fork();
   if ( process_ < 0 ) {
      throw std::system_error( errno, std::generic_category(), "fork" );
   }
   if ( process_ == 0 ) {
      dup2( fileno( errors_.get() ), STDERR_FILENO );
      const int code = outcome( work, output_.get() );
      std::fflush( nullptr );
      _exit( code );
   }
}

Ending Child::end() {
   int status = 0;
   waitpid( process_, &status, 0 );
   return end( status );
}

Ending Child::end( int status ) {
   return { status, contents( output_.get() ), contents( errors_.get() ) };
}

} // namespace QuarraSoak
