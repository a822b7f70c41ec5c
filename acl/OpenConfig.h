// ACLs of the OpenConfig model (module openconfig-acl) as a draft.
#pragma once

#include "acl/Draft.h"
#include "lab/JsonText.h"

namespace QuarraAcl {

bool isOpenConfig( const Json &root );
void draftOpenConfig( const Json &root, const std::string &file, Complaints &complaints, Draft &draft );

} // namespace QuarraAcl
