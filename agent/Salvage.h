#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/Store.h"

namespace QuarraAgent {

// What can be read of a store that may be damaged, newer or gone.
struct Salvaged {
   std::string why;                       // what is wrong with it, "storeDamaged: ..."; empty: nothing
   std::optional<StoreIdentity> identity; // variant and chip
   std::vector<TcamGroupId> groups;       // that hold pools, in the order of their creation
   std::vector<InstallRequest> entries;   // in the order in which they came;
                                          // without one that was being removed
   U64 unreadable = 0;                    // rows that are not as they were written
};

// Reads what is as it was written, each row by its own sum, and changes nothing but the place of what is in
// the store's log. Throws StoreRefused ("storeInUse") only.
Salvaged salvage( const std::string &path );

} // namespace QuarraAgent
