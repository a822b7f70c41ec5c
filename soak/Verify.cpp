#include "soak/Verify.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/Shadow.h"

namespace QuarraSoak {
namespace {

using namespace QuarraTcam;

using KeyNumbers = std::map<RequestKey, int>;

struct Difference {
   std::string text;
};

// Ports read "0/5"; an all-ethernet set, "ethernet".
std::string textOf( const PortSet &set ) {
   std::string text = set.ethernet ? "ethernet" : "";
   for ( const auto &port : set.ports ) {
      text += fmt::format( "{}{}/{}", text.empty() ? "" : " ", port.modId().value(), port.port() );
   }
   return "{" + text + "}";
}
template <typename Value>
std::string textOf( const Value &value ) {
   return fmt::format( "{}", value );
}

template <typename Value>
void same( const std::string &place, const Value &found, const Value &expected ) {
   if ( !( found == expected ) ) {
      throw Difference{ fmt::format( "{}: {}, the model has {}", place, textOf( found ),
                                     textOf( expected ) ) };
   }
}

void holds( const std::string &place, bool condition ) {
   if ( !condition ) {
      throw Difference{ place };
   }
}

template <typename Map>
auto keysOf( const Map &map ) {
   std::set<std::decay_t<decltype( map.begin()->first )>> keys;
   for ( const auto &item : map ) {
      keys.insert( item.first );
   }
   return keys;
}

template <typename Items>
std::set<U32> setOf( const Items &items ) {
   return { items.begin(), items.end() };
}

PortSet portSetOf( const IntfGroupInfo &intfGroup ) {
   return { { intfGroup.portId().begin(), intfGroup.portId().end() }, intfGroup.ethernet() };
}

// ---- The library

void verifySpaces( const Model &model, const QuarraTcamPortsManager &manager ) {
   for ( const auto &[ space, size ] : model.chip().sizes ) {
      const ClassIdType type = ClassIdTypeInstance( static_cast<unsigned>( space ) );
      const auto place = fmt::format( "space {}", stringValue( type ) );
      same( place + " exists", manager.classIdHwStatusHas( type ), size != 0 );
      if ( size ) {
         same( place + " size", manager.classIdHwStatus( type )->size(), size );
         same( place, setOf( manager.classIdHwStatus( type )->setBits() ), model.reservedBits().at( space ) );
      }
   }
}

void verifyPools( const std::string &place, const ClassIdTcamGroupStatus &status, const GroupState &state,
                  U32 size ) {
   same( place + " last pool", status.lastPoolNum(), state.lastPool );
   same( place + " pools", status.poolStatus().size(), state.pools.size() );
   auto expected = state.pools.begin();
   for ( const auto &[ id, pool ] : status.poolStatus() ) {
      const auto poolPlace = fmt::format( "{} pool {}", place, id );
      same( poolPlace + " id", pool->poolId(), expected->id );
      same( poolPlace + " key", id, expected->id );
      same( poolPlace + " offset", U32{ pool->baseOffset() }, expected->base );
      same( poolPlace + " width", pool->size(), expected->width );
      same( poolPlace + " queue", std::vector<U16>( pool->classIdPool().begin(), pool->classIdPool().end() ),
            std::vector<U16>( expected->free.begin(), expected->free.end() ) );
      Vesk::Bitmap mask( 0, size, Vesk::HBitmap::BitState::clear );
      mask.rangeSet( expected->base, expected->base + expected->width - 1 );
      holds( poolPlace + ": another mask " + pool->tcamMask()->hex(), *pool->tcamMask() == mask );
      ++expected;
   }
}

KeyNumbers verifyRequests( const std::string &place, const ClassIdTcamGroupStatus &status,
                           const GroupState &state ) {
   KeyNumbers numbers;
   same( place + " requests", std::size_t{ status.requestStatuss() }, state.holders.size() );
   auto holder = state.holders.begin();
   for ( const auto &[ key, request ] : status.requestStatus() ) {
      const auto requestPlace = fmt::format( "{} request {}", place, key.name() );
      holds( requestPlace + ": another key",
             request->requestKey() == key && key == RequestKey( key.name(), 0, key.name() ) );
      holds( requestPlace + ": another rule", holder->startRule.empty() || holder->startRule == key.name() );
      same( requestPlace + " class ID", request->classId(), holder->classId );
      same( requestPlace + " pool", request->poolId(), holder->poolId );
      same( requestPlace + " entries", setOf( request->entryRef() ), holder->entries );
      same( requestPlace + " ports", portSetOf( *request->intfGroup() ), holder->programmed );
      numbers[ key ] = holder->key;
      ++holder;
   }
   return numbers;
}

// The keys of equal ports, in the order in which a look-up walks them.
void verifyIndex( const std::string &place, const ClassIdTcamGroupStatus &status, const GroupState &state,
                  const KeyNumbers &numbers ) {
   std::vector<std::pair<PortSet, std::vector<int>>> expected;
   const auto keysFor = [ & ]( const PortSet &ports ) -> std::vector<int> & {
      for ( auto &item : expected ) {
         if ( item.first == ports ) {
            return item.second;
         }
      }
      return expected.emplace_back( ports, std::vector<int>() ).second;
   };
   for ( const auto &[ key, ports ] : state.index ) {
      keysFor( ports ).push_back( key );
   }
   for ( const auto &[ hash, info ] : status.intfGroupHashToIntfGroupInfo() ) {
      holds( place + ": an empty hash in the index", info->requestKeyToIntfGroups() != 0 );
      for ( const auto &[ key, intfGroup ] : info->requestKeyToIntfGroup() ) {
         const auto ports = portSetOf( *intfGroup );
         auto &keys = keysFor( ports );
         const auto keyPlace = fmt::format( "{} index of {}", place, textOf( ports ) );
         holds( keyPlace + ": under another hash", intfGroup->hash() == hash );
         holds( keyPlace + ": key " + key.name(),
                numbers.contains( key ) && !keys.empty() && keys.front() == numbers.at( key ) );
         keys.erase( keys.begin() );
      }
   }
   for ( const auto &[ ports, keys ] : expected ) {
      same( fmt::format( "{} index of {} lacks", place, textOf( ports ) ), keys, std::vector<int>() );
   }
}

void verifyGroups( const Model &model, const QuarraTcamPortsManager &manager ) {
   std::set<U16> found;
   for ( const auto &[ id, status ] : manager.classIdTcamGroupStatus() ) {
      found.insert( id.value() );
   }
   same( "groups that hold pools", found, keysOf( model.states() ) );
   for ( const auto &[ id, state ] : model.states() ) {
      const auto &status = *manager.classIdTcamGroupStatus( id );
      const auto place = fmt::format( "group {}", id );
      verifyPools( place, status, state, model.chip().sizes.at( model.groups().at( id ).space ) );
      verifyIndex( place, status, state, verifyRequests( place, status, state ) );
   }
}

void verifyEntries( const Model &model, const Switch &theSwitch ) {
   auto &manager = theSwitch.agent().manager();
   same( "entries", keysOf( theSwitch.agent().entries() ), keysOf( model.entries() ) );
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      const auto group = entry.request.group;
      holds( fmt::format( "entry {}: under another key", id ),
             manager.getRequestKeyForEntryId( group, id, RuleId() ) == entry.key &&
                manager.classIdTcamGroupStatus( group )->requestStatus( entry.key )->entryRefHas( id ) );
   }
}

// ---- The chip

std::map<U32, std::set<U32>> carriersOf( const Switch &theSwitch ) {
   std::map<U32, std::set<U32>> carriers;
   const auto add = [ & ]( U32 port, const Vesk::Bitmap &value ) {
      for ( const U32 bit : value.setBits() ) {
         carriers[ bit ].insert( port );
      }
   };
   for ( const U32 port : theSwitch.chip().portsWithAclGroup() ) {
      add( port, theSwitch.chip().aclGroup( port ) );
   }
   return carriers;
}

// What a twin remembers of its ports is what they carry. Where it stands for the chip, ports without a bit
// are absent.
void verifyShadow( const Switch &theSwitch ) {
   const auto &variant = theSwitch.agent().variant();
   if ( !variant.shadow ) {
      return;
   }
   const auto &helper = *theSwitch.agent().manager().portsHelper();
   for ( const auto &[ port, value ] : variant.shadow->values( helper ) ) {
      const auto place = fmt::format( "shadow of port {}", port );
      holds( place + ": no bit is set", !variant.aclGroupOf || value->count() != 0 );
      same( place, value->setBits(), theSwitch.chip().aclGroup( port ).setBits() );
   }
}

void verifyPortValues( const Model &model, const Switch &theSwitch ) {
   verifyShadow( theSwitch );
   const auto carriers = carriersOf( theSwitch );
   same( "bits on ports", keysOf( carriers ), keysOf( model.aclGroupBits() ) );
   for ( const auto &[ bit, ports ] : carriers ) {
      same( fmt::format( "ports with bit {}", bit ), ports, model.aclGroupBits().at( bit ) );
   }
   std::size_t posted = 0;
   for ( const auto type : sourceTrunkMapTypes ) {
      const U8 table = sourceTrunkMapTableOf( type );
      const auto space = static_cast<Space>( type );
      for ( const auto &[ port, word ] : model.words( space ) ) {
         same( fmt::format( "table {} port {}/{}", table, port.modId().value(), port.port() ),
               theSwitch.chip().sourceTrunkMapWord( table, port ), word );
      }
      for ( const auto &[ port, word ] : theSwitch.chip().sourceTrunkMapWords( table ) ) {
         holds(
            fmt::format( "table {} port {}/{}: a word of its own", table, port.modId().value(), port.port() ),
            model.words( space ).contains( port ) );
      }
      posted += model.words( space ).size();
   }
   same( "posted words", theSwitch.agent().manager().sourceTrunkMapConfig()->request().size(),
         static_cast<U32>( posted ) );
}

// Bits of a space, as bits of the ports' value.
std::set<U32> above( const std::set<U32> &bits, U32 first ) {
   std::set<U32> result;
   for ( const U32 bit : bits ) {
      result.insert( first + bit );
   }
   return result;
}

void verifyTcam( const Model &model, const Switch &theSwitch ) {
   using Kind = QuarraSimulator::TcamEntry::Kind;
   same( "TCAM entries", keysOf( theSwitch.chip().tcamEntries() ), keysOf( model.qualifiers() ) );
   for ( const auto &[ id, entry ] : theSwitch.chip().tcamEntries() ) {
      const auto &expected = model.qualifiers().at( id );
      const Space space = model.groups().at( model.entries().at( id ).group ).space;
      const auto place = fmt::format( "TCAM entry {}", id );
      holds( place + ": not installed", entry.installed );
      if ( space == Space::flexibleWidth || space == Space::fixedWidth ) {
         const U32 first = space == Space::fixedWidth ? theSwitch.agent().chip().flexibleBits : U32{ 0 };
         holds( place + ": another kind", entry.kind == Kind::aclGroup );
         same( place + " data", setOf( entry.dataBits ), above( expected.data, first ) );
         same( place + " mask", setOf( entry.maskBits ), above( expected.mask, first ) );
         continue;
      }
      const auto wordOf = []( const std::set<U32> &bits ) {
         U32 word = 0;
         for ( const U32 bit : bits ) {
            word |= U32{ 1 } << bit;
         }
         return word;
      };
      holds( place + ": another kind", entry.kind == Kind::interfaceClassPort );
      same( place + " data", entry.data, wordOf( expected.data ) );
      same( place + " mask", entry.mask, wordOf( expected.mask ) );
   }
   same( "handles not freed", theSwitch.chip().liveHandles(), U32{ 0 } );
}

} // namespace

Model modelOf( const Switch &theSwitch ) {
   const auto &agent = theSwitch.agent();
   const auto &config = agent.chip();
   ModelChip chip{ .sizes = { { Space::ifpSourceTrunkMap, config.sourceTrunkMapBits },
                              { Space::vfpSourceTrunkMap, config.sourceTrunkMapBits },
                              { Space::flexibleWidth, config.flexibleBits },
                              { Space::fixedWidth, config.fixedBits } },
                   .ethernetPorts = {},
                   .ports = {},
                   .cpuPorts = { config.cpuPorts.begin(), config.cpuPorts.end() } };
   for ( const auto &port : config.ports ) {
      chip.ports.insert( port.port );
   }
   const auto &ethernet = QuarraAgent::ethernetPortsOf( agent.variant() );
   const U32 numbers = QuarraAgent::portNumbers( agent.variant().generation, config );
   for ( U32 port = ethernet.first; port <= ethernet.last && port < numbers; ++port ) {
      chip.ethernetPorts.insert( static_cast<U16>( port ) );
   }
   for ( const auto &port : config.cpuPorts ) {
      if ( !ethernet.cpuPorts ) {
         chip.ethernetPorts.erase( port.port() );
      }
   }
   std::map<U16, ModelGroup> groups;
   for ( const auto &[ id, group ] : classIdTcamGroupsInfo ) {
      ModelGroup described{ static_cast<Space>( group->classIdType() ),
                            group->classIdPoolWidth(),
                            group->classIdNumPools(),
                            group->classIdPoolBits(),
                            isSystemAclGroup( id ),
                            {} };
      for ( const auto &[ key, flag ] : group->requestKey() ) {
         described.startRules.push_back( key.name() );
      }
      groups.emplace( id.value(), std::move( described ) );
   }
   return { std::move( chip ), std::move( groups ) };
}

std::string verifyAll( const Model &model, const Switch &theSwitch ) {
   try {
      verifySpaces( model, theSwitch.agent().manager() );
      verifyGroups( model, theSwitch.agent().manager() );
      verifyEntries( model, theSwitch );
      verifyPortValues( model, theSwitch );
      verifyTcam( model, theSwitch );
   } catch ( const Difference &difference ) {
      return difference.text;
   }
   return "";
}

} // namespace QuarraSoak
