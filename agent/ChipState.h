#pragma once

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "agent/ChipConfig.h"

namespace QuarraAgent {

// Brings the platform's shared state up for the switch's one chip, as a chip agent would: profile,
// attributes, interface maps, the common data of the TCAM agent. Gives the chip state. The SDK shim must be
// installed.
QuarraTcam::Scsd bringUpChip( const Variant &variant, const ChipConfig &config );

// The same, and connects the manager: its chip state, the variant's helper, a write-request directory. The
// manager's spaces are empty afterwards, for doSetup() to fill.
void bringUpManager( QuarraTcam::QuarraTcamPortsManager &manager, const Variant &variant,
                     const ChipConfig &config );

// Forgets what earlier agents of this process left behind in process-wide state: the registry of groups and
// the count of unique ids. For processes that start an agent more than once.
void forgetEarlierAgents();

} // namespace QuarraAgent
