#pragma once

#include "Sdk/Bcmlt.h"
#include "Sdk/SdkShim.h"
#include "Sdk/SystemPortTable.h"

namespace QuarraTcam {

// The chip's numbers for exchanges with its tables, asked of it once for many entries.
struct TableNumbers {
   bcmlt_opcode_t lookup = SdkShim->opcode( Sdk::Opcode::lookup );
   bcmlt_opcode_t update = SdkShim->opcode( Sdk::Opcode::update );
   bcmlt_opcode_t insert = SdkShim->opcode( Sdk::Opcode::insert );
   bcmlt_priority_level_t priority = SdkShim->priorityNormal();
};

// The texts of the calls, where the numbers stand by the SDK's names.
constexpr auto lookupText =
   "bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_LOOKUP, BCMLT_PRIORITY_NORMAL )";
constexpr auto updateText =
   "bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_UPDATE, BCMLT_PRIORITY_NORMAL )";
constexpr auto insertText =
   "bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_INSERT, BCMLT_PRIORITY_NORMAL )";

} // namespace QuarraTcam
