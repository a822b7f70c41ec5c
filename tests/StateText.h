#pragma once

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "simulator/SimulatedChip.h"

namespace QuarraTest {

// All that the library and the chip hold, as text: the spaces; of each group its pools with their queues, its
// requests and its index; the chip's tables. Equal exactly when the states are.
std::string stateText( const QuarraTcam::QuarraTcamPortsManager &manager,
                       const QuarraSimulator::SimulatedChip &chip );

} // namespace QuarraTest
