#pragma once

#include <span>

namespace QuarraTcam {

struct SdkFunction {
   const char *name;
   bool linked;
};

// Aborts, with the names of those that are missing, unless all functions that the helpers of a generation
// call are linked.
void requireSdk( const char *generation, std::span<const SdkFunction> functions );

} // namespace QuarraTcam
