#pragma once

#include "QuarraCentral/ChipInfo.h"
#include "QuarraTcam/RuleId.h"
#include "QuarraTcam/TcamGroupId.h"

namespace QuarraAgent {

// The feature whose rules a TCAM group holds; "acl" for groups of no feature of their own.
QuarraTcam::FeatureGroupType featureOf( QuarraTcam::TcamGroupId tcamGroupId );

// Fills the reservation table of the chip's system ACL attributes: each registered static reservation of a
// system group, under the group's feature and the rule's name. The groups must be registered.
void publishSystemAclAttributes( const QuarraCentral::ChipInfo &chipInfo );

} // namespace QuarraAgent
