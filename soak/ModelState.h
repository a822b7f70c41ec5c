#pragma once

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "soak/Model.h"

// What the parts of the model share: walks over its state.
namespace QuarraSoak {

inline const ModelPool &poolOf( const GroupState &state, const Holder &holder ) {
   return *std::find_if( state.pools.begin(), state.pools.end(),
                         [ & ]( const auto &pool ) { return pool.id == holder.poolId; } );
}

// What the library keeps true by itself. A model that finds it broken has no say any more.
inline void must( bool condition, const char *what ) {
   if ( !condition ) {
      std::cerr << "model: " << what << "\n";
      std::abort();
   }
}

inline bool isSourceTrunkMap( Space space ) {
   return space == Space::ifpSourceTrunkMap || space == Space::vfpSourceTrunkMap;
}

inline bool indexed( const GroupState &state, const PortSet &ports ) {
   return std::any_of( state.index.begin(), state.index.end(),
                       [ & ]( const auto &item ) { return item.second == ports; } );
}

inline void addToIndex( GroupState &state, int key, const PortSet &ports ) {
   if ( std::find( state.index.begin(), state.index.end(), std::pair( key, ports ) ) == state.index.end() ) {
      state.index.emplace_back( key, ports );
   }
}

inline void takeFromIndex( GroupState &state, int key, const PortSet &ports ) {
   const auto item = std::find( state.index.begin(), state.index.end(), std::pair( key, ports ) );
   must( item != state.index.end(), "the index lost a key" );
   state.index.erase( item );
}

} // namespace QuarraSoak
