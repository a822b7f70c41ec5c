#include "agent/SystemAclFeatures.h"

#include "QuarraTcam/SystemAclAttributes.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

struct GroupFeature {
   U16 tcamGroupId;
   FeatureGroupType feature;
};

using enum FeatureGroupType;

constexpr GroupFeature groupFeatures[] = {
   { 1, openflow }, { 2, l3Ctrl },        { 3, dot1x },    { 4, mirrorCtrl }, { 5, arpInspection },
   { 6, l2Ctrl },   { 51, stormControl }, { 88, rillway }, { 89, rillway },   { 90, rillway },
   { 91, rillway }, { 92, rillway },      { 94, rillway }, { 102, rillway },  { 129, ipLocking },
};

} // namespace

FeatureGroupType featureOf( TcamGroupId tcamGroupId ) {
   for ( const auto &row : groupFeatures ) {
      if ( row.tcamGroupId == tcamGroupId.value() ) {
         return row.feature;
      }
   }
   return FeatureGroupType::acl;
}

void publishSystemAclAttributes( const QuarraCentral::ChipInfo &chipInfo ) {
   auto attributes = std::make_shared<SystemAclAttributes>();
   const auto &reservationAttr = attributes->reservationAttrIs();
   for ( const auto &[ tcamGroupId, config ] : classIdTcamGroupsInfo ) {
      if ( !isSystemAclGroup( tcamGroupId ) ) {
         continue;
      }
      const auto feature = featureOf( tcamGroupId );
      const auto &featureGroup = reservationAttr->featureGroupIs( SystemAclFeatureGroupKey( feature ) );
      for ( const auto &[ key, flag ] : config->requestKey() ) {
         featureGroup->requestKeyIs( RuleId( feature, key.name() ), key );
      }
   }
   systemAclAttributesIs( chipInfo, attributes );
}

} // namespace QuarraAgent
