#pragma once

#include <string>

#include "agent/ChipConfig.h"
#include "tools/JsonFields.h"

namespace QuarraTool {

// Which variant, on which chip.
struct ChipChoice {
   const QuarraAgent::Variant *variant;
   QuarraAgent::ChipConfig chip;
};

// The shipped default chip of a variant. Throws RequestRefused ("unknownVariant") with the names that there
// are.
ChipChoice defaultChoice( const std::string &variant );

// Reads what a chip file, or the batch operation "chip", may set: variant, profile, flexibleBits, fixedBits,
// sourceTrunkMapBits, portBits, tcamRowBits, ruleBits, portBitmapBits, ports (a list, or a number n for 1 to
// n), cpuPorts. What is not set is the profile's, and without a profile the variant's default chip's. A
// variant that is not set is `choice`'s. Throws RequestRefused; leaves finish() to the caller.
ChipChoice readChip( JsonFields &fields, const ChipChoice &choice );

// Reads a chip file; throws InputError for a file that cannot be read or is no JSON, RequestRefused for what
// it says.
ChipChoice readChipFile( const std::string &file, const ChipChoice &choice );

} // namespace QuarraTool
