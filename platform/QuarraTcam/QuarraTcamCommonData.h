#pragma once

#include <optional>

#include "Nodra/Attributes.h"
#include "Nodra/Export.h"
#include "Quarra/QuarraCommonSmData.h"
#include "QuarraTcam/QuarraTcamFeatureAttributes.h"

namespace QuarraTcam {

// What the parts of a TCAM agent process have in common. Set before the helper and the manager are used.
class QuarraTcamCommonData {
   ATTR( chipInfo, QuarraCentral::ChipInfo ); // the chip that the agent serves
   ATTR( modId, std::optional<U16> );         // a further module id that stands for this chip
   ATTR( simulation, bool );                  // the switch is simulated
};

NODRA_API const Nodra::Ptr<QuarraTcamCommonData> &getQuarraTcamCommonData();

NODRA_API bool isSimulation();

enum class StageType : U8 {
   invalid = 0,
   vlanFieldProcessor = 1,
   ingressFieldProcessor = 2,
   egressFieldProcessor = 3
};

// TCAM attributes of a stage of the agent's chip. Class IDs exist in the ingress field processor only; other
// stages, and a chip without a profile, have none (null).
NODRA_API const Nodra::PtrConst<QuarraTcamFeatureAttributes> &getTcamAttr( StageType stage );

// Whether a module id belongs to this switch chip: a module of the chip state, one in the range [low, high),
// or the one of the common data. Each of the three last arguments may be absent.
NODRA_API bool isMyModId( const Quarra::QuarraCommonSmData::PtrConst &scsd, QuarraCentral::ModId modId,
                          std::optional<U16> low, std::optional<U16> high, std::optional<U16> common );

} // namespace QuarraTcam
