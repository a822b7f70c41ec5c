#pragma once

#include "Nodra/Trace.h"

namespace QuarraTcam {

extern Nodra::TraceHandle portsManagerTypesTrace;

namespace {

[[maybe_unused]] constexpr Nodra::TraceHandle &unitTrace = portsManagerTypesTrace;

} // namespace
} // namespace QuarraTcam
