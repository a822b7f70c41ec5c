#pragma once

#include <string>

#include "Nodra/Attributes.h"
#include "Nodra/Export.h"
#include "QuarraCentral/ChipInfo.h"
#include "QuarraCommon/QuarraCommonFeatureAttributes.h"
#include "QuarraTcam/QuarraTcamFeatureAttributes.h"

namespace QuarraCentral {

// What a chip is set up for: the features of the profile that is active on it. A feature may be absent
// (null).
class ChipProfile {
   ATTR( name, std::string );
   ATTR( tcamFeatureAttributes, Nodra::PtrConst<QuarraTcam::QuarraTcamFeatureAttributes> );
   ATTR( commonFeatureAttributes, Nodra::PtrConst<QuarraCommon::QuarraCommonFeatureAttributes> );
};

// The active profile of a chip, null when it has none. Whoever brings the chip up sets it.
NODRA_API const Nodra::PtrConst<ChipProfile> &activeChipProfile( const ChipInfo &chipInfo );
NODRA_API void activeChipProfileIs( const ChipInfo &chipInfo, Nodra::PtrConst<ChipProfile> profile );

// Fixed properties of a chip model.
class ChipAttributes {
   ATTR( isVexProduct, bool ); // interfaces are numbered by ACL group keys instead of ports
};

class QuarraAttributes {
   ATTR_VALUES( chipAttributes, ChipInfo, Nodra::PtrConst<ChipAttributes> );
};

// The attributes of all chips of the system.
NODRA_API const Nodra::Ptr<QuarraAttributes> &quarraAttributes();

} // namespace QuarraCentral
