// A config_db.json as a document that a change can be applied to.
#pragma once

#include "lab/JsonText.h"

namespace QuarraAcl {

using namespace QuarraLab;

// The configuration as nested tables, which is how paths of a patch name its parts: flattened keys and rows
// wrapped by a database dump are taken apart, their "ports@" becomes a list "ports". What stands nested
// already is kept as it is.
Json nestedConfigDb( const Json &root );

// A document nested deeper than any configuration: to copy it or to compare it could exhaust the stack.
bool isTooDeep( const Json &json );

} // namespace QuarraAcl
