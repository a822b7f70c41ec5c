#pragma once

#include <compare>
#include <ostream>
#include <string>
#include <utility>

#include "Nodra/Enumeration.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// The agent's feature that a rule belongs to.
enum class FeatureGroupType : U8 {
   acl,
   openflow,
   l3Ctrl,
   dot1x,
   mirrorCtrl,
   arpInspection,
   l2Ctrl,
   stormControl,
   rillway,
   ipLocking,
};

constexpr std::string_view stringValue( FeatureGroupType type ) {
   using enum FeatureGroupType;
   switch ( type ) {
   case acl:
      return "acl";
   case openflow:
      return "openflow";
   case l3Ctrl:
      return "l3Ctrl";
   case dot1x:
      return "dot1x";
   case mirrorCtrl:
      return "mirrorCtrl";
   case arpInspection:
      return "arpInspection";
   case l2Ctrl:
      return "l2Ctrl";
   case stormControl:
      return "stormControl";
   case rillway:
      return "rillway";
   case ipLocking:
      return "ipLocking";
   }
   return {};
}

// From a number or a name; anything else raises the range error.
constexpr FeatureGroupType FeatureGroupTypeInstance( unsigned value ) {
   return Nodra::enumeratorOf<FeatureGroupType>( "FeatureGroupType", value );
}
constexpr FeatureGroupType FeatureGroupTypeInstance( std::string_view name ) {
   return Nodra::enumeratorOf<FeatureGroupType>( "FeatureGroupType", name );
}

inline std::ostream &operator<<( std::ostream &out, FeatureGroupType type ) {
   return out << stringValue( type );
}

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
   FeatureGroupType featureGroupType_ = FeatureGroupType::acl;
   std::string name_;
};

} // namespace QuarraTcam
