#pragma once

#include <string>

#include "lab/Dump.h"
#include "tools/Apply.h"

namespace QuarraTool {

using namespace QuarraLab;

// What `quarra-tcam apply` prints for a person; `colour` marks the verdicts. Refusals of one cause are one
// line, and mismatches end after some, unless `all` of them are wanted.
std::string applyReport( const Applied &applied, bool colour, bool all = false );

// The same as one JSON document.
JsonOut applyJson( const Applied &applied );

} // namespace QuarraTool
