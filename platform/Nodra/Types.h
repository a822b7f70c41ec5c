#pragma once

#include <cstdint>

#include "Nodra/RangeError.h"

// The framework's fixed-width numbers, by the names that the agent's interfaces use.
namespace Nodra::Types {

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S64 = std::int64_t;

// A number from 0 to 1023: a chip port, a bit offset. Anything larger raises the range error.
class U10 {
 public:
   static constexpr U32 max = 0x3ff;

   constexpr U10() = default;
   constexpr U10( U32 value ) : value_( static_cast<U16>( value ) ) {
      if ( value > max ) {
         throw RangeError( "U10::value < 0 or > 0x03ff not allowed" );
      }
   }

   constexpr operator U16() const { return value_; }

 private:
   U16 value_ = 0;
};

} // namespace Nodra::Types
