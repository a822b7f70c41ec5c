#include "tools/PlaceText.h"

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraTool {

std::string ChangedPorts::name( const QuarraModPort &port ) const {
   const auto item = names_.find( port );
   return item == names_.end() ? QuarraAgent::portName( port ) : oneLine( item->second );
}

std::string ChangedPorts::list( const std::set<QuarraModPort> &ports ) const {
   constexpr std::size_t most = 12;
   std::string text;
   std::size_t listed = 0;
   for ( const auto &port : ports ) {
      if ( listed++ == most ) {
         return fmt::format( "{} and {} more", text, ports.size() - most );
      }
      text += ( text.empty() ? "" : ", " ) + name( port );
   }
   return text;
}

std::string ChangedPorts::gainsAndLosses( const GainedAndLost<QuarraModPort> &ports ) const {
   return ( ports.gained.empty() ? "" : "gains " + list( ports.gained ) ) +
          ( ports.gained.empty() || ports.lost.empty() ? "" : "; " ) +
          ( ports.lost.empty() ? "" : "loses " + list( ports.lost ) );
}

std::string bitsText( const ClassIdPlace &place ) {
   return place.width == 1 ? fmt::format( "bit {}", place.offset )
                           : fmt::format( "bits {}-{}, class ID {}", place.offset,
                                          place.offset + place.width - 1, place.classId );
}

std::string placeText( const ClassIdPlace &place ) {
   return fmt::format( "group {}, {} {}", place.group, place.space, bitsText( place ) );
}

std::string moveText( const ClassIdPlace &from, const ClassIdPlace &to ) {
   return from.group == to.group && from.space == to.space
             ? fmt::format( "moves from {} to {} (group {}, {})", bitsText( from ), bitsText( to ), to.group,
                            to.space )
             : fmt::format( "moves from {} to {}", placeText( from ), placeText( to ) );
}

} // namespace QuarraTool
