#pragma once

#include "Nodra/Trace.h"

namespace QuarraTcam {

extern Nodra::TraceHandle portsManagerTrace;

namespace {

[[maybe_unused]] constexpr Nodra::TraceHandle &unitTrace = portsManagerTrace;

} // namespace
} // namespace QuarraTcam
