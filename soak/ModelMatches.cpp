#include "soak/ModelState.h"

// Which entries match which ports, and the rule behind each that does not match as asked.
namespace QuarraSoak {

bool Model::covers( const PortSet &set, const Port &port ) const {
   return set.ethernet ? !chip_.cpuPorts.contains( port ) : set.ports.contains( port );
}

bool Model::matches( U32 entry, const Port &port ) const {
   const auto &[ data, mask ] = qualifiers_.at( entry );
   const Space space = groups_.at( entries_.at( entry ).group ).space;
   const U32 shift = space == Space::fixedWidth ? chip_.sizes.at( Space::flexibleWidth ) : 0;
   const auto carried = [ & ]( U32 bit ) {
      if ( isSourceTrunkMap( space ) ) {
         const auto word = words_.at( space ).find( port );
         return word != words_.at( space ).end() && ( word->second >> bit & 1 ) != 0;
      }
      const auto carriers = aclGroupBits_.find( bit + shift );
      return carriers != aclGroupBits_.end() && carriers->second.contains( port.port() );
   };
   return std::all_of( mask.begin(), mask.end(),
                       [ &, &bits = data ]( U32 bit ) { return carried( bit ) == bits.contains( bit ); } );
}

std::vector<ModelMismatch> Model::mismatches() const {
   std::set<Port> ports = chip_.ports;
   ports.insert( chip_.cpuPorts.begin(), chip_.cpuPorts.end() );
   std::vector<ModelMismatch> found;
   for ( const auto &[ id, request ] : entries_ ) {
      const auto &state = states_.at( request.group );
      const auto &holder =
         *std::find_if( state.holders.begin(), state.holders.end(),
                        [ entry = id ]( auto &item ) { return item.entries.contains( entry ); } );
      for ( const auto &port : ports ) {
         // The CPU's port is not compared for all ethernet ports.
         if ( request.wanted.ethernet && chip_.cpuPorts.contains( port ) ) {
            continue;
         }
         const bool expected = covers( request.wanted, port );
         if ( matches( id, port ) != expected ) {
            found.push_back( { id, port, expected, rulesBehind( request, holder, port ), {} } );
            if ( found.back().rules.contains( Rule::portTaken ) ) {
               found.back().takers = takersOf( state, port );
            }
         }
      }
   }
   return found;
}

// The request that took a port last holds it, or has gone.
std::set<U32> Model::takersOf( const GroupState &state, const Port &port ) const {
   const int taker = state.takers.at( port );
   for ( const auto &holder : state.holders ) {
      if ( holder.key == taker ) {
         return holder.entries;
      }
   }
   return { 0 };
}

std::set<Rule> Model::rulesBehind( const ModelRequest &request, const Holder &holder,
                                   const Port &port ) const {
   const auto &group = groups_.at( request.group );
   const bool expected = covers( request.wanted, port );
   const bool asked = covers( holder.programmed, port ); // by the request as it stands now
   std::set<Rule> rules;
   if ( group.width > 1 && expected && !asked ) {
      rules.insert( Rule::portTaken );
   }
   if ( !holder.startRule.empty() && holder.programmed != portsOf( request ) ) {
      rules.insert( Rule::sameRule );
   }
   if ( group.space == Space::fixedWidth && group.width > 1 && asked == expected ) {
      rules.insert( Rule::bitWithoutOthers );
   }
   if ( ( request.wanted.ethernet || holder.programmed.ethernet ) && !isSourceTrunkMap( group.space ) &&
        ( !chip_.ethernetPorts.contains( port.port() ) || chip_.cpuPorts.contains( port ) ) ) {
      rules.insert( Rule::ethernetPorts );
   }
   if ( isSourceTrunkMap( group.space ) ) {
      addWordRules( request, holder, port, rules );
   }
   return rules;
}

// Other groups whose class IDs put the bit on the port.
std::set<U16> Model::holdersOfBit( Space space, const Port &port, U32 bit, U16 except ) const {
   std::set<U16> groups;
   for ( const auto &[ id, state ] : states_ ) {
      for ( const auto &other : state.holders ) {
         const U32 base = poolOf( state, other ).base;
         if ( id != except && groups_.at( id ).space == space && covers( other.programmed, port ) &&
              bit >= base && U32{ other.classId } >> ( bit - base ) & 1 ) {
            groups.insert( id );
         }
      }
   }
   return groups;
}

// Of a word, several groups may have a bit: fixed-offset groups all the same one, and pools that lie over it.
void Model::addWordRules( const ModelRequest &request, const Holder &holder, const Port &port,
                          std::set<Rule> &rules ) const {
   const auto &own = groups_.at( request.group );
   const auto &pool = poolOf( states_.at( request.group ), holder );
   const auto isFixed = [ & ]( U16 id ) { return groups_.at( id ).poolBits != 0; };
   for ( U32 bit = pool.base; bit < pool.base + pool.width; ++bit ) {
      const auto writer = writers_.find( { own.space, port, bit } );
      const bool byAnother = writer != writers_.end() && writer->second != request.group;
      const auto holders = holdersOfBit( own.space, port, bit, request.group );
      if ( !own.poolBits ) {
         if ( ( byAnother && isFixed( writer->second ) ) || std::ranges::any_of( holders, isFixed ) ) {
            rules.insert( Rule::coveredOffset );
         }
      } else if ( covers( request.wanted, port ) ) {
         if ( byAnother ) {
            rules.insert( Rule::offsetCleared );
         }
      } else {
         for ( const U16 id : holders ) {
            rules.insert( isFixed( id ) ? Rule::sharedOffset : Rule::coveredOffset );
         }
      }
   }
}

} // namespace QuarraSoak
