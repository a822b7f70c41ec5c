#include "simulator/PortTables.h"

#include <algorithm>

#include "simulator/ReturnCode.h"

namespace QuarraSimulator {

// The place of a table in wordTables, past the end when it is none of them.
std::size_t PortTables::tablePlace( U8 table ) {
   const auto place = std::find( wordTables.begin(), wordTables.end(), table );
   return static_cast<std::size_t>( place - wordTables.begin() );
}

const PortTables::Words *PortTables::words( U8 table ) const {
   const std::size_t place = tablePlace( table );
   return place < words_.size() ? &words_[ place ] : nullptr;
}

int PortTables::wordIs( U8 table, const QuarraCentral::QuarraModPort &port, U32 value ) {
   const std::size_t place = tablePlace( table );
   if ( place >= words_.size() ) {
      return Code::notFound;
   }
   if ( port.modId() == QuarraCentral::ModId() ) {
      return Code::parameter;
   }
   if ( value ) {
      words_[ place ].insert_or_assign( port, value );
   } else {
      words_[ place ].erase( port );
   }
   return Code::ok;
}

} // namespace QuarraSimulator
