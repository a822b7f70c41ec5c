// ACLs of RFC 8519 (module ietf-access-control-list) as a draft.
#pragma once

#include "acl/Draft.h"
#include "lab/JsonText.h"

namespace QuarraAcl {

bool isRfc8519( const Json &root );
void draftRfc8519( const Json &root, const std::string &file, Complaints &complaints, Draft &draft );

} // namespace QuarraAcl
