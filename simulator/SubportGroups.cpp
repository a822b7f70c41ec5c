#include "simulator/SubportGroups.h"

namespace QuarraSimulator {

int SubportGroups::membersIs( U32 group, U32 count, const U32 *ports ) {
   changed_.reset();
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
   changed_ = members ^ members_[ group ];
   members_[ group ] = members;
   return Code::ok;
}

AclGroupValue SubportGroups::groupsOf( U32 port ) const {
   AclGroupValue value;
   for ( std::size_t group = 0; port <= U10::max && group < members_.size(); ++group ) {
      value[ group ] = members_[ group ].test( port );
   }
   return value;
}

void SubportGroups::groupsOfIs( U32 port, const AclGroupValue &value ) {
   for ( std::size_t group = 0; port <= U10::max && group < members_.size(); ++group ) {
      members_[ group ].set( port, value[ group ] );
   }
}

std::vector<U32> SubportGroups::members( U32 group ) const {
   std::vector<U32> ports;
   for ( U32 port = 0; group < members_.size() && port <= U10::max; ++port ) {
      if ( members_[ group ].test( port ) ) {
         ports.push_back( port );
      }
   }
   return ports;
}

SubportGroups::Ports SubportGroups::membersOfAny() const {
   Ports any;
   for ( const Ports &members : members_ ) {
      any |= members;
   }
   return any;
}

} // namespace QuarraSimulator
