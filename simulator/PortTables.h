#pragma once

#include <array>
#include <bitset>
#include <map>
#include <vector>

#include "QuarraCentral/QuarraModPort.h"
#include "Vesk/Bitmap.h"

namespace QuarraSimulator {

using namespace Nodra::Types;

// The tables that every chip has by port: the ACL-group words of SDK6, kept as the member ports of each
// group, and the source-trunk map.
class PortTables {
 public:
   using Words = std::map<QuarraCentral::QuarraModPort, U32>; // only words that are not 0
   using Ports = std::bitset<U10::max + 1>;                   // one a port position, connected or not

   explicit PortTables( U32 groups ) : members_( groups ) {}

   // The listed ports become the group's members, all others are none. Fails (parameter) for a group that is
   // not there and for a list that is missing or has a port twice or above 1023.
   int membersIs( U32 group, U32 count, const U32 *ports );
   bool isMember( U32 group, U32 port ) const { return port <= U10::max && members_[ group ].test( port ); }
   Vesk::Bitmap groupsOf( U32 port ) const; // a bit a group
   Ports membersOfAny() const;

   // Fails for a table other than 9 and 10 (not found) and for a port without module (parameter).
   int wordIs( U8 table, const QuarraCentral::QuarraModPort &port, U32 value );
   const Words *words( U8 table ) const; // null when there is no such table

   static constexpr std::array<U8, 2> wordTables = { 9, 10 };

 private:
   static std::size_t tablePlace( U8 table );

   std::vector<Ports> members_;
   std::array<Words, wordTables.size()> words_; // in the order of wordTables
};

} // namespace QuarraSimulator
