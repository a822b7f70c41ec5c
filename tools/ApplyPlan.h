#pragma once

#include "tools/Options.h"
#include "tools/Output.h"

namespace QuarraTool {

// Carries a plan's file out on the switch of --switch and checks the matches. Gives the exit code. Throws
// InputError for a file that is no plan, and for a switch that is not the one that was planned for: nothing
// is touched then.
int applyPlan( const GlobalOptions &global, const std::string &file, Output &out );

} // namespace QuarraTool
