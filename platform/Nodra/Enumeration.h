#pragma once

#include <array>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

#include "Nodra/RangeError.h"
#include "Nodra/Types.h"

// The usual companions of a scoped enumeration that is stored in one byte and counts up from 0. It brings
//
//    constexpr std::string_view stringValue( E value )  a switch over the enumerators, "" for any other value
//
// and the compiler names the enumerator that the switch forgot. The rest is made from it here.
namespace Nodra {

template <typename E>
concept Enumeration = std::is_enum_v<E> && std::same_as<std::underlying_type_t<E>, Types::U8> &&
   requires( E value ) {
   { stringValue( value ) } -> std::same_as<std::string_view>;
};

template <Enumeration E>
constexpr std::size_t numEnumerators() {
   std::size_t number = 0;
   while ( !stringValue( static_cast<E>( number ) ).empty() ) {
      ++number;
   }
   return number;
}

// All enumerators in order of their values.
template <Enumeration E>
constexpr auto enumerators() {
   std::array<E, numEnumerators<E>()> all{};
   for ( std::size_t value = 0; value < all.size(); ++value ) {
      all[ value ] = static_cast<E>( value );
   }
   return all;
}

// From a number or a name. Anything that is no enumerator raises the range error, which names the type.
template <Enumeration E>
constexpr E enumeratorOf( std::string_view typeName, unsigned value ) {
   if ( value >= numEnumerators<E>() ) {
      throw RangeError( std::string( typeName ) + ": no enumerator " + std::to_string( value ) );
   }
   return static_cast<E>( value );
}

template <Enumeration E>
constexpr E enumeratorOf( std::string_view typeName, std::string_view name ) {
   for ( const E value : enumerators<E>() ) {
      if ( stringValue( value ) == name ) {
         return value;
      }
   }
   throw RangeError( std::string( typeName ) + ": no enumerator " + std::string( name ) );
}

} // namespace Nodra
