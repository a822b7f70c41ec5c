#pragma once

#include "Nodra/Assert.h"
#include "QuarraCentral/ChipProfile.h"

// Utilities of the common chip library.
namespace QuarraCentral {

// System port of a port of a module. The chip's own numbering holds where the active profile has one.
// Elsewhere a module takes 256 system ports, and port 0 maps to the slot just past the last port (known
// behaviour system-port-of-port-0).
inline U32 SYSPORT_FROM_MODPORT( const ChipInfo &chipInfo, U16 modId, U32 port, U32 maxPorts ) {
   NODRA_ASSERT( chipInfo != ChipInfo() ) << " chipInfo NULL";
   const auto &profile = activeChipProfile( chipInfo );
   if ( profile && profile->commonFeatureAttributes() ) {
      return profile->commonFeatureAttributes()->systemPort( modId, port, maxPorts );
   }
   NODRA_ASSERT( maxPorts <= 255 ) << " maxPorts: " << maxPorts << "invalid";
   return port ? U32{ modId } << 8 | ( port & 0xff ) : U32{ modId } << 8 | maxPorts;
}

inline U32 getMaxInterfacesPerSwitchChip( const ChipInfo &chipInfo ) {
   NODRA_ASSERT( chipInfo != ChipInfo() ) << " chipInfo NULL";
   const auto &activeProfile = activeChipProfile( chipInfo );
   NODRA_ASSERT( activeProfile ) << " activeProfile NULL for chip:" << chipInfo << ", profile:"
                                 << "none";
   const auto &attributes = activeProfile->commonFeatureAttributes();
   NODRA_ASSERT( attributes ) << " QuarraCommon DPCI NULL for chip:" << chipInfo
                              << ", profile:" << activeProfile->name();
   return attributes->maxInterfacesPerSwitchChip();
}

} // namespace QuarraCentral
