#pragma once

#include <bitset>
#include <optional>
#include <vector>

#include "agent/TcamAgent.h"

namespace QuarraAgent {

// The ACL-group values of a chip's ports, by port number (HSDK: system port).
using PortBits = std::vector<std::bitset<256>>;

// What every port carries when each bit is on the ports that the manager last put it on.
PortBits expectedBits( const TcamAgent &agent );

// What the chip holds; none where it cannot be read back, or where the agent leaves the chip's bits alone.
std::optional<PortBits> readBits( const TcamAgent &agent );

// Makes the chip hold `expected` where it holds `found`; writes only what differs.
void writeBits( const TcamAgent &agent, const PortBits &expected, const PortBits &found );

} // namespace QuarraAgent
