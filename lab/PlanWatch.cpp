#include "lab/PlanWatch.h"

#include <algorithm>
#include <iterator>

namespace QuarraLab {

PlanWatch::PlanWatch( Switch &theSwitch, std::vector<WatchedRule> rules,
                      const std::map<U32, std::size_t> &ruleOf )
   : switch_( theSwitch ), rules_( std::move( rules ) ), ruleOf_( ruleOf ), standing_( rules_.size() ) {
   const auto &ports = switch_.ports();
   for ( std::size_t place = 0; place < ports.size(); ++place ) {
      places_.emplace( ports[ place ].port(), place );
      isCpuPort_.push_back( switch_.isCpuPort( ports[ place ] ) );
   }
   for ( const auto &[ entry, rule ] : ruleOf_ ) {
      lookAtEntry( entry );
   }
   switch_.chip().observerIs( [ this ]( const auto &seen ) { look( seen ); } );
}

PlanWatch::~PlanWatch() {
   switch_.chip().observerIs( {} );
}

void PlanWatch::begins( std::size_t step ) {
   step_ = step;
}

void PlanWatch::entryStandsFor( U32 entry, std::size_t rule ) {
   ruleOf_[ entry ] = rule;
}

void PlanWatch::ends( bool portsChanged ) {
   if ( portsChanged && switch_.agent().variant().aclGroupOf ) {
      for ( std::size_t port = 0; port < isCpuPort_.size(); ++port ) {
         lookAtPort( port );
      }
   }
}

void PlanWatch::look( const QuarraSimulator::SdkCallSeen &seen ) {
   if ( seen.entry && ruleOf_.contains( seen.entry ) ) {
      lookAtEntry( seen.entry );
   }
   for ( const U32 number : seen.ports ) {
      const auto [ first, last ] = places_.equal_range( number );
      for ( auto place = first; place != last; ++place ) {
         lookAtPort( place->second );
      }
   }
}

// The entry came, went or got another qualifier.
void PlanWatch::lookAtEntry( U32 entry ) {
   const std::size_t rule = ruleOf_.at( entry );
   const auto held = switch_.chip().tcamEntries().find( entry );
   const bool isInstalled = held != switch_.chip().tcamEntries().end() && held->second.installed;
   const auto was = of_.find( entry );
   if ( !isInstalled && was == of_.end() ) {
      return; // it matches nothing yet
   }
   if ( was != of_.end() ) {
      auto &standing = standing_[ rule ];
      standing.erase( std::ranges::find( standing, &was->second->second ) );
      was->second->second.entries.erase( entry );
      if ( was->second->second.entries.empty() ) {
         alike_.erase( was->second );
      }
      of_.erase( was );
   }
   if ( isInstalled ) {
      const auto &[ frame, installed, kind, dataBits, maskBits, data, mask ] = held->second;
      const auto [ item, isNew ] =
         alike_.try_emplace( { kind, frame.sourceTrunkMapTable, dataBits, maskBits, data, mask } );
      if ( isNew ) {
         item->second.matched = switch_.chip().matches( entry, switch_.chip().portValues( switch_.ports() ) );
      }
      item->second.entries.insert( entry );
      of_.emplace( entry, item );
      standing_[ rule ].push_back( &item->second );
   }
   checkRule( rule );
}

void PlanWatch::lookAtPort( std::size_t port ) {
   const auto values = switch_.chip().portValues( std::span( &switch_.ports()[ port ], 1 ) );
   for ( auto &[ qualifier, alike ] : alike_ ) {
      const bool now = switch_.chip().matches( *alike.entries.begin(), values ).front();
      if ( now == alike.matched[ port ] ) {
         continue;
      }
      alike.matched[ port ] = now;
      for ( const U32 entry : alike.entries ) {
         check( ruleOf_.at( entry ), port );
      }
   }
}

bool PlanWatch::matches( std::size_t rule, std::size_t port ) const {
   return std::ranges::any_of( standing_[ rule ],
                               [ & ]( const Alike *alike ) { return alike->matched[ port ]; } );
}

void PlanWatch::checkRule( std::size_t rule ) {
   // The usual case: there is an entry, and each matches what is right before or after.
   const auto &standing = standing_[ rule ];
   if ( !standing.empty() && open_.empty() &&
        std::ranges::all_of( standing, [ &rights = rules_[ rule ] ]( const Alike *alike ) {
           return alike->matched == *rights.before || alike->matched == *rights.after;
        } ) ) {
      return;
   }
   for ( std::size_t port = 0; port < isCpuPort_.size(); ++port ) {
      check( rule, port );
   }
}

void PlanWatch::check( std::size_t rule, std::size_t port ) {
   const auto &[ before, after, ethernet ] = rules_[ rule ];
   if ( ethernet && isCpuPort_[ port ] ) {
      return;
   }
   const bool now = matches( rule, port );
   const bool good =
      now ? ( *before )[ port ] || ( *after )[ port ] : !( *before )[ port ] || !( *after )[ port ];
   if ( !good ) {
      open_.try_emplace( { rule, port }, step_ );
      return;
   }
   const auto item = open_.find( { rule, port } );
   if ( item != open_.end() ) {
      if ( item->second ) {
         wrong_.insert( { rule, port, now, item->second, step_ } );
      }
      open_.erase( item );
   }
}

// What came right on the way and is wrong again at the end was not wrong for a while only.
std::vector<WrongForAWhile> PlanWatch::wrong() const {
   std::vector<WrongForAWhile> wrong;
   std::ranges::copy_if( wrong_, std::back_inserter( wrong ), [ this ]( const WrongForAWhile &one ) {
      return !open_.contains( { one.rule, one.port } ) || one.lost == matches( one.rule, one.port );
   } );
   return wrong;
}

bool PlanWatch::allIsRight() const {
   for ( std::size_t rule = 0; rule < rules_.size(); ++rule ) {
      const auto &standing = standing_[ rule ];
      const auto &after = *rules_[ rule ].after;
      if ( standing.empty() ? std::ranges::find( after, true ) != after.end()
                            : standing.size() > 1 || standing.front()->matched != after ) {
         return false;
      }
   }
   return true;
}

} // namespace QuarraLab
