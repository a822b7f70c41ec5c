#pragma once

#include <span>
#include <string_view>

#include "Nodra/Types.h"
#include "Sdk/Generation.h"

namespace QuarraAgent {

using namespace Nodra::Types;

// The most that a chip of a generation may have, and still match what the library promises.
struct GenerationLimits {
   U32 flexibleBits;
   U32 aclGroupBits;  // flexible and fixed together
   U32 ports;         // port numbers that carry an ACL-group value, from 0
   U16 lastModule;    // of a port
   U8 systemPortBits; // of a system port's number; 0: the chip knows ports by their own number
};

// Bits that the rules reserved at start-up need.
struct StartUpBits {
   U32 flexible;
   U32 ifpSourceTrunkMap;
};

// The ports that "all ethernet ports" puts a bit on.
struct EthernetPorts {
   U16 first;
   U16 last;      // at most the chip's last system port, where it has those
   bool cpuPorts; // the CPU's among them
};

// Where rules of a table type go.
struct GroupOfTables {
   std::string_view type;
   U16 tcamGroupId;
};

// Stands in a map for every type that is not listed.
inline constexpr std::string_view otherTableTypes = "OTHER";

// A chip that is shipped. Its ports are 1 to lastPort, in module 0, and the CPU's, port 0.
struct ShippedChip {
   std::string_view profile;
   U8 flexibleBits;
   U8 fixedBits;
   U8 sourceTrunkMapBits;
   U8 portBits;
   U16 lastPort;
   std::string_view description;
};

// All that the agent, and whoever tries it, has to know of an SDK generation. No field has a default: a new
// generation answers each question.
struct Generation {
   Sdk::Generation sdk;   // whose functions program its chips
   std::string_view name; // in messages
   U16 modelNumber;       // of its chips; 0 would be no chip
   GenerationLimits limits;
   StartUpBits startUp;
   EthernetPorts ethernetPorts;
   EthernetPorts twinEthernetPorts; // on its twin
   // SDK functions for the tables behind a port's value. They read as well: only the chip knows which calls
   // wrote.
   std::span<const std::string_view> tableFunctions;
   std::span<const GroupOfTables> groupMap;
   std::span<const ShippedChip> chips; // the first one is the default
};

// What each generation brings, in files of its own: the row that its variants name, its ports' bits
// (ChipBits.h), its twin's shadow (Shadow.h).
struct BitsOnChip;
struct Shadow;
extern const Generation sdk6Generation;
extern const BitsOnChip sdk6BitsOnChip;
extern const Shadow sdk6Shadow;
extern const Generation hsdkGeneration;
extern const BitsOnChip hsdkBitsOnChip;
extern const Shadow hsdkShadow;

} // namespace QuarraAgent
