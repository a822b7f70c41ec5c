#pragma once

#include <nlohmann/json.hpp>

namespace QuarraBench {

// P11: plan of a change of a tenth of 1,000 to 100,000 rules on a switch that lasts, against carrying it out
// there and checking the matches, each from the switch's opening to its end; and whether the switch then is
// what the plan said.
nlohmann::ordered_json plans();

} // namespace QuarraBench
