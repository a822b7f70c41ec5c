#include "acl/NaturalOrder.h"

#include <algorithm>

namespace QuarraAcl {
namespace {

bool isDigit( char c ) {
   return c >= '0' && c <= '9';
}

// Takes the next unit off `text`: a run of digits, or one other character.
std::string_view takeUnit( std::string_view &text ) {
   std::size_t size = 1;
   if ( isDigit( text.front() ) ) {
      size = static_cast<std::size_t>( std::ranges::find_if_not( text, isDigit ) - text.begin() );
   }
   const std::string_view unit = text.substr( 0, size );
   text.remove_prefix( size );
   return unit;
}

std::string_view withoutLeadingZeros( std::string_view digits ) {
   const std::size_t first = digits.find_first_not_of( '0' );
   return first == std::string_view::npos ? std::string_view() : digits.substr( first );
}

// Numbers are compared as text, since a name may hold more digits than any integer.
int compareUnits( std::string_view left, std::string_view right ) {
   if ( isDigit( left.front() ) && isDigit( right.front() ) ) {
      left = withoutLeadingZeros( left );
      right = withoutLeadingZeros( right );
      if ( left.size() != right.size() ) {
         return left.size() < right.size() ? -1 : 1;
      }
   }
   return left.compare( right );
}

} // namespace

bool NaturalLess::operator()( std::string_view left, std::string_view right ) const {
   // A start that both have in common is passed over, but for the digits of a number that goes on.
   auto start = static_cast<std::size_t>( std::ranges::mismatch( left, right ).in1 - left.begin() );
   while ( start > 0 && isDigit( left[ start - 1 ] ) ) {
      --start;
   }
   std::string_view leftRest = left.substr( start );
   std::string_view rightRest = right.substr( start );
   while ( !leftRest.empty() && !rightRest.empty() ) {
      const int order = compareUnits( takeUnit( leftRest ), takeUnit( rightRest ) );
      if ( order != 0 ) {
         return order < 0;
      }
   }
   if ( leftRest.empty() != rightRest.empty() ) {
      return leftRest.empty();
   }
   return left < right;
}

} // namespace QuarraAcl
