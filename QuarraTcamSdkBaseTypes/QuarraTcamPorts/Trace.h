#pragma once

#include "Nodra/Trace.h"

namespace QuarraTcam {

extern Nodra::TraceHandle portsTrace;

namespace {

[[maybe_unused]] constexpr Nodra::TraceHandle &unitTrace = portsTrace;

} // namespace
} // namespace QuarraTcam
