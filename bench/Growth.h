#pragma once

#include <nlohmann/json.hpp>

namespace QuarraBench {

// Median time of installing, removing and looking up an entry, with ever more entries and ever more requests
// of its group, on both SDK generations.
nlohmann::ordered_json growth();

// Time of the match check with ever more rules whose port sets overlap, so that most pairs of entry and port
// are mismatches with a reason.
nlohmann::ordered_json growthOfMatchCheck();

} // namespace QuarraBench
