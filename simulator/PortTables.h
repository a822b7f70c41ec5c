#pragma once

#include <array>
#include <map>

#include "QuarraCentral/PortTabWriteRequestDir.h"

namespace QuarraSimulator {

using namespace Nodra::Types;

// The tables that every chip has by port: the source-trunk map of the ingress and of the VLAN field
// processor.
class PortTables {
 public:
   using Words = std::map<QuarraCentral::QuarraModPort, U32>; // only words that are not 0

   // Fails for a table other than 9 and 10 (not found) and for a port without module (parameter).
   int wordIs( U8 table, const QuarraCentral::QuarraModPort &port, U32 value );
   const Words *words( U8 table ) const; // null when there is no such table

   static constexpr std::array wordTables = { QuarraCentral::ifpSourceTrunkMapTable,
                                              QuarraCentral::vfpSourceTrunkMapTable };

 private:
   static std::size_t tablePlace( U8 table );

   std::array<Words, wordTables.size()> words_; // in the order of wordTables
};

} // namespace QuarraSimulator
