#pragma once

#include "Nodra/Types.h"
#include "Sdk/Bcmlt.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

// The chip's numbers for exchanges with its tables, asked of it once for many entries.
struct TableNumbers {
   bcmlt_opcode_t lookup = SdkShim->opcode( Sdk::Opcode::lookup );
   bcmlt_opcode_t update = SdkShim->opcode( Sdk::Opcode::update );
   bcmlt_opcode_t insert = SdkShim->opcode( Sdk::Opcode::insert );
   bcmlt_priority_level_t priority = SdkShim->priorityNormal();
};

// Opens a handle on the entry of a system port and looks the entry up; false when the table has none for the
// port. The caller frees the handle in either case.
bool lookUpSystemPort( int unit, const TableNumbers &numbers, Nodra::Types::U32 system_source,
                       bcmlt_entry_handle_t &systemPortEntry );

} // namespace QuarraTcam
