#pragma once

#include "QuarraTcam/QuarraTcamFeatureAttributes.h"

namespace QuarraTcam {

// Bits of the whole per-port ACL-group value, 8 bits wide like every bit position in it.
inline U8 aclGroupSize( const QuarraTcamFeatureAttributes &attributes ) {
   return static_cast<U8>( attributes.aclGroupFlexibleWidthSize() + attributes.aclGroupFixedWidthSize() );
}

} // namespace QuarraTcam
