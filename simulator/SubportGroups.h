#pragma once

#include <bitset>
#include <vector>

#include "simulator/Backend.h"

namespace QuarraSimulator {

// The ACL-group words of SDK6, kept as the member ports of each group.
class SubportGroups {
 public:
   using Ports = std::bitset<U10::max + 1>; // one a port position, connected or not

   explicit SubportGroups( U32 groups ) : members_( groups ) {}

   // The listed ports become the group's members, all others are none. Fails (parameter) for a group that is
   // not there and for a list that is missing or has a port twice or above 1023.
   int membersIs( U32 group, U32 count, const U32 *ports );
   const Ports &changed() const { return changed_; } // ports whose word the last call changed

   AclGroupValue groupsOf( U32 port ) const; // a bit a group
   void groupsOfIs( U32 port, const AclGroupValue &value );
   std::vector<U32> members( U32 group ) const; // rising
   Ports membersOfAny() const;

 private:
   std::vector<Ports> members_;
   Ports changed_;
};

} // namespace QuarraSimulator
