#include <algorithm>
#include <limits>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "lab/ChangeRun.h"
#include "lab/Who.h"

// The order of a change's steps.
namespace QuarraLab {

using namespace QuarraTcam;
using Kind = ChangeStep::Kind;

namespace {

// A fixed-width group of wide pools: its class IDs share bits, so one that is new may take a bit from
// another's ports.
bool sharesBits( TcamGroupId group ) {
   return liesAboveFlexibleBits( typeOf( group ) ) &&
          classIdTcamGroupsInfo.at( group )->classIdPoolWidth() != 1;
}

// A class ID that one of them gives back is room for the other: wide pools and fixed-width ones stay with
// their group.
bool drawOnTheSame( TcamGroupId one, TcamGroupId other ) {
   const auto oneBit = [ & ]( TcamGroupId group ) {
      const auto item = classIdTcamGroupsInfo.find( group );
      return item != classIdTcamGroupsInfo.end() && item->second->classIdPoolWidth() == 1 &&
             item->second->classIdType() == typeOf( one ) && !poolsComeWithGroup( typeOf( one ) );
   };
   return one == other || ( oneBit( one ) && oneBit( other ) );
}

} // namespace

bool ChangeRun::Bundle::done() const {
   return std::ranges::all_of( wishes, &Wish::done );
}

void ChangeRun::run( ChangeObserver &observer ) {
   observer_ = &observer;
   clearTheWay();
   while ( !allDone() && step() ) {}
   goAll();
   std::ranges::for_each( bundles_, [ this ]( Bundle &bundle ) { putBack( bundle ); } );
   dropGroups();
   tellRefusals();
}

bool ChangeRun::allDone() const {
   return std::ranges::all_of( bundles_, &Bundle::done ) && std::ranges::all_of( comers_, &Wish::done );
}

// Its old entries are gone, and it still has no new ones for some of them.
bool ChangeRun::isWaiting( const Bundle &bundle ) const {
   return bundle.oldAreGone && !bundle.inVain && !bundle.done();
}

// While something waits for room, nothing takes any that does not give it back.
bool ChangeRun::step() {
   if ( swapOf( -1 ) || swapOf( 0 ) || swapWithoutOld() ) {
      return true;
   }
   const auto waiting =
      std::ranges::find_if( bundles_, [ this ]( const Bundle &bundle ) { return isWaiting( bundle ); } );
   if ( waiting == bundles_.end() ) {
      return swapOf( std::numeric_limits<int>::max() ) || comeAll() || goAll() || breakSmallest();
   }
   if ( !goAll() && !breakSmallest() ) {
      putBack( *waiting );
      waiting->inVain = true;
   }
   return true;
}

// Where class IDs share bits: what leaves goes before a new one that has a bit of it, since the old one would
// take the bit along when it goes. What holds the same ports as one that comes stays until then: they share
// the class ID.
void ChangeRun::clearTheWay() {
   std::set<PortsOfGroup> asked;
   std::map<TcamGroupId, std::size_t> newOnes;
   const auto ask = [ & ]( const Wish &wish ) {
      auto portSet = portsOfGroup( *wish.request );
      const bool isHeld = held_.contains( portSet );
      if ( asked.insert( std::move( portSet ) ).second && !isHeld ) {
         ++newOnes[ wish.request->group ];
      }
   };
   for ( const auto &bundle : bundles_ ) {
      std::ranges::for_each( bundle.wishes, ask );
   }
   std::ranges::for_each( comers_, ask );
   std::map<TcamGroupId, U32> bits;
   for ( const auto &[ group, number ] : newOnes ) {
      bits[ group ] = sharesBits( group ) ? bitsOfNext( group, number ) : 0;
   }
   const auto isInTheWay = [ & ]( U32 entry ) {
      const auto &request = agent_.entries().at( entry ).request;
      return ( bits[ request.group ] & requestOf( entry )->classId() ) &&
             !asked.contains( portsOfGroup( request ) );
   };
   for ( auto &bundle : bundles_ ) {
      if ( isInTheWay( bundle.old.front().entry ) ) {
         goFirst( bundle );
      }
   }
   std::erase_if( goers_, [ & ]( std::size_t rule ) {
      const bool goes = isInTheWay( *rules_[ rule ].entryBefore );
      if ( goes ) {
         remove( rule );
      }
      return goes;
   } );
}

// All bits of the class IDs that a fixed-width group lends next.
U32 ChangeRun::bitsOfNext( TcamGroupId group, std::size_t number ) const {
   const auto &status = agent_.manager().classIdTcamGroupStatus( group );
   const auto pool = status ? status->poolStatus( status->lastPoolNum() ) : nullptr;
   U32 bits = 0;
   if ( pool ) {
      for ( const U16 classId : pool->classIdPool() ) {
         bits |= number && number-- ? classId : 0U;
      }
   }
   return bits;
}

// Those whose old entries are there, and that cost so many class IDs at the most. One that costs something is
// the only one: it may have changed what the others cost.
bool ChangeRun::swapOf( int mostCost ) {
   bool progress = false;
   for ( auto &bundle : bundles_ ) {
      if ( !bundle.oldAreGone && !bundle.done() && costOf( bundle ) <= mostCost && swap( bundle ) ) {
         progress = true;
         if ( mostCost >= 0 ) {
            break;
         }
      }
   }
   return progress;
}

bool ChangeRun::swapWithoutOld() {
   bool progress = false;
   for ( auto &bundle : bundles_ ) {
      progress = ( isWaiting( bundle ) && swap( bundle ) ) || progress;
   }
   return progress;
}

bool ChangeRun::swap( Bundle &bundle ) {
   std::vector<std::size_t> replaced;
   for ( auto &wish : bundle.wishes ) {
      if ( !wish.done() && install( wish ) ) {
         replaced.push_back( wish.rule );
      }
   }
   if ( !bundle.oldAreGone ) {
      for ( const auto rule : replaced ) {
         remove( rule );
      }
   }
   return !replaced.empty();
}

bool ChangeRun::comeAll() {
   bool progress = false;
   for ( auto &wish : comers_ ) {
      progress = ( !wish.done() && install( wish ) ) || progress;
   }
   return progress;
}

bool ChangeRun::goAll() {
   const bool any = !goers_.empty();
   for ( const auto rule : goers_ ) {
      remove( rule );
   }
   goers_.clear();
   return any;
}

// The entries of nothing else hold the class ID of the old ones.
bool ChangeRun::frees( const Bundle &bundle ) const {
   std::size_t old = 0;
   const ClassIdRequestStatus *request = nullptr;
   for ( const auto &wish : bundle.wishes ) {
      if ( !wish.done() ) {
         ++old;
         request = requestOf( *rules_[ wish.rule ].entryBefore );
      }
   }
   return request && request->entryRefs() == old;
}

// Class IDs that it takes for good: one for each new port set, less the one that comes free, where that is of
// use to it.
int ChangeRun::costOf( const Bundle &bundle ) const {
   bool ofUse = frees( bundle );
   std::set<PortsOfGroup> taken;
   for ( const auto &wish : bundle.wishes ) {
      if ( wish.done() ) {
         continue;
      }
      ofUse = ofUse && drawOnTheSame( bundle.old.front().group, wish.request->group );
      if ( auto portSet = portsOfGroup( *wish.request ); !held_.contains( portSet ) ) {
         taken.insert( std::move( portSet ) );
      }
   }
   return static_cast<int>( taken.size() ) - ( ofUse ? 1 : 0 );
}

// Something that found no room draws on the space of the old entries.
bool ChangeRun::couldHelp( const Bundle &bundle ) const {
   const auto group = bundle.old.front().group;
   const auto type = typeOf( group );
   const auto needs = [ & ]( const Wish &wish ) {
      return !wish.done() && typeOf( wish.request->group ) == type &&
             ( !poolsComeWithGroup( type ) || wish.request->group == group );
   };
   return std::ranges::any_of( comers_, needs ) ||
          std::ranges::any_of(
             bundles_, [ & ]( const Bundle &other ) { return std::ranges::any_of( other.wishes, needs ); } );
}

// Its new entries draw on the bits of the old ones, though not class ID for class ID: a pool of bits for a
// single one.
bool ChangeRun::changesUnit( const Bundle &bundle ) const {
   const auto group = bundle.old.front().group;
   const auto type = typeOf( group );
   return std::ranges::any_of( bundle.wishes, [ & ]( const Wish &wish ) {
      return !wish.done() && typeOf( wish.request->group ) == type &&
             !drawOnTheSame( group, wish.request->group );
   } );
}

// The one with the fewest rules that gives up what another can use, or else what it may come to use itself.
bool ChangeRun::breakSmallest() {
   Bundle *smallest = nullptr;
   std::pair<bool, std::ptrdiff_t> lowestRank;
   for ( auto &bundle : bundles_ ) {
      if ( bundle.done() || bundle.oldAreGone || !frees( bundle ) ) {
         continue;
      }
      const bool helps = costOf( bundle ) <= 0 && couldHelp( bundle );
      const auto left =
         std::ranges::count_if( bundle.wishes, []( const Wish &wish ) { return !wish.done(); } );
      const std::pair rank( !helps, left );
      if ( ( helps || changesUnit( bundle ) ) && ( !smallest || rank < lowestRank ) ) {
         smallest = &bundle;
         lowestRank = rank;
      }
   }
   if ( smallest ) {
      goFirst( *smallest );
   }
   return smallest;
}

void ChangeRun::goFirst( Bundle &bundle ) {
   bundle.oldAreGone = true;
   for ( const auto &wish : bundle.wishes ) {
      if ( !wish.done() ) {
         rules_[ wish.rule ].goesFirst = true;
         remove( wish.rule );
      }
   }
}

// What gave up its old entry for nothing gets it back, where that still fits.
void ChangeRun::putBack( Bundle &bundle ) {
   for ( std::size_t i = 0; i < bundle.wishes.size(); ++i ) {
      auto &rule = rules_[ bundle.wishes[ i ].rule ];
      if ( bundle.wishes[ i ].installed || rule.entryAfter || !bundle.oldAreGone ) {
         continue;
      }
      Wish again{ bundle.wishes[ i ].rule, &bundle.old[ i ] };
      const auto refusal = rule;
      install( again );
      rule.code = refusal.code;
      rule.message = refusal.message;
   }
}

// A fixed-width group keeps its pool when its last entry goes. Where nothing is wanted of it any more, it
// goes, too.
void ChangeRun::dropGroups() {
   for ( const auto group : leftGroups_ ) {
      const bool used = std::ranges::any_of(
         agent_.entries(), [ & ]( const auto &item ) { return item.second.request.group == group; } );
      if ( !used && !wantedGroups_.contains( group ) && poolsComeWithGroup( typeOf( group ) ) ) {
         const ChangeStep step{ Kind::deleteGroup, { .group = group } };
         observer_->begins( step, {} );
         agent_.deleteGroup( group );
         observer_->ends( step );
      }
   }
}

void ChangeRun::tellRefusals() {
   const auto tell = [ this ]( const Wish &wish ) {
      auto &rule = rules_[ wish.rule ];
      if ( wish.installed ) {
         rule.code.clear();
         rule.message.clear();
         return;
      }
      rule.fate = RuleFate::refused;
      if ( rule.entryBefore && agent_.entries().contains( *rule.entryBefore ) ) {
         rule.entryAfter = rule.entryBefore;
      }
      if ( rule.entryBefore ) {
         rule.message += rule.entryAfter ? "; it stays as it was" : "; what was there is gone";
      }
   };
   std::ranges::for_each( comers_, tell );
   for ( const auto &bundle : bundles_ ) {
      std::ranges::for_each( bundle.wishes, tell );
   }
   for ( auto &rule : rules_ ) {
      if ( rule.fate == RuleFate::stays ) {
         rule.entryAfter = rule.entryBefore;
      }
   }
}

} // namespace QuarraLab
