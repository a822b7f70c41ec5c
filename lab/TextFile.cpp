#include "lab/TextFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <system_error>

#include <fmt/format.h>

namespace QuarraLab {

InputError::InputError( const std::string &message ) : std::runtime_error( oneLine( message ) ) {}

std::string readText( const std::string &file ) {
   const std::unique_ptr<std::FILE, int ( * )( std::FILE * )> stream( std::fopen( file.c_str(), "rb" ),
                                                                      &std::fclose );
   std::string text;
   std::array<char, 1 << 16> buffer;
   std::size_t size = 0;
   while ( stream && ( size = std::fread( buffer.data(), 1, buffer.size(), stream.get() ) ) > 0 ) {
      text.append( buffer.data(), size );
   }
   if ( !stream || std::ferror( stream.get() ) != 0 ) {
      throw InputError(
         fmt::format( "{}: cannot be read: {}", file, std::generic_category().message( errno ) ) );
   }
   return text;
}

} // namespace QuarraLab
