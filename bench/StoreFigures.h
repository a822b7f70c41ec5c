#pragma once

#include <vector>

#include <nlohmann/json.hpp>

#include "bench/Figures.h"

namespace QuarraBench {

// P9 and P10: what it costs that state outlives the process. They go through SQLite and the file system, so
// that they are not counted in instructions as the others are.
const std::vector<Figure> &storeFigures();

// SDK calls of a restart with 10,000 entries.
unsigned long sdkCallsOfRestart();

// Time and SDK calls of a restart with 1,000, 10,000 and 100,000 entries, against the floor of P9.
nlohmann::ordered_json restarts();

} // namespace QuarraBench
