#pragma once

#include "Sdk/Bcm.h"

// Every source that calls an SDK function of the generation includes this: the references are weak, so that
// an agent for the chips of another generation links without them.
#pragma weak bcm_field_qualify_InterfaceClassPort
#pragma weak bcm_subport_port_group_subport_multi_set
#pragma weak vm_field_qualify_SubportGroupIds

namespace QuarraTcam {

// Aborts unless all that the generation's helpers call is linked.
void requireSdk6();

} // namespace QuarraTcam
