#pragma once

#include <string>

#include "tools/Apply.h"
#include "tools/Dump.h"

namespace QuarraTool {

// What `quarra-tcam apply` prints for a person; `colour` marks the verdicts.
std::string applyReport( const Applied &applied, bool colour );

// The same as one JSON document.
JsonOut applyJson( const Applied &applied );

} // namespace QuarraTool
