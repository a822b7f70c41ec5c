#pragma once

#include <map>
#include <string>

#include "agent/Variants.h"

namespace QuarraTool {

// Which TCAM group the rules of a table type go to.
using GroupMap = std::map<std::string, QuarraTcam::TcamGroupId>;

// Stands in a map for every type that is not listed.
inline const std::string otherTypes( QuarraAgent::otherTableTypes );

// The default map of a generation.
GroupMap defaultGroupMap( const QuarraAgent::Generation &generation );

// Adds what one option --map says, "L3=16". Throws InputError for anything else, and for a type that is
// there.
void addToMap( GroupMap &map, const std::string &text );

// Throws RequestRefused ("unknownGroup") for a group that the switch does not have. There must be a switch.
void checkGroups( const GroupMap &map );

} // namespace QuarraTool
