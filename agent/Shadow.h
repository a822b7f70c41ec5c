#pragma once

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "agent/Generation.h"

namespace QuarraAgent {

// By port.
using ShadowValues = Nodra::ValueMap<Nodra::Types::U16, Vesk::Bitmap::Ptr>;

// The ACL-group bits that a simulation twin's helper keeps. Helpers of chips have no shadow.
struct Shadow {
   const ShadowValues &( *values )( const QuarraTcam::QuarraTcamPortsHelper &helper );

   // Makes the values what they are when every bit is on the ports that the manager last put it on. No SDK
   // call.
   void ( *restore )( QuarraTcam::QuarraTcamPortsHelper &helper,
                      const QuarraTcam::QuarraTcamPortsManager &manager );
};

template <typename Twin>
const ShadowValues &shadowValuesOf( const QuarraTcam::QuarraTcamPortsHelper &helper ) {
   return dynamic_cast<const Twin &>( helper ).aclGroupShadow();
}

} // namespace QuarraAgent
