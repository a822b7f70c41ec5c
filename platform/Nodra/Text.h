#pragma once

#include <concepts>
#include <ostream>
#include <sstream>
#include <string>

namespace Nodra {

// Builds the text of a trace or assertion line. Unlike a plain stream it prints 8-bit numbers as numbers.
class Text {
 public:
   template <typename T>
   Text &operator<<( const T &value ) {
      if constexpr ( std::same_as<T, unsigned char> || std::same_as<T, signed char> ) {
         stream_ << static_cast<int>( value );
      } else {
         stream_ << value;
      }
      return *this;
   }

   std::string string() const { return stream_.str(); }

 private:
   std::ostringstream stream_;
};

// The printed form of anything that can be streamed.
template <typename T>
std::string toText( const T &value ) {
   Text text;
   text << value;
   return text.string();
}

} // namespace Nodra
