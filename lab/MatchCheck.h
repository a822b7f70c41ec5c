#pragma once

#include <string>
#include <vector>

#include "lab/Switch.h"

namespace QuarraLab {

// An entry that matches a port that it should not match, or the other way round.
struct Mismatch {
   U32 entry = 0;
   TcamGroupId group;
   QuarraModPort port;
   bool expected = false;
   bool found = false;
   std::string reason; // the rule of the system behind it
};

// Compares, for every installed entry and every port of the chip, what was asked with what the entry on the
// chip matches: its qualifier against the port's value, both read back from the chip. An entry of all
// ethernet ports is asked to match every port but the CPU's; the CPU's own ports are not compared for it
// (docs/tool.md says why).
std::vector<Mismatch> checkMatches( const Switch &theSwitch );

} // namespace QuarraLab
