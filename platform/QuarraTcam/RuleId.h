#pragma once

#include <string>

#include "Nodra/Enumeration.h"

namespace QuarraTcam {

using namespace Nodra::Types;

struct FeatureGroupTypeNames {
   static constexpr auto typeName = "FeatureGroupType";
   static constexpr std::array<std::string_view, 10> names = { "acl",      "openflow",     "l3Ctrl",
                                                               "dot1x",    "mirrorCtrl",   "arpInspection",
                                                               "l2Ctrl",   "stormControl", "rillway",
                                                               "ipLocking" };
};

// The agent's feature that a rule belongs to.
using FeatureGroupType = Nodra::Enumeration<FeatureGroupTypeNames>;

// A rule of a feature, by its name.
class RuleId {
 public:
   RuleId() = default;
   RuleId( FeatureGroupType featureGroupType, std::string name )
      : featureGroupType_( featureGroupType ), name_( std::move( name ) ) {}

   FeatureGroupType featureGroupType() const { return featureGroupType_; }
   const std::string &name() const { return name_; }

   bool isEq( const RuleId &other ) const { return *this == other; }
   bool operator==( const RuleId & ) const = default;
   auto operator<=>( const RuleId & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const RuleId &rule ) {
      return out << rule.featureGroupType_ << '/' << rule.name_;
   }

 private:
   FeatureGroupType featureGroupType_;
   std::string name_;
};

} // namespace QuarraTcam
