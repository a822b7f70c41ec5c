#pragma once

#include <string>

#include "lab/Dump.h"
#include "tools/Apply.h"

namespace QuarraTool {

using namespace QuarraLab;

// What `quarra-tcam apply` prints for a person; `colour` marks the verdicts.
std::string applyReport( const Applied &applied, bool colour );

// The same as one JSON document.
JsonOut applyJson( const Applied &applied );

} // namespace QuarraTool
