// Makes a configuration of a draft: looks up what its names stand for.
#pragma once

#include "acl/AclConfig.h"
#include "acl/Draft.h"

namespace QuarraAcl {

// What is complained about, in the draft or here, is left out. `file` names the sources, for complaints about
// the whole.
AclConfig assemble( const Draft &draft, const std::string &file, Complaints &complaints );

} // namespace QuarraAcl
