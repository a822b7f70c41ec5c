#pragma once

#include <string>
#include <vector>

#include "QuarraCentral/QuarraModPort.h"
#include "agent/Variants.h"

namespace QuarraAgent {

using namespace Nodra::Types;

// An interface of the switch and the chip port behind it.
struct ChipPort {
   std::string intf;
   QuarraCentral::QuarraModPort port;

   bool operator==( const ChipPort & ) const = default;
};

// A chip as the agent is told of it.
struct ChipConfig {
   std::string profile;
   U8 flexibleBits = 0;       // flexible-width part of the ACL-group value
   U8 fixedBits = 0;          // fixed-width part
   U8 sourceTrunkMapBits = 0; // class-ID field of a source-trunk-map word
   U8 portBits = 0;           // bits of a system port's number
   U32 tcamRowBits = 0;       // key bits of one TCAM row
   U32 ruleBits = 0;          // key bits that a rule takes for its own fields, without ports
   U32 portBitmapBits = 0;    // key bits of a port bitmap
   std::vector<ChipPort> ports;
   std::vector<QuarraCentral::QuarraModPort> cpuPorts;

   bool operator==( const ChipConfig & ) const = default;
};

ChipConfig chipOf( const ShippedChip &shipped );
ChipConfig defaultChip( const Generation &generation );

// Numbers of the chip's ports that carry an ACL-group value, from 0.
U32 portNumbers( const Generation &generation, const ChipConfig &config );

// Interface name of a port that nobody named: "Port5", "Port2/5" outside module 0.
std::string portName( const QuarraCentral::QuarraModPort &port );

// Why the chip cannot be one of this variant, each reason a message; empty when it can. With the code under
// which they are refused.
inline constexpr char badChip[] = "badChip";
std::vector<std::string> chipProblems( const Variant &variant, const ChipConfig &config );

// Throws RequestRefused with the first of them.
void checkChip( const Variant &variant, const ChipConfig &config );

} // namespace QuarraAgent
