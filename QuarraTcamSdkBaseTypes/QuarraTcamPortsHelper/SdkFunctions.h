#pragma once

#include <span>

#include "QuarraTcamSdkBaseTypes/Export.h"

namespace QuarraTcam {

struct SdkFunction {
   const char *name;
   bool linked;
};

// Aborts, with the names of those that are missing, unless all functions that the helpers of a generation
// call are linked. Exported for the tests only, whose process has them all.
QUARRA_TCAM_API void requireSdk( const char *generation, std::span<const SdkFunction> functions );

} // namespace QuarraTcam
