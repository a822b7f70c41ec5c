#pragma once

#include "Nodra/Attributes.h"
#include "QuarraCentral/QuarraModPort.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// The ports that a TCAM user asks for, perhaps on several chips.
class IntfProfile {
 public:
   using Ptr = Nodra::Ptr<IntfProfile>;
   using PtrConst = Nodra::PtrConst<IntfProfile>;

   ATTR_SET( portId, QuarraCentral::QuarraModPort );
   ATTR( allEthernet, bool ); // all ethernet ports, whatever portId lists
   ATTR( cpu, bool );         // the CPU's ports as well

   friend std::ostream &operator<<( std::ostream &out, const IntfProfile &profile ) {
      out << "ports:";
      for ( const auto &port : profile.portId_ ) {
         out << ' ' << port;
      }
      return out << " allEthernet: " << profile.allEthernet_ << " cpu: " << profile.cpu_;
   }
};

} // namespace QuarraTcam
