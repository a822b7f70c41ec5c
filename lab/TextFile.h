#pragma once

#include <stdexcept>
#include <string>

#include "agent/OneLine.h"

namespace QuarraLab {

// Bad input: where it is and what was expected. what() is one line: "FILE:LINE:COLUMN: message" for a JSON
// syntax error, "FILE: PLACE: message" for a wrong value, e.g. `acl.json: ACL_TABLE|DATAACL.ports[2]: port
// "Ethernet9" is not in PORT`.
class InputError : public std::runtime_error {
 public:
   explicit InputError( const std::string &message );
};

// Everything that a file holds. Throws InputError when it cannot be read.
std::string readText( const std::string &file );

using QuarraAgent::oneLine;

} // namespace QuarraLab
