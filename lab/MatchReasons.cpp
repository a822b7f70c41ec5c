#include "lab/MatchReasons.h"

#include <algorithm>
#include <bit>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"

namespace QuarraLab {

using namespace QuarraTcam;
using QuarraAgent::Entry;

namespace {

// Positions of a fixed-width group's bits that a union of its requests tells apart.
constexpr U32 unionBits = 64;

bool holds( const ClassIdRequestStatus &request, U32 bit, const PoolStatus &pool ) {
   return bit >= pool.baseOffset() && request.classId() >> ( bit - pool.baseOffset() ) & 1;
}

} // namespace

MatchReasons::MatchReasons( const Switch &theSwitch ) : switch_( theSwitch ) {
   for ( const auto &[ id, config ] : classIdTcamGroupsInfo ) {
      if ( config->classIdPoolBits() ) {
         fixedOffsets_[ config->classIdType() ] =
            static_cast<U32>( std::countr_zero( config->classIdPoolBits() ) );
      }
   }
}

// Ports of the switch rise.
std::size_t MatchReasons::placeOf( const QuarraModPort &port ) const {
   const auto &ports = switch_.ports();
   return static_cast<std::size_t>( std::lower_bound( ports.begin(), ports.end(), port ) - ports.begin() );
}

const MatchReasons::Group &MatchReasons::groupOf( TcamGroupId id ) {
   const auto known = groups_.find( id );
   if ( known != groups_.end() ) {
      return known->second;
   }
   Group group{ classIdTcamGroupsInfo.at( id ).get(),
                switch_.agent().manager().classIdTcamGroupStatus( id ).get(),
                spaceOf( switch_, id ),
                {} };
   group.holders.resize( switch_.ports().size() );
   if ( group.status ) {
      for ( const auto &[ key, request ] : group.status->requestStatus() ) {
         const auto &entries = request->entryRef();
         const PortHolder holder{ request.get(), *std::min_element( entries.begin(), entries.end() ) };
         for ( const auto &port : request->intfGroup()->portId() ) {
            group.holders[ placeOf( port ) ].push_back( holder );
         }
      }
   }
   return groups_.emplace( id, std::move( group ) ).first->second;
}

MatchReasons::Case MatchReasons::caseOf( const Mismatch &mismatch, const Group &group, const Request &request,
                                         std::size_t portIndex ) const {
   const auto &pool = *group.status->poolStatus( request.poolId() );
   U64 wanted = 0;
   for ( const auto &[ holder, firstEntry ] : group.holders[ portIndex ] ) {
      wanted |= holder->poolId() == request.poolId() ? holder->classId() : 0;
   }
   if ( request.intfGroup()->ethernet() && mismatch.expected ) {
      wanted |= request.classId();
   }
   const U64 carried = valueIn( carriedValue( switch_, *group.space, switch_.ports()[ portIndex ] ), pool );
   return { mismatch, group, request, portIndex, wanted ^ carried, wanted & ~carried };
}

void MatchReasons::inTheRecords( Mismatch &mismatch, const Group &group, const Request &request,
                                 std::size_t portIndex ) {
   if ( request.entryRefHas( INVALID_ENTRY_ID ) ) {
      mismatch.reason = Reason::sameRule;
      return;
   }
   if ( group.config->classIdPoolWidth() == 1 || !mismatch.expected ) {
      return;
   }
   mismatch.reason = Reason::portTaken;
   mismatch.taker = 0;
   for ( const auto &holder : group.holders[ portIndex ] ) {
      mismatch.taker = holder.firstEntry;
   }
}

// A port gains the shared bit when another group at the offset, or a pool over it, puts it there, and loses
// it when one of them leaves the port. Who left is in no record any more.
bool MatchReasons::atAFixedOffset( Mismatch &mismatch, const Case &found ) {
   const auto &pool = *found.group.status->poolStatus( found.request.poolId() );
   const auto type = found.group.config->classIdType();
   const auto offset = fixedOffsets_.find( type );
   if ( offset == fixedOffsets_.end() || offset->second < pool.baseOffset() ||
        found.differing != U64{ 1 } << ( offset->second - pool.baseOffset() ) ) {
      return false;
   }
   if ( found.group.config->classIdPoolBits() == 0 ) {
      mismatch.reason = Reason::coveredOffset;
      mismatch.coveringGroup = mismatch.group;
      return true;
   }
   if ( found.missing ) {
      mismatch.reason = Reason::offsetCleared;
      return true;
   }
   mismatch.reason = Reason::sharedOffset;
   for ( const auto &[ other, status ] : switch_.agent().manager().classIdTcamGroupStatus() ) {
      const auto &group = groupOf( other );
      if ( group.config->classIdType() != type || group.config->classIdPoolBits() ) {
         continue;
      }
      for ( const auto &[ holder, firstEntry ] : group.holders[ found.portIndex ] ) {
         if ( holds( *holder, offset->second, *status->poolStatus( holder->poolId() ) ) ) {
            mismatch.reason = Reason::coveredOffset;
            mismatch.coveringGroup = other;
         }
      }
   }
   return true;
}

// The union of a fixed-width bit compares positions above the flexible bits with positions inside the fixed
// space: it misses the other class IDs, but where the two spaces begin a word apart. Bits are lost by it, and
// none is gained.
bool MatchReasons::lostABit( const Case &found ) const {
   const auto &config = *found.group.config;
   return liesAboveFlexibleBits( config.classIdType() ) && config.classIdPoolWidth() > 1 &&
          switch_.agent().chip().flexibleBits % unionBits != 0 && found.differing &&
          found.differing == found.missing;
}

bool MatchReasons::outsideOfEthernet( const Case &found ) const {
   const auto &range = QuarraAgent::ethernetPortsOf( switch_.agent().variant() );
   const U16 port = found.mismatch.port.port();
   return found.request.intfGroup()->ethernet() && found.mismatch.expected &&
          ( port < range.first || port > range.last );
}

// An all-ethernet group lists no ports: an entry that does list some is beside the point on all of them.
void MatchReasons::explain( Mismatch &mismatch, const Entry &entry, std::size_t portIndex ) {
   const auto &group = groupOf( mismatch.group );
   const auto &request = *group.status->requestStatus( entry.key );
   const auto &intfGroup = *request.intfGroup();
   const bool moved = intfGroup.ethernet() ? !entry.request.ethernet
                                           : intfGroup.portIdHas( mismatch.port ) != mismatch.expected;
   if ( moved ) {
      inTheRecords( mismatch, group, request, portIndex );
      return;
   }
   const auto found = caseOf( mismatch, group, request, portIndex );
   if ( atAFixedOffset( mismatch, found ) ) {
      return;
   }
   if ( lostABit( found ) ) {
      mismatch.reason = Reason::bitWithoutOthers;
   } else if ( outsideOfEthernet( found ) ) {
      mismatch.reason = Reason::ethernetPorts;
   } else if ( switch_.chip().failedLookUps().contains( mismatch.port.port() ) ) {
      mismatch.reason = Reason::failedLookUp;
   }
}

} // namespace QuarraLab
