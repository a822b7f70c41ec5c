// A change as a list of rows, each with an operation: SET merges fields into the row, DEL takes it.
#pragma once

#include "acl/Draft.h"

namespace QuarraAcl {

bool isRowOperations( const Json &root );

// Applies the operations in order to a nested config_db.json. One that is not understood is a complaint, and
// left out.
void applyRowOperations( const Json &operations, const std::string &file, Json &document,
                         Complaints &complaints, Warnings &warnings );

} // namespace QuarraAcl
