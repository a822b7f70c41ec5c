// The rows of a config_db.json as a draft of ACLs.
#pragma once

#include "acl/ConfigRows.h"
#include "acl/Draft.h"

namespace QuarraAcl {

void draftConfigDb( const ConfigRows &rows, Complaints &complaints, Draft &draft );

} // namespace QuarraAcl
