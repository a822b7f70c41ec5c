#include "tests/Child.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <exception>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

namespace QuarraTest {
namespace {

constexpr int thrown = 255;

// Ends without the clean-up of the process that it was forked from.
[[noreturn]] void runAndExit( const std::function<int()> &work ) {
   try {
      _exit( work() );
   } catch ( const std::exception &exception ) {
      std::fprintf( stderr, "%s\n", exception.what() );
   }
   _exit( thrown );
}

std::string readAll( int file ) {
   std::string text;
   std::array<char, 4096> buffer{};
   for ( ssize_t n = 0; ( n = read( file, buffer.data(), buffer.size() ) ) > 0; ) {
      text.append( buffer.data(), static_cast<std::size_t>( n ) );
   }
   return text;
}

} // namespace

bool Ending::exitedWith( int code ) const {
   return WIFEXITED( status ) && WEXITSTATUS( status ) == code;
}

bool Ending::aborted() const {
   return WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT;
}

Ending runInChild( const std::function<int()> &work ) {
   std::array<int, 2> errors{};
   Ending ending{ -1, {} };
   if ( pipe( errors.data() ) != 0 ) {
      return ending;
   }
   const pid_t child = fork();
   if ( child == 0 ) {
      dup2( errors[ 1 ], STDERR_FILENO );
      runAndExit( work );
   }
   close( errors[ 1 ] );
   std::istringstream text( readAll( errors[ 0 ] ) );
   close( errors[ 0 ] );
   for ( std::string line; std::getline( text, line ); ) {
      ending.lines.push_back( line );
   }
   if ( child > 0 ) {
      waitpid( child, &ending.status, 0 );
   }
   return ending;
}

} // namespace QuarraTest
