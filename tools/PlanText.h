#pragma once

#include <string>

#include "lab/Plan.h"

namespace QuarraTool {

using namespace QuarraLab;

// A plan for people. What rules say, steps, wrong matches and mismatches end after some, unless `all` of them
// are wanted.
std::string planText( const Plan &plan, bool all = false );

} // namespace QuarraTool
