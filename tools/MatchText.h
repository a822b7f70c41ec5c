#pragma once

#include <string>
#include <vector>

#include "lab/MatchCheck.h"

namespace QuarraTool {

using namespace QuarraLab;

// An indented line, green or red where `colour` is wanted.
std::string verdict( bool good, const std::string &text, bool colour );

// What a match check found: a line for each cause, with a few examples unless `all` are wanted.
std::string matchText( const Switch &theSwitch, const std::vector<Mismatch> &mismatches, bool all,
                       bool colour );

} // namespace QuarraTool
