#pragma once

#include <string>

#include "agent/ChipConfig.h"
#include "lab/JsonFields.h"

namespace QuarraLab {

// An SDK call that is to fail: the n-th from the start of the switch, of all functions or of one.
struct SdkCallFailure {
   U64 nth;
   int code;
   std::string function; // empty: any
};

// Which variant, on which chip.
struct ChipChoice {
   const QuarraAgent::Variant *variant;
   QuarraAgent::ChipConfig chip;
   std::vector<SdkCallFailure> failures = {};
   bool onlySwitchOfProcess = false; // no other one is made: it may use the process's manager
};

// The shipped default chip of a variant. Throws RequestRefused ("unknownVariant") with the names that there
// are.
ChipChoice defaultChoice( const std::string &variant );

// Reads what a chip file, or the batch operation "chip", may set: variant, profile, flexibleBits, fixedBits,
// sourceTrunkMapBits, portBits, tcamRowBits, ruleBits, portBitmapBits, ports (a list, or a number n for 1 to
// n), cpuPorts. What is not set is the profile's, and without a profile the variant's default
// chip's. A variant that is not set is `choice`'s. Throws RequestRefused; leaves finish() to the caller.
ChipChoice readChip( JsonFields &fields, const ChipChoice &choice );

// "12", "12:-7", "bcmlt_entry_commit:3:-7": which call fails, and with which negative code (-1 unless given).
// Throws InputError.
SdkCallFailure sdkCallFailure( const std::string &text );

// What the text of a chip file chooses; `file` is its name in messages. Throws InputError for text that is no
// JSON, InputErrors for all that is wrong with what it says, RequestRefused when it is no object.
ChipChoice parseChip( const std::string &text, const std::string &file, const ChipChoice &choice );

// The same for a file; throws InputError when it cannot be read.
ChipChoice readChipFile( const std::string &file, const ChipChoice &choice );

} // namespace QuarraLab
