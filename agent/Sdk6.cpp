#include "agent/Generation.h"

// The row of the SDK6 generation.
namespace QuarraAgent {
namespace {

// Groups of one-bit pools: tables of one type may overlap in their ports.
constexpr GroupOfTables groupMap[] = {
   { "L3", 13 },          { "L3V6", 14 },  { "L3V4V6", 59 }, { "MIRROR", 42 },     { "MIRRORV6", 43 },
   { "MIRROR_DSCP", 52 }, { "PFCWD", 55 }, { "MCLAG", 56 },  { "CTRLPLANE", 108 }, { otherTableTypes, 132 },
};

constexpr ShippedChip chips[] = {
   { "sdk6-64", 64, 0, 16, 9, 510, "64 flexible bits, a 16-bit source trunk map, 510 ports" },
};

} // namespace

// A port's word has 64 bits. The ranges of the chip's ports and of its twin's differ by one at both ends.
constinit const Generation sdk6Generation = {
   .sdk = Sdk::Generation::sdk6,
   .name = "SDK6",
   .modelNumber = 6,
   .limits = { .flexibleBits = 64,
               .aclGroupBits = 64,
               .ports = U10::max,
               .lastModule = 63,
               .systemPortBits = 0 },
   .startUp = { .flexible = 14, .ifpSourceTrunkMap = 6 },
   .ethernetPorts = { .first = 1, .last = 511, .cpuPorts = true },
   .twinEthernetPorts = { .first = 0, .last = 510, .cpuPorts = true },
   .tableFunctions = {},
   .groupMap = groupMap,
   .chips = chips,
};

} // namespace QuarraAgent
