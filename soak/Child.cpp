#include "soak/Child.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <exception>
#include <sstream>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace QuarraSoak {
namespace {

[[noreturn]] void fail( const char *what ) {
   throw std::system_error( errno, std::generic_category(), what );
}

void shut( int &descriptor ) {
   if ( descriptor >= 0 ) {
      close( descriptor );
      descriptor = -1;
   }
}

// A pipe away from the descriptors of the standard streams, should one of those be closed.
struct Pipe {
   int read = -1;
   int write = -1;

   Pipe() {
      int ends[ 2 ];
      if ( pipe2( ends, O_CLOEXEC ) != 0 ) {
         fail( "pipe" );
      }
      read = fcntl( ends[ 0 ], F_DUPFD_CLOEXEC, STDERR_FILENO + 1 );
      write = fcntl( ends[ 1 ], F_DUPFD_CLOEXEC, STDERR_FILENO + 1 );
      const int error = errno;
      close( ends[ 0 ] );
      close( ends[ 1 ] );
      if ( read < 0 || write < 0 ) {
         shut( read );
         shut( write );
         errno = error;
         fail( "pipe" );
      }
   }
   Pipe( const Pipe & ) = delete;
   Pipe &operator=( const Pipe & ) = delete;
   ~Pipe() {
      shut( read );
      shut( write );
   }
};

// An exception must not reach the parent's code, which the child would go on with.
int outcome( const std::function<int( std::FILE * )> &work, std::FILE *output ) {
   constexpr int failed = 255;
   try {
      const int code = work( output );
      if ( std::fflush( output ) == 0 && !std::ferror( output ) ) {
         return code;
      }
      std::fputs( "the output of the process could not be written\n", stderr );
   } catch ( const std::exception &exception ) {
      std::fprintf( stderr, "%s\n", exception.what() );
   }
   return failed;
}

} // namespace

bool Ending::exitedWith( int code ) const {
   return !killed && WIFEXITED( status ) && WEXITSTATUS( status ) == code;
}

bool Ending::aborted() const {
   return !killed && WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT;
}

std::vector<std::string> Ending::errorLines() const {
   std::vector<std::string> lines;
   std::istringstream in( errors );
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

Child::Child( const std::function<int( std::FILE *output )> &work ) {
   Pipe output;
   Pipe errors;
   std::fflush( nullptr );
   const pid_t parent = getpid();
   process_ = fork();
   if ( process_ < 0 ) {
      fail( "process" );
   }
   if ( process_ == 0 ) {
      prctl( PR_SET_PDEATHSIG, SIGKILL );
      if ( getppid() != parent ) {
         _exit( 1 ); // the parent went before it could be watched
      }
      shut( output.read );
      shut( errors.read );
      runs( work, output.write, errors.write );
   }
   std::swap( streams_[ 0 ].descriptor, output.read );
   std::swap( streams_[ 1 ].descriptor, errors.read );
}

void Child::runs( const std::function<int( std::FILE *output )> &work, int output, int errors ) {
   std::signal( SIGINT, SIG_IGN );
   std::signal( SIGHUP, SIG_IGN );
   std::signal( SIGTERM, SIG_DFL );
   dup2( errors, STDERR_FILENO );
   close( errors );
   std::FILE *const stream = fdopen( output, "w" );
   const int code = stream ? outcome( work, stream ) : 255;
   std::fflush( nullptr );
   _exit( code );
}

Child::~Child() {
   if ( process_ ) {
      kill();
   }
}

void Child::take( Stream &stream ) {
   constexpr std::size_t mostErrors = 1 << 20;
   char buffer[ 1 << 16 ];
   const auto got = read( stream.descriptor, buffer, sizeof buffer );
   if ( got > 0 ) {
      stream.text.append( buffer, static_cast<std::size_t>( got ) );
      lastHeard_ = Clock::now();
   } else if ( got == 0 || errno != EINTR ) {
      shut( stream.descriptor );
   }
   if ( &stream == &streams_.back() && stream.text.size() > 2 * mostErrors ) {
      stream.text.erase( 0, stream.text.size() - mostErrors );
   }
}

void Child::listen( const std::vector<Child *> &children, std::chrono::milliseconds most ) {
   std::vector<pollfd> waiting;
   std::vector<std::pair<Child *, Stream *>> streams;
   for ( Child *const child : children ) {
      for ( auto &stream : child->streams_ ) {
         if ( stream.descriptor >= 0 ) {
            waiting.push_back( { stream.descriptor, POLLIN, 0 } );
            streams.emplace_back( child, &stream );
         }
      }
   }
   if ( poll( waiting.data(), waiting.size(), static_cast<int>( most.count() ) ) <= 0 ) {
      return;
   }
   for ( std::size_t i = 0; i < waiting.size(); ++i ) {
      if ( waiting[ i ].revents ) {
         streams[ i ].first->take( *streams[ i ].second );
      }
   }
}

bool Child::closed() const {
   return std::all_of( streams_.begin(), streams_.end(),
                       []( const auto &stream ) { return stream.descriptor < 0; } );
}

Ending Child::end( std::chrono::seconds patience ) {
   constexpr std::chrono::milliseconds step( 200 );
   while ( !closed() ) {
      if ( Clock::now() - lastHeard_ > patience ) {
         return kill();
      }
      listen( { this }, step );
   }
   return reap( false );
}

Ending Child::kill() {
   ::kill( process_, SIGKILL );
   while ( !closed() ) {
      listen( { this }, std::chrono::milliseconds( 200 ) );
   }
   return reap( true );
}

Ending Child::reap( bool killed ) {
   int status = 0;
   pid_t ended = 0;
   do {
      ended = waitpid( process_, &status, 0 );
   } while ( ended < 0 && errno == EINTR );
   process_ = 0;
   // Whoever took the status away took it unseen.
   return { status, killed || ended < 0, std::move( streams_[ 0 ].text ), std::move( streams_[ 1 ].text ) };
}

} // namespace QuarraSoak
