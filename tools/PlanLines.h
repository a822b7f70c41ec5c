#pragma once

#include "lab/Plan.h"
#include "tools/Batch.h"

// A plan as lines that `batch` takes: what the switch must be, then each step, and what must have come of it.
namespace QuarraTool {

std::string planLines( const Plan &plan );

struct Carried {
   std::size_t steps = 0;
   std::string error; // empty: all was as planned
};

// Carries such a file out. A switch that is not the one that was planned for is refused before anything is
// touched; the first step that ends otherwise than planned is the last one. Throws InputError for a file that
// is no plan.
Carried carryOutLines( Batch &batch, const std::string &file );

} // namespace QuarraTool
