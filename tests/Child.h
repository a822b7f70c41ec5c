#pragma once

#include <functional>
#include <string>
#include <vector>

namespace QuarraTest {

// How a child process ended, and the lines that it wrote on standard error.
struct Ending {
   int status = 0; // as waitpid gives it
   std::vector<std::string> lines;

   bool exitedWith( int code ) const;
   bool aborted() const;
};

// Forks and runs `work` in the child, which starts from this process's state, changes nothing in it, and
// exits with the result. An exception counts as the result 255 and leaves its text as a line.
Ending runInChild( const std::function<int()> &work );

} // namespace QuarraTest
