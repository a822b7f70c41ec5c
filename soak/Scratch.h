#pragma once

#include <string>

namespace QuarraSoak {

// A directory of its own, that goes with this object: in TMPDIR, or where that is not set in memory, if there
// is such a file system. What is written there need not outlive the machine.
class Scratch {
 public:
   Scratch(); // throws std::system_error
   Scratch( const Scratch & ) = delete;
   Scratch &operator=( const Scratch & ) = delete;
   ~Scratch();

   const std::string &path() const { return path_; }

 private:
   std::string path_;
};

} // namespace QuarraSoak
