#include "agent/Generation.h"

// The row of the HSDK generation.
namespace QuarraAgent {
namespace {

// With fixed-width class IDs a one-bit group holds one port set, so here groups of eight-bit pools: 255 port
// sets each, but a port belongs to one of them.
constexpr GroupOfTables groupMap[] = {
   { "L3", 16 },          { "L3V6", 17 },  { "L3V4V6", 18 }, { "MIRROR", 19 },    { "MIRRORV6", 20 },
   { "MIRROR_DSCP", 21 }, { "PFCWD", 22 }, { "MCLAG", 23 },  { "CTRLPLANE", 24 }, { otherTableTypes, 25 },
};

constexpr ShippedChip chips[] = {
   { "hsdk-256", 32, 128, 0, 8, 255,
     "32 flexible and 128 fixed bits, no source trunk map, 256 system ports" },
   { "hsdk-1024", 32, 128, 0, 10, 1023,
     "32 flexible and 128 fixed bits, no source trunk map, 1,024 system ports" },
};

constexpr std::string_view tableFunctions[] = {
   "bcmlt_entry_allocate",  "bcmlt_entry_commit", "bcmlt_entry_field_add",
   "bcmlt_entry_field_get", "bcmlt_entry_free",
};

constexpr EthernetPorts allSystemPorts = { .first = 0, .last = U10::max, .cpuPorts = false };

} // namespace

constinit const Generation hsdkGeneration = {
   .sdk = Sdk::Generation::hsdk,
   .name = "HSDK",
   .modelNumber = 7,
   .limits = { .flexibleBits = 64,
               .aclGroupBits = 160,
               .ports = U10::max + 1,
               .lastModule = 0,
               .systemPortBits = 10 },
   .startUp = { .flexible = 12, .ifpSourceTrunkMap = 0 },
   .ethernetPorts = allSystemPorts,
   .twinEthernetPorts = allSystemPorts,
   .tableFunctions = tableFunctions,
   .groupMap = groupMap,
   .chips = chips,
};

} // namespace QuarraAgent
