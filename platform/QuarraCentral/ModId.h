#pragma once

#include <compare>
#include <ostream>

#include "Nodra/RangeError.h"
#include "Nodra/Types.h"

namespace QuarraCentral {

using namespace Nodra::Types;

// Module id of a chip: 0 to 63, and 64 for none. Anything larger raises the range error.
class ModId {
 public:
   static constexpr U16 min = 0;
   static constexpr U16 null = 64;

   constexpr ModId() = default;
   constexpr ModId( U16 value ) : value_( value ) {
      if ( value > null ) {
         throw Nodra::RangeError( "QuarraCentral::ModId::value < QuarraCentral::ModId::min or > "
                                  "QuarraCentral::ModId::null not allowed" );
      }
   }

   constexpr U16 value() const { return value_; }
   constexpr auto operator<=>( const ModId & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, ModId modId ) { return out << modId.value_; }

 private:
   U16 value_ = null;
};

} // namespace QuarraCentral
