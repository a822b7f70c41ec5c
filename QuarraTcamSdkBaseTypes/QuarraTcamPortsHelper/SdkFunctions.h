#pragma once

#include "Sdk/Bcm.h"
#include "Sdk/Bcmlt.h"

// Every source that calls an SDK function includes this: the references are weak, so that an agent for the
// chips of one SDK generation links without the functions of the other.
#pragma weak bcm_field_qualify_InterfaceClassPort
#pragma weak bcm_subport_port_group_subport_multi_set
#pragma weak bcmlt_entry_allocate
#pragma weak bcmlt_entry_commit
#pragma weak bcmlt_entry_field_add
#pragma weak bcmlt_entry_field_get
#pragma weak bcmlt_entry_free
#pragma weak velmor_bcm_field_qualify_SubportGroupIds
#pragma weak vm_field_qualify_SubportGroupIds

namespace QuarraTcam {

// Abort, with the names of the functions, unless all that the helpers of a generation call is linked.
void requireSdk6();
void requireHsdk();

} // namespace QuarraTcam
