#include "lab/CostModel.h"

namespace QuarraLab {

U64 rowsFor( const QuarraAgent::ChipConfig &chip, U32 bits ) {
   return ( U64{ chip.ruleBits } + bits + chip.tcamRowBits - 1 ) / chip.tcamRowBits;
}

U32 qualifierBits( const Switch &theSwitch, TcamGroupId group ) {
   return theSwitch.agent()
      .manager()
      .classIdHwStatus( QuarraTcam::classIdTcamGroupsInfo.at( group )->classIdType() )
      ->size();
}

} // namespace QuarraLab
