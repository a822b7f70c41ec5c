#pragma once

#include <nlohmann/json.hpp>

namespace QuarraBench {

// Median time of installing, removing and looking up an entry, with ever more entries and ever more requests
// of its group, on both SDK generations.
nlohmann::ordered_json growth();

} // namespace QuarraBench
