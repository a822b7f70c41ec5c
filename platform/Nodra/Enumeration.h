#pragma once

#include <array>
#include <compare>
#include <ostream>
#include <string>
#include <string_view>

#include "Nodra/RangeError.h"
#include "Nodra/Types.h"

namespace Nodra {

// An enumeration stored in one byte, with the names of its values. `Names` has `typeName` and an array
// `names`, one name a value from 0 up. An enumerator is an object that can also be called:
// aclGroupFixedWidth().
template <typename Names>
class Enumeration {
 public:
   constexpr Enumeration() = default;

   // From a number or a name; anything else raises the range error.
   static constexpr Enumeration of( unsigned value ) {
      if ( value >= Names::names.size() ) {
         throw RangeError( std::string( Names::typeName ) + ": no enumerator " + std::to_string( value ) );
      }
      return Enumeration( static_cast<Types::U8>( value ) );
   }
   static Enumeration of( std::string_view name ) {
      for ( unsigned value = 0; value < Names::names.size(); ++value ) {
         if ( Names::names[ value ] == name ) {
            return of( value );
         }
      }
      throw RangeError( std::string( Names::typeName ) + ": no enumerator " + std::string( name ) );
   }

   constexpr Types::U8 value() const { return value_; }
   constexpr std::string_view stringValue() const { return Names::names[ value_ ]; }
   constexpr Enumeration operator()() const { return *this; }
   std::size_t hash() const { return value_; }

   constexpr bool operator==( const Enumeration & ) const = default;
   constexpr auto operator<=>( const Enumeration & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const Enumeration &e ) {
      return out << e.stringValue();
   }

 private:
   constexpr explicit Enumeration( Types::U8 value ) : value_( value ) {}

   Types::U8 value_ = 0;
};

} // namespace Nodra
