#pragma once

#include "Nodra/Trace.h"

namespace QuarraAgent {

extern Nodra::TraceHandle agentTrace;

namespace {

[[maybe_unused]] constexpr Nodra::TraceHandle &unitTrace = agentTrace;

} // namespace
} // namespace QuarraAgent
