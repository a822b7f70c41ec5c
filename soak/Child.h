#pragma once

#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace QuarraSoak {

using Clock = std::chrono::steady_clock;

// How a child process ended, and what it wrote.
struct Ending {
   int status = 0; // as waitpid() gives it
   bool killed = false;
   std::string output;
   std::string errors; // standard error, the last megabyte of it

   bool exitedWith( int code ) const;
   bool clean() const { return exitedWith( 0 ); }
   bool aborted() const; // std::abort
   std::vector<std::string> errorLines() const;
};

// A function in a child process of its own: an abort ends only the child. The function writes what the parent
// is to have to the stream; its result is the exit code, 255 when it throws or its output is not written.
// SIGINT and SIGHUP are the parent's to decide on. The child does not outlive its parent.
class Child {
 public:
   // Throws std::system_error when there is no process or descriptor to be had; nothing is left behind then.
   explicit Child( const std::function<int( std::FILE *output )> &work );
   Child( const Child & ) = delete;
   Child &operator=( const Child & ) = delete;
   ~Child(); // kills it, unless it has ended

   // Takes in what the children write, until one of them writes or ends, a signal comes, or the time is over.
   static void listen( const std::vector<Child *> &children, std::chrono::milliseconds most );

   const std::string &output() const { return streams_.front().text; } // so far
   Clock::time_point lastHeard() const { return lastHeard_; }
   bool closed() const; // has closed its output and its standard error, as at its end

   // Waits for the end. A child that is silent for longer than the patience is killed.
   Ending end( std::chrono::seconds patience = std::chrono::hours( 24 ) );
   Ending kill();

 private:
   struct Stream {
      int descriptor = -1;
      std::string text = {};
   };

   void runs( const std::function<int( std::FILE *output )> &work, int output, int errors );
   void take( Stream &stream );
   Ending reap( bool killed );

   std::array<Stream, 2> streams_; // output, standard error
   Clock::time_point lastHeard_ = Clock::now();
   pid_t process_ = 0; // 0: has been waited for
};

} // namespace QuarraSoak
