#include <bit>

#include "soak/ModelState.h"

namespace QuarraSoak {
Model::Model( ModelChip chip, std::map<U16, ModelGroup> groups )
   : chip_( std::move( chip ) ), groups_( std::move( groups ) ) {
   words_[ Space::ifpSourceTrunkMap ];
   words_[ Space::vfpSourceTrunkMap ];
   for ( const auto &[ space, size ] : chip_.sizes ) {
      reserved_[ space ];
   }
   for ( const auto &[ id, group ] : groups_ ) {
      for ( const auto &rule : group.startRules ) {
         must( reserve( id, rule, 0 ), "a chip without room for the rules of start-up" );
      }
   }
   std::fill( std::begin( events_ ), std::end( events_ ), 0 );
}

// ---- What the agent refuses

bool Model::startsUp( const ModelRequest &request ) const {
   const auto &rules = groups_.at( request.group ).startRules;
   return request.rule && std::find( rules.begin(), rules.end(), *request.rule ) != rules.end();
}

bool Model::onChip( const Port &port ) const {
   return chip_.ports.contains( port ) || chip_.cpuPorts.contains( port );
}

bool Model::refuses( const ModelRequest &request ) const {
   if ( !groups_.contains( request.group ) || request.entry == 0 || entries_.contains( request.entry ) ) {
      return true;
   }
   const auto &group = groups_.at( request.group );
   const auto &wanted = request.wanted;
   if ( wanted.ethernet && ( !wanted.ports.empty() || group.width > 1 ) ) {
      return true;
   }
   return ( group.system && !startsUp( request ) ) ||
          !std::all_of( wanted.ports.begin(), wanted.ports.end(),
                        [ & ]( const auto &port ) { return onChip( port ); } );
}

bool Model::refusesNewKey( U16 id ) const {
   const auto &group = groups_.at( id );
   const U32 size = chip_.sizes.at( group.space );
   const auto state = states_.find( id );
   if ( group.poolBits || size == 0 ) {
      return true;
   }
   if ( group.space == Space::fixedWidth ) {
      return state == states_.end();
   }
   const bool lends =
      state != states_.end() && std::any_of( state->second.pools.begin(), state->second.pools.end(),
                                             []( const auto &pool ) { return !pool.free.empty(); } );
   return !lends && U32{ group.width } * group.numPools > size + 1;
}

bool Model::asAtStart() const {
   return entries_.empty() && std::all_of( states_.begin(), states_.end(), [ & ]( const auto &state ) {
             return !groups_.at( state.first ).startRules.empty();
          } );
}

// ---- Groups

Outcome Model::createGroup( U16 id, std::optional<std::pair<U8, U8>> &hint ) {
   moved_.clear();
   if ( !groups_.contains( id ) ) {
      return Outcome::refused;
   }
   const auto &group = groups_.at( id );
   if ( isSourceTrunkMap( group.space ) ) {
      return Outcome::done;
   }
   if ( chip_.sizes.at( group.space ) == 0 ) {
      return Outcome::refused;
   }
   const auto flexible = static_cast<U8>( chip_.sizes.at( Space::flexibleWidth ) );
   if ( group.space == Space::flexibleWidth ) {
      hint.emplace( U8{ 0 }, static_cast<U8>( flexible - 1 ) );
      return Outcome::done;
   }
   if ( !states_.contains( id ) && U32{ group.width } * group.numPools > chip_.sizes.at( group.space ) ) {
      return Outcome::refused;
   }
   if ( !states_.contains( id ) && !takePools( id, group.width ) ) {
      return Outcome::noRoom;
   }
   const auto &pools = states_.at( id ).pools;
   hint.emplace( static_cast<U8>( flexible + pools.front().base ),
                 static_cast<U8>( flexible + pools.back().base + pools.back().width - 1 ) );
   return Outcome::done;
}

Outcome Model::deleteGroup( U16 id ) {
   moved_.clear();
   const auto used = [ & ]( const auto &entry ) { return entry.second.group == id; };
   if ( !groups_.contains( id ) || groups_.at( id ).system || !groups_.at( id ).startRules.empty() ||
        std::any_of( entries_.begin(), entries_.end(), used ) ) {
      return Outcome::refused;
   }
   const auto &group = groups_.at( id );
   if ( !states_.contains( id ) ) {
      return group.space == Space::fixedWidth ? Outcome::refused : Outcome::done;
   }
   for ( const auto &pool : states_.at( id ).pools ) {
      giveBack( group.space, pool );
   }
   states_.erase( id );
   return Outcome::done;
}

// ---- Class IDs

std::optional<U32> Model::lowestRun( Space space, U32 bits ) const {
   const auto &taken = reserved_.at( space );
   for ( U32 first = 0; first + bits <= chip_.sizes.at( space ); ++first ) {
      const auto next = taken.lower_bound( first );
      if ( next == taken.end() || *next >= first + bits ) {
         return first;
      }
   }
   return std::nullopt;
}

// The id of the last pool made, or 0.
U16 Model::takePools( U16 id, U8 width ) {
   const auto &group = groups_.at( id );
   const U32 bits = U32{ width } * group.numPools;
   const auto first = group.poolBits ? static_cast<U32>( std::countr_zero( group.poolBits ) )
                                     : lowestRun( group.space, bits );
   if ( !first ) {
      return 0;
   }
   auto &state = states_[ id ];
   happened( state.pools.empty() ? Event::newPool : Event::secondPool );
   U16 last = 0;
   for ( U8 n = 0; n < group.numPools; ++n ) {
      // When all ids have been handed out, the lowest that no pool holds; pools stand in the order of their
      // ids.
      auto place = state.pools.end();
      U16 poolId = 1;
      if ( state.lastPool < 0xffff ) {
         poolId = ++state.lastPool;
      } else {
         for ( place = state.pools.begin(); place != state.pools.end() && place->id == poolId; ++place ) {
            ++poolId;
         }
      }
      ModelPool pool{ poolId, *first + U32{ n } * width, width, {} };
      for ( U32 classId = 1; classId < U32{ 1 } << width; ++classId ) {
         pool.free.push_back( static_cast<U16>( classId ) );
      }
      state.pools.insert( place, pool );
      last = poolId;
   }
   for ( U32 bit = *first; bit < *first + bits && !group.poolBits; ++bit ) {
      reserved_.at( group.space ).insert( bit );
   }
   return last;
}

// A free class ID of any pool, of the lowest id first; else a new pool, in the group's width or of one bit.
Holder *Model::reserve( U16 id, const std::string &startRule, U32 entry ) {
   const auto &group = groups_.at( id );
   const auto lending = [ & ]() -> ModelPool * {
      const auto state = states_.find( id );
      if ( state == states_.end() ) {
         return nullptr;
      }
      for ( auto &pool : state->second.pools ) {
         if ( !pool.free.empty() ) {
            return &pool;
         }
      }
      return nullptr;
   };
   auto *pool = lending();
   if ( !pool ) {
      if ( group.space == Space::fixedWidth ) {
         return nullptr;
      }
      U16 made = takePools( id, group.width );
      if ( !made ) {
         made = takePools( id, 1 );
         if ( !made ) {
            return nullptr;
         }
         happened( Event::fallback );
      }
      auto &pools = states_.at( id ).pools; // of several new ones, the last
      pool = &*std::find_if( pools.begin(), pools.end(), [ & ]( auto &one ) { return one.id == made; } );
   }
   auto &state = states_.at( id );
   state.holders.push_back( { ++lastKey_, startRule, pool->free.front(), pool->id, { entry }, {} } );
   pool->free.pop_front();
   return &state.holders.back();
}

void Model::giveBack( Space space, const ModelPool &pool ) {
   for ( U32 bit = pool.base; bit < pool.base + pool.width; ++bit ) {
      reserved_.at( space ).erase( bit );
   }
   happened( Event::poolGone );
}

void Model::givePoolsBack( U16 id ) {
   const Space space = groups_.at( id ).space;
   auto &state = states_.at( id );
   if ( space == Space::fixedWidth ) {
      return;
   }
   std::erase_if( state.pools, [ & ]( const auto &pool ) {
      if ( pool.whollyFree() ) {
         giveBack( space, pool );
      }
      return pool.whollyFree();
   } );
   if ( state.pools.empty() ) {
      states_.erase( id );
   }
}

// ---- Entries

// The words of the source trunk map are written port by port, so there all ethernet ports are listed.
PortSet Model::portsOf( const ModelRequest &request ) const {
   const bool listed = isSourceTrunkMap( groups_.at( request.group ).space ) && request.wanted.ethernet;
   return listed ? PortSet{ chip_.ports, false } : request.wanted;
}

Holder *Model::holderOf( const ModelRequest &request, const PortSet &ports ) {
   const auto state = states_.find( request.group );
   if ( state == states_.end() ) {
      return nullptr;
   }
   int key = 0;
   for ( const auto &[ indexedKey, indexedPorts ] : state->second.index ) {
      if ( !key && indexedPorts == ports ) {
         key = indexedKey;
      }
   }
   for ( auto &holder : state->second.holders ) {
      if ( startsUp( request ) ? holder.startRule == *request.rule : holder.key == key ) {
         return &holder;
      }
   }
   return nullptr;
}

Outcome Model::install( const ModelRequest &request ) {
   moved_.clear();
   if ( refuses( request ) ) {
      return Outcome::refused;
   }
   const auto ports = portsOf( request );
   Holder *holder = holderOf( request, ports );
   if ( holder ) {
      happened( startsUp( request ) ? Event::startRule : Event::sharedKey );
      holder->entries.insert( request.entry );
   } else if ( refusesNewKey( request.group ) ) {
      return Outcome::refused;
   } else if ( holder = reserve( request.group, "", request.entry ); !holder ) {
      return Outcome::noRoom;
   }
   auto &state = states_.at( request.group );
   addToIndex( state, holder->key, ports );
   if ( groups_.at( request.group ).width > 1 ) {
      takePorts( request.group, *holder, ports );
   }
   program( request.group, *holder, ports );

   auto &qualifier = qualifiers_[ request.entry ];
   const auto &pool = poolOf( state, *holder );
   for ( U32 i = 0; i < pool.width; ++i ) {
      qualifier.mask.insert( pool.base + i );
      if ( holder->classId >> i & 1 ) {
         qualifier.data.insert( pool.base + i );
      }
   }
   entries_.emplace( request.entry, request );
   if ( request.wanted.ethernet ) {
      happened( Event::allEthernet );
   } else if ( request.wanted.ports.empty() ) {
      happened( Event::noPorts );
   }
   return Outcome::done;
}

Outcome Model::remove( U16 id, U32 entry ) {
   moved_.clear();
   const auto item = entries_.find( entry );
   if ( item == entries_.end() || item->second.group != id ) {
      return Outcome::refused;
   }
   qualifiers_.erase( entry );
   release( id, entry );
   return Outcome::done;
}

void Model::release( U16 id, U32 entry ) {
   auto &state = states_.at( id );
   const auto holder = std::find_if( state.holders.begin(), state.holders.end(),
                                     [ & ]( const auto &item ) { return item.entries.contains( entry ); } );
   const auto removed = entries_.extract( entry ).mapped();
   holder->entries.erase( entry );
   if ( holder->entries.empty() ) {
      if ( indexed( state, holder->programmed ) ) {
         takeFromIndex( state, holder->key, holder->programmed );
      }
      program( id, *holder, {} );
      for ( auto &pool : state.pools ) {
         if ( pool.id == holder->poolId ) {
            pool.free.push_back( holder->classId );
         }
      }
      state.holders.erase( holder );
   } else {
      if ( holder->entries == std::set<U32>{ 0 } ) {
         program( id, *holder, {} );
      }
      // The key of a start-up rule stays; the agent takes the entry's ports out of the index, unless another
      // entry of the rule wants the same.
      const auto ports = portsOf( removed );
      const bool wanted = std::any_of( entries_.begin(), entries_.end(), [ & ]( const auto &other ) {
         return holder->entries.contains( other.first ) && portsOf( other.second ) == ports;
      } );
      if ( holder->entries.contains( 0 ) && !wanted ) {
         std::erase( state.index, std::pair( holder->key, ports ) );
      }
   }
   givePoolsBack( id );
}

} // namespace QuarraSoak
