#pragma once

#include <string>

#include "soak/Choices.h"

// Harm to the files of a switch's directory, as a loss of power or a bad disk does it.
namespace QuarraSoak {

// Makes the last commit one that was written in part: the log's file up to a point anywhere, behind it what
// was there before. Only for a process that died right after a commit; false where the commit cannot have
// been torn.
bool tearCommit( const std::string &dir, Choices &choices );

// Cuts, overwrites or takes away a part of the store; says what it did.
std::string damageStore( const std::string &dir, Choices &choices );

// What a file holds; empty when it is not there.
std::string contentOf( const std::string &path );

} // namespace QuarraSoak
