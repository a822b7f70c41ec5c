#pragma once

#include "Nodra/Types.h"

namespace Sdk {

using namespace Nodra::Types;

// What the qualifier of a TCAM entry is held against on a packet's ingress port. Told when the entry is
// created.
struct QualifierFrame {
   U8 sourceTrunkMapTable = 0; // not 0: the port's word in this table
   // Else the port's ACL-group value:
   U8 firstBit = 0; // the bit of it that bit 0 of the qualifier reads
   U8 startBit = 0; // the bits of it that the qualifier may cover, from this one
   U8 endBit = 0;   // to this one, which is among them

   bool operator==( const QualifierFrame & ) const = default;
};

} // namespace Sdk
