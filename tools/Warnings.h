#pragma once

#include <string>

#include "acl/AclConfig.h"
#include "lab/JsonText.h"
#include "tools/GroupMap.h"

// What a person should know of a configuration that was read: its warnings, and the tables that get no
// entries.
namespace QuarraTool {

// Adds a warning for each type of a map that no table of `config` has, nor one of `before`; OTHER is the type
// of all tables whose type is neither in the map nor in `defaults`. `place` is where the map stands ("--map
// ").
void warnOfUnusedTypes( const GroupMap &map, const GroupMap &defaults, const std::string &place,
                        QuarraAcl::AclConfig &config, const QuarraAcl::AclConfig *before = nullptr );

// "DATAACL (L3, 2 rules): egress table".
std::string leftOutText( const QuarraAcl::AclTable &table );

// On standard error, a line for each table that is left out: for answers that have no place for it.
void tellLeftOut( const QuarraAcl::AclConfig &config );

// The tables that are left out, then the warnings, each part under its heading; nothing where there is
// nothing to say.
std::string warningsText( const QuarraAcl::AclConfig &config );

// "warnings" and "leftOut" of a document.
QuarraLab::JsonOut warningsJson( const QuarraAcl::AclConfig &config );

} // namespace QuarraTool
