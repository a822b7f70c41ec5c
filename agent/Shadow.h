#pragma once

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"

namespace QuarraAgent {

// Makes the shadow of a simulation twin's helper what it is when every bit is on the ports that the manager
// last put it on. No SDK call. Helpers of chips have no shadow.
void restoreShadow( QuarraTcam::QuarraTcamPortsManager &manager );

} // namespace QuarraAgent
