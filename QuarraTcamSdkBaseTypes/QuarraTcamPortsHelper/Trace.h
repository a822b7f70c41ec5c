#pragma once

#include "Nodra/Trace.h"

namespace QuarraTcam {

extern Nodra::TraceHandle portsHelperTrace;

namespace {

[[maybe_unused]] constexpr Nodra::TraceHandle &unitTrace = portsHelperTrace;

} // namespace
} // namespace QuarraTcam
