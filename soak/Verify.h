#pragma once

#include "lab/Switch.h"
#include "soak/Model.h"

namespace QuarraSoak {

using QuarraLab::Switch;

// The model of a switch after set-up: the same chip, and the groups as they are registered.
Model modelOf( const Switch &theSwitch );

// Compares everything that library, agent and chip hold with the model: spaces, groups, pools with their
// queues, requests, references, index, qualifiers, the ports' values, the posted words. Gives the first
// difference, or an empty text.
std::string verifyAll( const Model &model, const Switch &theSwitch );

} // namespace QuarraSoak
