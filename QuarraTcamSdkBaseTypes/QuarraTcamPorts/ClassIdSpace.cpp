#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"

namespace QuarraTcam {
namespace {

using Manager = QuarraTcamPortsManager;

U8 none( const QuarraTcamFeatureAttributes & ) {
   return 0;
}
U8 sourceTrunkMapBits( const QuarraTcamFeatureAttributes &attributes ) {
   return attributes.sourceTrunkMapClassIdSize();
}
U8 flexibleBits( const QuarraTcamFeatureAttributes &attributes ) {
   return attributes.aclGroupFlexibleWidthSize();
}
U8 fixedBits( const QuarraTcamFeatureAttributes &attributes ) {
   return attributes.aclGroupFixedWidthSize();
}

// Both source-trunk-map types have words of one shape, each in a table of its own.
constexpr ClassIdSpace sourceTrunkMap = {
   ClassIdField::sourceTrunkMapWord, sourceTrunkMapBits, none, false, &Manager::programSourceTrunkMapClassId,
   "programSourceTrunkMapClassId",
};
constexpr ClassIdSpace flexibleWidth = {
   ClassIdField::aclGroupValue, flexibleBits, none, false, &Manager::programAclGroupClassId,
   "programAclGroupClassId",
};
constexpr ClassIdSpace fixedWidth = {
   ClassIdField::aclGroupValue, fixedBits, flexibleBits, true, &Manager::programAclGroupClassId,
   "programAclGroupClassId",
};

} // namespace

const ClassIdSpace *classIdSpace( ClassIdType type ) {
   switch ( type ) {
   case ClassIdType::ifpSourceTrunkMap:
   case ClassIdType::vfpSourceTrunkMap:
      return &sourceTrunkMap;
   case ClassIdType::aclGroupFlexibleWidth:
      return &flexibleWidth;
   case ClassIdType::aclGroupFixedWidth:
      return &fixedWidth;
   case ClassIdType::classIdInvalid:
   case ClassIdType::classIdMax:
      break;
   }
   return nullptr;
}

bool poolsComeWithGroup( ClassIdType type ) {
   const auto *space = classIdSpace( type );
   return space && space->poolsComeWithGroup;
}

} // namespace QuarraTcam
