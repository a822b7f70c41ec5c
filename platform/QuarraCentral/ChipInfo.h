#pragma once

#include <compare>
#include <ostream>

#include "Nodra/Types.h"

namespace QuarraCentral {

using namespace Nodra::Types;

// Identifies a switch chip of the system: which model it is, and which chip of the system. The default one is
// no chip.
struct ChipInfo {
   U16 model = 0;
   U16 chipId = 0; // the name by which the port-table service knows the chip

   auto operator<=>( const ChipInfo & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const ChipInfo &chip ) {
      return out << "model " << chip.model << " chip " << chip.chipId;
   }
};

} // namespace QuarraCentral
