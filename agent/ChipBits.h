#pragma once

#include <bitset>
#include <optional>
#include <vector>

#include "agent/TcamAgent.h"

namespace QuarraAgent {

// The ACL-group values of a chip's ports, by port number (HSDK: system port).
using PortBits = std::vector<std::bitset<256>>;

// How the chips of a generation are asked for them, and told.
struct BitsOnChip {
   std::optional<PortBits> ( *read )( const TcamAgent &agent ); // none where they cannot be read back
   void ( *write )( const TcamAgent &agent, const PortBits &expected, const PortBits &found );
};

// How many of them the chip has.
inline U32 aclGroupBits( const ChipConfig &chip ) {
   return U32{ chip.flexibleBits } + chip.fixedBits;
}

// What every port carries when each bit is on the ports that the manager last put it on.
PortBits expectedBits( const TcamAgent &agent );

// What the chip holds; none where it cannot be read back, or where the agent leaves the chip's bits alone.
std::optional<PortBits> readBits( const TcamAgent &agent );

// Makes the chip hold `expected` where it holds `found`; writes only what differs.
void writeBits( const TcamAgent &agent, const PortBits &expected, const PortBits &found );

} // namespace QuarraAgent
