#pragma once

#include <string>
#include <vector>

namespace QuarraTool {

// The word that somebody who typed `typed` most likely meant: the one with the fewest letters wrong, missing,
// too many or swapped with their neighbour. Empty when none is near.
std::string nearest( const std::string &typed, const std::vector<std::string> &words );

// ": did you mean WORD?", or nothing.
std::string suggestion( const std::string &typed, const std::vector<std::string> &words );

} // namespace QuarraTool
