#include "agent/OneLine.h"

#include <array>
#include <cstdio>

namespace QuarraAgent {
namespace {

std::string hex( const char *format, unsigned value ) {
   std::array<char, 8> text{};
   std::snprintf( text.data(), text.size(), format, value );
   return text.data();
}

} // namespace

std::string oneLine( const std::string &text ) {
   std::string line;
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      const auto byte = static_cast<unsigned char>( text[ i ] );
      const auto next = static_cast<unsigned char>( i + 1 < text.size() ? text[ i + 1 ] : '\0' );
      if ( byte < 0x20 || byte == 0x7f ) {
         line += hex( "\\x%02x", byte );
      } else if ( byte == 0xc2 && next >= 0x80 &&
                  next < 0xa0 ) { // U+0080 to U+009f: terminals obey these, too
         line += hex( "\\u%04x", next );
         ++i;
      } else {
         line += text[ i ];
      }
   }
   return line;
}

} // namespace QuarraAgent
