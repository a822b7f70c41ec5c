#pragma once

#include "QuarraCentral/PortTabWriteRequestDir.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"

namespace QuarraAgent {

// The port tables that hold class IDs, and whose.
struct SourceTrunkMapTable {
   QuarraTcam::ClassIdType type;
   Nodra::Types::U8 table;
};
inline constexpr SourceTrunkMapTable sourceTrunkMapTables[] = {
   { QuarraTcam::ClassIdType::ifpSourceTrunkMap, QuarraCentral::ifpSourceTrunkMapTable },
   { QuarraTcam::ClassIdType::vfpSourceTrunkMap, QuarraCentral::vfpSourceTrunkMapTable },
};

// The table of a type's words; 0 where the type has none.
constexpr Nodra::Types::U8 sourceTrunkMapTableOf( QuarraTcam::ClassIdType type ) {
   for ( const auto &row : sourceTrunkMapTables ) {
      if ( row.type == type ) {
         return row.table;
      }
   }
   return 0;
}

// The type whose words a table holds; classIdInvalid for another table.
constexpr QuarraTcam::ClassIdType typeOfSourceTrunkMapTable( Nodra::Types::U8 table ) {
   for ( const auto &row : sourceTrunkMapTables ) {
      if ( row.table == table ) {
         return row.type;
      }
   }
   return QuarraTcam::ClassIdType::classIdInvalid;
}

} // namespace QuarraAgent
