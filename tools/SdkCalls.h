#pragma once

#include <string>

#include "lab/Switch.h"
#include "tools/Options.h"

namespace QuarraTool {

// A table of the SDK calls made, by function.
std::string sdkCallsText( const Switch &theSwitch );

// The calls of them that wrote to the chip: of the logical-table functions, commits that are no look-ups.
U64 sdkWrites( const Switch &theSwitch );

// The exit code of a command that ends with `code`: an SDK call that was to fail but was never made is named
// on standard error, and is no success. `theSwitch` is null when none was needed.
int withFailuresChecked( const GlobalOptions &global, const Switch *theSwitch, int code );

} // namespace QuarraTool
