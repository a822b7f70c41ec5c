#include "simulator/PortTables.h"

#include <algorithm>

#include "simulator/ReturnCode.h"

namespace QuarraSimulator {

int PortTables::membersIs( U32 group, U32 count, const U32 *ports ) {
   if ( group >= members_.size() || ( count && !ports ) ) {
      return Code::parameter;
   }
   Ports members;
   for ( U32 i = 0; i < count; ++i ) {
      if ( ports[ i ] > U10::max || members.test( ports[ i ] ) ) {
         return Code::parameter;
      }
      members.set( ports[ i ] );
   }
   members_[ group ] = members;
   return Code::ok;
}

Vesk::Bitmap PortTables::groupsOf( U32 port ) const {
   const auto groups = static_cast<U32>( members_.size() );
   Vesk::Bitmap value( 0, groups, Vesk::HBitmap::BitState::clear );
   for ( U32 group = 0; group < groups; ++group ) {
      if ( isMember( group, port ) ) {
         value.set( group );
      }
   }
   return value;
}

PortTables::Ports PortTables::membersOfAny() const {
   Ports any;
   for ( const Ports &members : members_ ) {
      any |= members;
   }
   return any;
}

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
