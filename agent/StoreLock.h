#pragma once

#include <string>

#include "Nodra/Types.h"

namespace QuarraAgent {

using namespace Nodra::Types;

// The file "PATH.lock" beside a store: held by the one process that uses it, and says which. It also notes
// how many commits there were, so that a store that was cut back to an earlier one is found. Goes with the
// process, however it ends.
class StoreLock {
 public:
   // Throws StoreRefused: "storeInUse" with the process that holds it, "storeFailed".
   explicit StoreLock( const std::string &storePath );
   StoreLock( const StoreLock & ) = delete;
   StoreLock &operator=( const StoreLock & ) = delete;
   ~StoreLock();

   U64 commits() const { return commits_; } // as last noted; 0 when never
   void noteCommits( U64 commits );

 private:
   std::string holder() const;

   std::string storePath_;
   int file_ = -1;
   U64 commits_ = 0;
};

} // namespace QuarraAgent
