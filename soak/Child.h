#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace QuarraSoak {

// How a child process ended, and what it wrote.
struct Ending {
   int status = 0; // as wait() gives it
   std::string output;
   std::string errors; // standard error

   bool exitedWith( int code ) const;
   bool clean() const { return exitedWith( 0 ); }
   bool aborted() const; // std::abort
   std::vector<std::string> errorLines() const;
};

// A function in a child process of its own: an abort ends only the child. The function writes what the parent
// is to have to the stream; its result is the exit code, 255 when it throws.
class Child {
 public:
   explicit Child( const std::function<int( std::FILE *output )> &work );

   pid_t process() const { return process_; }

   // Waits for the end. With a status that someone has waited for already, does not wait.
   Ending end();
   Ending end( int status );

 private:
   using File = std::unique_ptr<std::FILE, int ( * )( std::FILE * )>;

   File output_;
   File errors_;
   pid_t process_ = 0;
};

} // namespace QuarraSoak
