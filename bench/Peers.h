#pragma once

#include <nlohmann/json.hpp>

namespace QuarraBench {

// What entries over port sets cost by the ways to tell an entry its ports: TCAM rows, and chip writes to
// install the entries, to let one port join all of them, and to let it leave. Counted on simulated chips.
nlohmann::ordered_json peers();

} // namespace QuarraBench
