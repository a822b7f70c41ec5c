#pragma once

#include "Nodra/Attributes.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// Widths in bits of the chip's class-ID spaces; 0 means that the chip has no such space.
class QuarraTcamFeatureAttributes {
   ATTR( aclGroupFlexibleWidthSize, U8 ); // low part of the per-port ACL-group value
   ATTR( aclGroupFixedWidthSize, U8 );    // the part above it
   ATTR( sourceTrunkMapClassIdSize, U8 ); // class-ID field of a source-trunk-map word
};

} // namespace QuarraTcam
