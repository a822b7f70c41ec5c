#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lab/Switch.h"

namespace QuarraLab {

// The rules of the system by which an entry matches other ports than it was asked for. Each is given only
// where it was tested: where the port's value differs from what the entry's key stands for as the rule has
// it.
enum class Reason {
   sameRule,      // one rule has one class ID: a newer entry of it asked for other ports
   portTaken,     // a port carries one class ID of a group of wide pools: a newer entry took the port
   sharedOffset,  // the groups at one fixed offset share their bit
   coveredOffset, // a pool lies over the bit of the fixed-offset groups, which the search does not know of
   offsetCleared, // a class ID over the bit of the fixed-offset groups left the port, and took the bit along
   bitWithoutOthers, // a bit of a fixed-width group is programmed without the ports of its other class IDs
   ethernetPorts,    // "all ethernet ports" is a range of ports, and the port lies outside
   failedLookUp,     // a look-up of the port's table entry failed, and was taken for a missing entry
   fault,            // none of them
};

// An entry that matches a port that it should not match, or the other way round.
struct Mismatch {
   U32 entry = 0;
   TcamGroupId group;
   QuarraModPort port;
   bool expected = false;
   bool found = false;
   Reason reason = Reason::fault;
   // Of portTaken: an entry of the request that holds the port; 0 when the one that took it was removed
   // since.
   std::optional<U32> taker = {};
   // Of coveredOffset: the group whose pool it is.
   std::optional<TcamGroupId> coveringGroup = {};
};

// "portTaken".
std::string reasonName( Reason reason );

// Its id in docs/known-behaviours.md; empty for a fault.
std::string_view knownBehaviour( Reason reason );

// The rule in prose. Without a taker it says so of any newer entry.
std::string reasonText( const QuarraAgent::Variant &variant, const Mismatch &mismatch );

// Compares, for every installed entry and every port of the chip, what was asked with what the chip says that
// the entry matches. An entry of all ethernet ports is asked to match every port but the CPU's; the CPU's own
// ports are not compared for it (docs/tool.md says why). Takes time in proportion to entries times ports.
std::vector<Mismatch> checkMatches( const Switch &theSwitch );

// Mismatches of one cause: the same reason in the same group, the same way round.
struct Cause {
   Mismatch first; // without its taker
   std::size_t mismatches = 0;
   std::size_t entries = 0;
   std::size_t ports = 0;
   std::vector<Mismatch> examples = {}; // the first few
};

// All mismatches by cause, in the order in which the causes first appear.
std::vector<Cause> causesOf( const std::vector<Mismatch> &mismatches, std::size_t examples );

} // namespace QuarraLab
