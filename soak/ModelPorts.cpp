#include "soak/ModelState.h"

// Which ports carry a class ID, and who wins one.
namespace QuarraSoak {

// In a group of values a port carries one: the newest takes it from the others, port by port.
void Model::takePorts( U16 id, const Holder &newest, const PortSet &ports ) {
   auto &state = states_.at( id );
   for ( auto &other : state.holders ) {
      const auto before = other.programmed;
      for ( const auto &port : before.ports ) {
         if ( other.key == newest.key || !ports.ports.contains( port ) ) {
            continue;
         }
         auto left = other.programmed;
         left.ports.erase( port );
         if ( indexed( state, other.programmed ) ) {
            takeFromIndex( state, other.key, other.programmed );
            addToIndex( state, other.key, left );
         }
         program( id, other, left );
         happened( Event::portTaken );
      }
   }
}

void Model::program( U16 id, Holder &holder, const PortSet &ports ) {
   if ( holder.programmed == ports ) {
      return;
   }
   for ( const auto *all : { &chip_.ports, &chip_.cpuPorts } ) {
      for ( const auto &port : *all ) {
         if ( covers( holder.programmed, port ) != covers( ports, port ) ) {
            moved_.insert( port );
         }
      }
   }
   for ( const auto &port : ports.ports ) {
      states_.at( id ).takers[ port ] = holder.key;
   }
   if ( isSourceTrunkMap( groups_.at( id ).space ) ) {
      programWords( id, holder, ports );
   } else {
      programBits( id, holder, ports );
   }
   holder.programmed = ports;
}

// A bit goes to the new ports and to those of the others that hold it. Who holds it is told by positions
// within the space, of 64 bits; the chip's position of a fixed-width bit lies above the flexible ones.
void Model::programBits( U16 id, const Holder &holder, const PortSet &ports ) {
   const auto &state = states_.at( id );
   const auto &pool = poolOf( state, holder );
   const bool fixed = groups_.at( id ).space == Space::fixedWidth;
   const U32 start = pool.base + ( fixed ? chip_.sizes.at( Space::flexibleWidth ) : 0 );
   for ( U32 i = 0; i < pool.width; ++i ) {
      if ( !( holder.classId >> i & 1 ) ) {
         continue;
      }
      const U32 bit = ( start + i ) % 256;
      PortSet all = ports;
      for ( const auto &other : state.holders ) {
         const U64 held = U64{ other.classId } << poolOf( state, other ).base % 64;
         if ( other.key != holder.key && held >> bit % 64 & 1 ) {
            all.ports.insert( other.programmed.ports.begin(), other.programmed.ports.end() );
         }
      }
      must( !ports.ethernet || all.ports.empty(), "all ethernet ports on a bit of other ports" );
      programBit( bit, all );
   }
}

void Model::programBit( U32 bit, const PortSet &ports ) {
   auto &carriers = aclGroupBits_[ bit ];
   carriers.clear();
   if ( !ports.ethernet ) {
      for ( const auto &port : ports.ports ) {
         carriers.insert( port.port() );
      }
   } else {
      carriers.insert( chip_.ethernetPorts.begin(), chip_.ethernetPorts.end() );
   }
   if ( carriers.empty() ) {
      aclGroupBits_.erase( bit );
   }
}

// The old ports lose the pool's bits, and bits 16 to 31 whosever they are; the new ones gain the class ID.
void Model::programWords( U16 id, const Holder &holder, const PortSet &ports ) {
   const auto &group = groups_.at( id );
   const auto &pool = poolOf( states_.at( id ), holder );
   auto &words = words_.at( group.space );
   U32 mask = 0xffff;
   for ( U32 bit = pool.base; bit < pool.base + pool.width; ++bit ) {
      mask &= ~( U32{ 1 } << bit % 32 );
   }
   const auto wrote = [ & ]( const Port &port, U32 bits ) {
      for ( U32 bit = 0; bit < 16; ++bit ) {
         if ( bits >> bit & 1 ) {
            writers_[ { group.space, port, bit } ] = id;
         }
      }
   };
   for ( const auto &port : holder.programmed.ports ) {
      must( words.contains( port ) || group.poolBits, "a port without a word" );
      if ( words.contains( port ) ) {
         words[ port ] &= mask;
         wrote( port, ~mask );
      }
   }
   for ( const auto &port : ports.ports ) {
      const U32 value = U32{ holder.classId } << pool.base % 32;
      words[ port ] |= value;
      wrote( port, value );
   }
}

} // namespace QuarraSoak
