#pragma once

#include "Nodra/Types.h"
#include "Sdk/Bcmlt.h"

namespace QuarraTcam {

// Opens a handle on the entry of a system port and looks the entry up; false when the table has none for the
// port. The caller frees the handle in either case.
bool lookUpSystemPort( int unit, Nodra::Types::U32 system_source, bcmlt_entry_handle_t &systemPortEntry );

} // namespace QuarraTcam
