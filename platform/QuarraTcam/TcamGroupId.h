#pragma once

#include <compare>
#include <ostream>

#include "Nodra/Export.h"
#include "Nodra/Types.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// Number of a TCAM group of the agent.
class TcamGroupId {
 public:
   constexpr TcamGroupId() = default;
   constexpr TcamGroupId( U16 value ) : value_( value ) {}

   constexpr U16 value() const { return value_; }
   std::size_t hash() const { return value_; }
   constexpr auto operator<=>( const TcamGroupId & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, TcamGroupId id ) { return out << id.value_; }

 private:
   U16 value_ = 0;
};

// Whether the group holds the system's own control-plane rules.
NODRA_API bool isSystemAclGroup( TcamGroupId tcamGroupId );

} // namespace QuarraTcam
