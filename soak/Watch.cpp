#include "soak/Watch.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraSoak {

Watch::Watch( const QuarraSimulator::SimulatedChip &chip, const QuarraAgent::Variant &variant,
              std::vector<Port> ports )
   : chip_( chip ), variant_( variant ), ports_( std::move( ports ) ) {
   for ( std::size_t place = 0; place < ports_.size(); ++place ) {
      places_.emplace( ports_[ place ].port(), place );
   }
   for ( const auto &[ entry, held ] : chip_.tcamEntries() ) {
      for ( std::size_t place = 0; place < ports_.size(); ++place ) {
         lookAt( entry, place, true );
      }
   }
   changes_.clear();
}

Watch::Watch( Switch &theSwitch )
   : Watch( theSwitch.chip(), theSwitch.agent().variant(), theSwitch.ports() ) {
   observed_ = &theSwitch.chip();
   observed_->observerIs( [ this ]( const auto &seen ) { look( seen ); } );
}

Watch::~Watch() {
   if ( observed_ ) {
      observed_->observerIs( {} );
   }
}

void Watch::begin( U16 group, U32 entry ) {
   group_ = group;
   entry_ = entry;
   calls_ = 0;
   changes_.clear();
}

void Watch::lookAt( U32 entry, std::size_t place, bool named ) {
   auto &row = rows_[ entry ];
   row.resize( ports_.size() );
   const bool now = chip_.matches( entry, ports_[ place ] );
   if ( now != row[ place ] ) {
      row[ place ] = now;
      changes_.push_back( { calls_, entry, place, named } );
   }
}

// Values that a helper keeps itself change without an SDK call.
bool Watch::seesPortsOf( U32 entry ) const {
   return !variant_.aclGroupOf ||
          chip_.tcamEntries().at( entry ).kind == QuarraSimulator::TcamEntry::Kind::interfaceClassPort;
}

void Watch::look( const QuarraSimulator::SdkCallSeen &seen ) {
   ++calls_;
   if ( seen.entry ) {
      for ( std::size_t place = 0; place < ports_.size(); ++place ) {
         lookAt( seen.entry, place, true );
      }
      if ( !chip_.tcamEntries().contains( seen.entry ) ) {
         rows_.erase( seen.entry );
      }
   }
   for ( const U32 number : seen.ports ) {
      const auto [ first, last ] = places_.equal_range( number );
      for ( auto place = first; place != last; ++place ) {
         for ( const auto &[ entry, row ] : rows_ ) {
            if ( seesPortsOf( entry ) ) {
               lookAt( entry, place->second, false );
            }
         }
      }
   }
}

// Changed once on a port, an entry ends as the model has it, since all state is compared. Changed more often,
// it did in between what it does neither before nor after.
std::string Watch::end( const Model &model ) {
   std::map<std::pair<U32, std::size_t>, U32> times;
   for ( const auto &change : changes_ ) {
      ++times[ { change.entry, change.port } ];
   }
   const auto &groups = model.groups();
   const auto *const own = groups.contains( group_ ) ? &groups.at( group_ ) : nullptr;
   for ( const auto &[ call, entry, place, named ] : changes_ ) {
      const auto &port = ports_[ place ];
      const U32 changed = times.at( { entry, place } );
      bool good = changed == 1;
      if ( entry == entry_ ) {
         good = good && named;
      } else if ( !good && own && own->width > 1 ) {
         const auto installed = model.entries().find( entry );
         good = installed != model.entries().end() && installed->second.group == group_ &&
                ( own->space == Space::fixedWidth || model.movedPorts().contains( port ) );
      }
      if ( !good ) {
         return fmt::format(
            "SDK call {} of {}: {} entry {} changes what it matches on port {}/{}; {} times in all", call,
            calls_, entry == entry_ ? "not about it, the request's own" : "another", entry,
            port.modId().value(), port.port(), changed );
      }
   }
   return "";
}

} // namespace QuarraSoak
