#pragma once

#include "Nodra/Attributes.h"

namespace QuarraCommon {

using namespace Nodra::Types;

// Chip-wide sizes of a chip profile.
class QuarraCommonFeatureAttributes {
   ATTR( portBits, U8 ); // bits of a port number inside a module; the highest port is 2^n - 1
   ATTR( maxInterfacesPerSwitchChip, U32 );

 public:
   // The chip's own numbering of system ports: the port number, with the module id above its bits.
   U32 systemPort( U16 modId, U32 port, U32 /*maxPorts*/ ) const {
      constexpr U8 wordBits = 32;
      return portBits_ < wordBits ? U32{ modId } << portBits_ | port : port;
   }
};

} // namespace QuarraCommon
