#pragma once

#include "Nodra/Assert.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"

namespace QuarraTcam {

// The first chip of the chip state; a chip state without one gives the default chip.
inline Quarra::QuarraModInfo firstChip( const Scsd &scsd ) {
   const auto &chips = scsd->quarraModId();
   return chips.empty() ? Quarra::QuarraModInfo() : chips.begin()->second;
}

// The mode of every translation: whether the first chip numbers interfaces by ACL group keys. A chip without
// attributes aborts in the name of `operation`.
inline bool firstChipIsVexProduct( const Scsd &scsd, const char *operation ) {
   const auto &chipAttributes =
      QuarraCentral::quarraAttributes()->chipAttributes( firstChip( scsd ).chipInfo );
   NODRA_ASSERT_OF( operation, chipAttributes, "!!chipAttributes" );
   return chipAttributes->isVexProduct();
}

} // namespace QuarraTcam
