#pragma once

#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"

namespace QuarraTcam {

// Bits of the whole per-port ACL-group value, 8 bits wide like every bit position in it.
inline U8 aclGroupSize() {
   const auto &quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
   NODRA_ASSERT( !!quarraTcamAttr );
   return static_cast<U8>( quarraTcamAttr->aclGroupFlexibleWidthSize() +
                           quarraTcamAttr->aclGroupFixedWidthSize() );
}

} // namespace QuarraTcam
