#include "QuarraTcam/QuarraTcamCommonData.h"

#include "QuarraCentral/ChipProfile.h"
#include "QuarraTcam/SystemAclAttributes.h"
#include "QuarraTcam/TcamGroupId.h"

namespace QuarraTcam {
namespace {

class SystemAcls {
   ATTR_VALUES( attributes, QuarraCentral::ChipInfo, Nodra::Ptr<SystemAclAttributes> );
};

SystemAcls &systemAcls() {
   static SystemAcls acls;
   return acls;
}

} // namespace

bool isSystemAclGroup( TcamGroupId tcamGroupId ) {
   return tcamGroupId >= TcamGroupId( 1 ) && tcamGroupId <= TcamGroupId( 6 );
}

const Nodra::Ptr<SystemAclAttributes> &getSystemAclAttributes( const QuarraCentral::ChipInfo &chipInfo ) {
   return systemAcls().attributes( chipInfo );
}

void systemAclAttributesIs( const QuarraCentral::ChipInfo &chipInfo,
                            Nodra::Ptr<SystemAclAttributes> attributes ) {
   systemAcls().attributesIs( chipInfo, std::move( attributes ) );
}

const Nodra::Ptr<QuarraTcamCommonData> &getQuarraTcamCommonData() {
   static const auto data = std::make_shared<QuarraTcamCommonData>();
   return data;
}

bool isSimulation() {
   return getQuarraTcamCommonData()->simulation();
}

const Nodra::PtrConst<QuarraTcamFeatureAttributes> &getTcamAttr( StageType stage ) {
   static const Nodra::PtrConst<QuarraTcamFeatureAttributes> none;
   const auto &profile = QuarraCentral::activeChipProfile( getQuarraTcamCommonData()->chipInfo() );
   return stage == StageType::ingressFieldProcessor && profile ? profile->tcamFeatureAttributes() : none;
}

bool isMyModId( const Quarra::QuarraCommonSmData::PtrConst &scsd, QuarraCentral::ModId modId,
                std::optional<U16> low, std::optional<U16> high, std::optional<U16> common ) {
   return scsd->quarraModIdToUnitHas( modId ) ||
          ( low && high && *low <= modId.value() && modId.value() < *high ) ||
          ( common && *common == modId.value() );
}

} // namespace QuarraTcam
