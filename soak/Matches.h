#pragma once

#include "lab/Switch.h"
#include "soak/Model.h"

namespace QuarraSoak {

using QuarraLab::Switch;

// Compares what entries match and should not, or the other way round, with the model: where, and by which
// rule of the system; and what `why` makes of it, where entries and ports are many only for some of them.
// Gives the first difference, or an empty text.
std::string compareMatches( const Model &model, const Switch &theSwitch );

} // namespace QuarraSoak
