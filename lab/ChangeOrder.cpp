#include <algorithm>

#include "lab/ChangeRun.h"

// The order of a change's steps.
namespace QuarraLab {

using namespace QuarraTcam;
using QuarraAgent::InstallRequest;
using QuarraCentral::QuarraModPort;
using Kind = ChangeStep::Kind;

namespace {

// A fixed-width group of wide pools: its class IDs share bits, so one that is new may take a bit from another's ports.
bool sharesBits( TcamGroupId group ) {
   return isOfType( group, ClassIdType::aclGroupFixedWidth ) &&
          classIdTcamGroupsInfo.at( group )->classIdPoolWidth() != 1;
}

} // namespace

bool ChangeRun::Bundle::done() const {
   return std::ranges::all_of( wishes, &Wish::done );
}

void ChangeRun::run( ChangeObserver &observer ) {
   observer_ = &observer;
   clearTheWay();
   while ( !allDone() ) {
      bool progress = swapAll( false ) || swapAll( true );
      progress = ( !progress && comeAll() ) || progress;
      if ( !progress && !allDone() && !goAll() && !breakSmallest() ) {
         break;
      }
   }
   goAll();
   putBack();
   dropGroups();
   tellRefusals();
}

bool ChangeRun::allDone() const {
   return std::ranges::all_of( bundles_, &Bundle::done ) && std::ranges::all_of( comers_, &Wish::done );
}

// Where class IDs share bits, and a new one is to come, what leaves goes before: fewer class IDs are in each other's
// way. What holds the same ports as one that comes stays until then: they share the class ID.
void ChangeRun::clearTheWay() {
   std::set<PortSet> held;
   for ( const auto &[ id, entry ] : agent_.entries() ) {
      if ( sharesBits( entry.request.group ) ) {
         held.insert( portSetOf( entry.request ) );
      }
   }
   std::set<PortSet> asked;
   std::set<TcamGroupId> getNewOnes;
   const auto ask = [ & ]( const Wish &wish ) {
      const auto &request = *wish.request;
      if ( sharesBits( request.group ) && asked.insert( portSetOf( request ) ).second &&
           !held.contains( portSetOf( request ) ) ) {
         getNewOnes.insert( request.group );
      }
   };
   for ( const auto &bundle : bundles_ ) {
      std::ranges::for_each( bundle.wishes, ask );
   }
   std::ranges::for_each( comers_, ask );
   const auto isInTheWay = [ & ]( const InstallRequest &request ) {
      return getNewOnes.contains( request.group ) && !asked.contains( portSetOf( request ) );
   };
   for ( auto &bundle : bundles_ ) {
      if ( isInTheWay( bundle.old.front() ) ) {
         goFirst( bundle );
      }
   }
   std::erase_if( goers_, [ & ]( std::size_t rule ) {
      const bool goes = isInTheWay( agent_.entries().at( *rules_[ rule ].entryBefore ).request );
      if ( goes ) {
         remove( rule );
      }
      return goes;
   } );
}

bool ChangeRun::swapAll( bool oldAreGone ) {
   bool progress = false;
   for ( auto &bundle : bundles_ ) {
      if ( bundle.oldAreGone == oldAreGone && !bundle.done() ) {
         progress = swap( bundle ) || progress;
      }
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

// Something that found no room draws on the space of the old entries.
bool ChangeRun::couldHelp( const Bundle &bundle ) const {
   const auto group = bundle.old.front().group;
   const auto type = classIdTcamGroupsInfo.at( group )->classIdType();
   const auto needs = [ & ]( const Wish &wish ) {
      return !wish.done() && isOfType( wish.request->group, type ) &&
             ( type != ClassIdType::aclGroupFixedWidth || wish.request->group == group );
   };
   return std::ranges::any_of( comers_, needs ) ||
          std::ranges::any_of(
             bundles_, [ & ]( const Bundle &other ) { return std::ranges::any_of( other.wishes, needs ); } );
}

bool ChangeRun::breakSmallest() {
   const auto left = []( const Bundle &bundle ) {
      return std::ranges::count_if( bundle.wishes, []( const Wish &wish ) { return !wish.done(); } );
   };
   Bundle *smallest = nullptr;
   for ( auto &bundle : bundles_ ) {
      if ( !bundle.done() && !bundle.oldAreGone && frees( bundle ) && couldHelp( bundle ) &&
           ( !smallest || left( bundle ) < left( *smallest ) ) ) {
         smallest = &bundle;
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
void ChangeRun::putBack() {
   for ( auto &bundle : bundles_ ) {
      for ( std::size_t i = 0; i < bundle.wishes.size(); ++i ) {
         const auto rule = bundle.wishes[ i ].rule;
         Wish again{ rule, &bundle.old[ i ] };
         if ( !bundle.wishes[ i ].installed && !agent_.entries().contains( again.request->entry ) ) {
            const auto refusal = rules_[ rule ];
            roomless_.clear();
            install( again );
            rules_[ rule ].code = refusal.code;
            rules_[ rule ].message = refusal.message;
         }
      }
   }
}

// A fixed-width group keeps its pool when its last entry goes. Where nothing is wanted of it any more, it goes, too.
void ChangeRun::dropGroups() {
   for ( const auto group : leftGroups_ ) {
      const bool used = std::ranges::any_of(
         agent_.entries(), [ & ]( const auto &item ) { return item.second.request.group == group; } );
      if ( !used && !wantedGroups_.contains( group ) && isOfType( group, ClassIdType::aclGroupFixedWidth ) ) {
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
