#pragma once

#include "acl/AclConfig.h"
#include "lab/Plan.h"
#include "tools/GroupMap.h"

namespace QuarraTool {

using namespace QuarraLab;

// The rules of a configuration as requests to a switch of these ports, in order, without entry numbers.
// Tables that are left out have none. `map` has the group of every type. Throws InputError for ports that the
// switch has not.
WantedEntries wantedOf( const QuarraAcl::AclConfig &config, const GroupMap &map,
                        const std::vector<QuarraAgent::ChipPort> &ports );

} // namespace QuarraTool
