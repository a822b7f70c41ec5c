#include "agent/OneLine.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace QuarraAgent {
namespace {

std::string hex( const char *format, unsigned value ) {
   std::array<char, 8> text{};
   std::snprintf( text.data(), text.size(), format, value );
   return text.data();
}

unsigned byteAt( const std::string &text, std::size_t place ) {
   return place < text.size() ? static_cast<unsigned char>( text[ place ] ) : 0;
}

bool continues( unsigned byte ) {
   return ( byte & 0xc0 ) == 0x80;
}

// The bytes of the UTF-8 character that starts at `place`; 0 when none does.
std::size_t characterSize( const std::string &text, std::size_t place ) {
   struct Lead {
      unsigned first, last;     // of the first byte
      unsigned lowest, highest; // of the second: no character has two spellings
      std::size_t size;
   };
   constexpr Lead leads[] = {
      { 0x00, 0x7f, 0x00, 0xff, 1 }, { 0xc2, 0xdf, 0x80, 0xbf, 2 }, { 0xe0, 0xe0, 0xa0, 0xbf, 3 },
      { 0xe1, 0xec, 0x80, 0xbf, 3 }, { 0xed, 0xed, 0x80, 0x9f, 3 }, { 0xee, 0xef, 0x80, 0xbf, 3 },
      { 0xf0, 0xf0, 0x90, 0xbf, 4 }, { 0xf1, 0xf3, 0x80, 0xbf, 4 }, { 0xf4, 0xf4, 0x80, 0x8f, 4 },
   };
   const unsigned byte = byteAt( text, place );
   const auto *const lead = std::ranges::find_if(
      leads, [ & ]( const Lead &row ) { return byte >= row.first && byte <= row.last; } );
   if ( lead == std::end( leads ) || byteAt( text, place + 1 ) < lead->lowest ||
        byteAt( text, place + 1 ) > lead->highest ) {
      return 0;
   }
   for ( std::size_t next = 2; next < lead->size; ++next ) {
      if ( !continues( byteAt( text, place + next ) ) ) {
         return 0;
      }
   }
   return lead->size;
}

} // namespace

std::string oneLine( const std::string &text ) {
   std::string line;
   for ( std::size_t i = 0; i < text.size(); ) {
      const unsigned byte = byteAt( text, i );
      const auto size = characterSize( text, i );
      if ( byte == 0xc2 && size == 2 && byteAt( text, i + 1 ) < 0xa0 ) {
         line += hex( "\\u%04x", byteAt( text, i + 1 ) ); // U+0080 to U+009f: terminals obey these, too
      } else if ( size == 0 || byte < 0x20 || byte == 0x7f ) {
         line += hex( "\\x%02x", byte );
      } else {
         line.append( text, i, size );
      }
      i += std::max<std::size_t>( size, 1 );
   }
   return line;
}

std::string shortened( const std::string &text, std::size_t most ) {
   if ( text.size() <= most ) {
      return text;
   }
   std::size_t head = most - most / 4;
   std::size_t tail = text.size() - most / 4;
   while ( head > 0 && continues( byteAt( text, head ) ) ) {
      --head;
   }
   while ( continues( byteAt( text, tail ) ) ) {
      ++tail;
   }
   return text.substr( 0, head ) + "..." + text.substr( tail );
}

std::string shortName( const std::string &name ) {
   constexpr std::size_t most = 100;
   return shortened( oneLine( name ), most );
}

std::string counted( std::size_t number, const std::string &one, const std::string &many ) {
   return std::to_string( number ) + " " + ( number == 1 ? one : many );
}

std::string messageLine( const std::string &text ) {
   constexpr std::size_t most = 4000;
   return shortened( oneLine( text ), most );
}

} // namespace QuarraAgent
