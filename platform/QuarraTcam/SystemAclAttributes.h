#pragma once

#include "Nodra/Attributes.h"
#include "Nodra/Export.h"
#include "QuarraCentral/ChipInfo.h"
#include "QuarraTcam/RequestKey.h"
#include "QuarraTcam/RuleId.h"

namespace QuarraTcam {

// A feature's place in the reservation table. Ordered by feature, then number.
class SystemAclFeatureGroupKey {
 public:
   SystemAclFeatureGroupKey() = default;
   explicit SystemAclFeatureGroupKey( FeatureGroupType featureGroupType, U16 number = 0 )
      : featureGroupType_( featureGroupType ), number_( number ) {}

   FeatureGroupType featureGroupType() const { return featureGroupType_; }
   auto operator<=>( const SystemAclFeatureGroupKey & ) const = default;

 private:
   FeatureGroupType featureGroupType_ = FeatureGroupType::acl;
   U16 number_ = 0; // tells apart several groups of one feature
};

// The rules of one feature, each with the request key that is reserved for it.
class SystemAclFeatureGroup {
 public:
   explicit SystemAclFeatureGroup( const SystemAclFeatureGroupKey &key ) : key_( key ) {}
   ATTR_KEY( key, SystemAclFeatureGroupKey );
   ATTR_VALUES( requestKey, RuleId, RequestKey );
};

class SystemAclReservationAttributes {
   ATTR_MAP( featureGroup, SystemAclFeatureGroupKey, SystemAclFeatureGroup );
};

// The system's own rules on a chip. Whoever brings the chip up sets them.
class SystemAclAttributes {
   ATTR_PTR( reservationAttr, SystemAclReservationAttributes );
};

// Null when the chip has none.
NODRA_API const Nodra::Ptr<SystemAclAttributes> &getSystemAclAttributes(
   const QuarraCentral::ChipInfo &chipInfo );
NODRA_API void systemAclAttributesIs( const QuarraCentral::ChipInfo &chipInfo,
                                      Nodra::Ptr<SystemAclAttributes> attributes );

} // namespace QuarraTcam
