#pragma once

#include "Ivrel/IntfId.h"
#include "Nodra/Attributes.h"
#include "QuarraCentral/ChipInfo.h"
#include "QuarraCentral/ModId.h"
#include "QuarraTypes/QuarraPort.h"

namespace Quarra {

using namespace Nodra::Types;

using AclGroupKey = U16;

// A chip of the system, by the unit under which the SDK knows it.
struct QuarraModInfo {
   QuarraCentral::ChipInfo chipInfo;
   U16 modId = QuarraCentral::ModId::null;
};

// A port of the CPU, unchecked: whoever uses it checks its ranges.
struct QuarraCpuPort {
   U16 modId = 0;
   U32 port = 0;

   auto operator<=>( const QuarraCpuPort & ) const = default;
};

// The chip state that the system's agents share. The chip agent fills it; everyone else only reads.
class QuarraCommonSmData {
 public:
   using Ptr = Nodra::Ptr<QuarraCommonSmData>;
   using PtrConst = Nodra::PtrConst<QuarraCommonSmData>;

   ATTR_VALUES( quarraModId, U16, QuarraModInfo );              // unit to chip; the first is the first chip
   ATTR_VALUES( quarraModIdToUnit, QuarraCentral::ModId, U16 ); // module id to unit
   ATTR_VALUES( quarraIntfToPort, Ivrel::IntfId, QuarraTypes::QuarraPort ); // interface to chip port
   ATTR_VALUES( quarraIntfToPortCache, Ivrel::IntfId, QuarraTypes::QuarraPort );
   ATTR_VALUES( quarraIntfToAclGroupKey, Ivrel::IntfId,
                AclGroupKey ); // the interface's number in port bitmaps
   ATTR_VALUES( quarraIntfToAclGroupKeyCache, Ivrel::IntfId, AclGroupKey );
   ATTR_VALUES( quarraPortToIntf, QuarraTypes::QuarraPort, Ivrel::IntfId );
   ATTR_VALUES( quarraIntfToCpuPort, Ivrel::IntfId, QuarraTypes::QuarraPort ); // the CPU's own interfaces
   ATTR_SET( quarraCpuModPort, QuarraCpuPort );                                // the CPU's ports
   ATTR( defaultChip, U16 ); // chip of ports that are only cached
};

} // namespace Quarra
