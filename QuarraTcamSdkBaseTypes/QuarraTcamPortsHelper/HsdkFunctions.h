#pragma once

#include "Sdk/Bcm.h"
#include "Sdk/Bcmlt.h"

// Every source that calls an SDK function of the generation includes this: the references are weak, so that
// an agent for the chips of another generation links without them.
#pragma weak bcmlt_entry_allocate
#pragma weak bcmlt_entry_commit
#pragma weak bcmlt_entry_field_add
#pragma weak bcmlt_entry_field_get
#pragma weak bcmlt_entry_free
#pragma weak velmor_bcm_field_qualify_SubportGroupIds

namespace QuarraTcam {

// Aborts unless all that the generation's helpers call is linked.
void requireHsdk();

} // namespace QuarraTcam
