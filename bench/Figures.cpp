#include "bench/Figures.h"

#include <array>
#include <bit>
#include <bitset>
#include <cstring>
#include <map>
#include <unordered_map>
#include <unordered_set>

#include <benchmark/benchmark.h>

#include "Sdk/Bcmlt.h"
#include "bench/Scene.h"

namespace QuarraBench {
namespace {

using enum QuarraTcam::ClassIdType;

constexpr U16 group500 = 500; // of no number that the helper knows: flexible on SDK6

// ---- P1, P3: an entry joins and leaves an existing group

// Existing entries of one interface group, and one that comes and goes, each time under another id.
Operation joinAndLeave( U32 entries, U32 portCount ) {
   auto scene = std::make_shared<Scene>( "sdk6", 64 );
   scene->group( group500, 4 );
   const auto intfGroup = ports( 1, portCount, 2 );
   for ( U32 entry = 1; entry <= entries; ++entry ) {
      scene->join( group500, entry * 8, intfGroup );
   }
   return [ scene, intfGroup, asked = intfGroupInfoFactory(), entries, next = U32{ 0 } ]() mutable {
      next = ( next + 0x9e3779b1u ) % ( entries * 8 ) | 1; // between the others, all over
      asked->deepCopy( intfGroup );
      asked->ethernetIs( false ); // its hash is not known yet
      scene->join( group500, next, asked );
      scene->leave( group500, next );
   };
}

struct HashOfKey {
   std::size_t operator()( const RequestKey &key ) const { return key.hash(); }
};

// The same on bare containers: hash and equality of the ports, two look-ups by key, one by entry, and the
// entry in and out of a set and of the index of entries.
Operation joinAndLeaveFloor() {
   struct State {
      std::vector<QuarraModPort> ports;
      std::vector<QuarraModPort> asked;
      std::unordered_map<U32, std::pair<std::vector<QuarraModPort>, RequestKey>> byHash;
      std::unordered_map<RequestKey, std::unordered_set<U32>, HashOfKey> requests;
      std::unordered_map<U32, const RequestKey *> keyOfEntry;
      U32 next = 0;
   };
   auto state = std::make_shared<State>();
   const auto intfGroup = ports( 1, 64, 2 );
   state->ports.assign( intfGroup->portId().begin(), intfGroup->portId().end() );
   const RequestKey key( "acl-8-1", 0, "acl-8-1" );
   state->byHash.try_emplace( intfGroup->hash(), state->ports, key );
   state->requests[ key ].insert( 8 );
   return [ state ] {
      state->next = ( state->next + 0x9e3779b1u ) % 8 | 1;
      const U32 entry = state->next;
      state->asked = state->ports;
      Zev::Hash hash;
      for ( const auto &port : state->asked ) {
         hash.mix( port.hash( 0 ) );
      }
      hash.mixByte( 0 );
      const auto found = state->byHash.find( hash.value() );
      if ( std::memcmp( found->second.first.data(), state->asked.data(),
                        state->asked.size() * sizeof( QuarraModPort ) ) == 0 ) {
         const auto request = state->requests.find( found->second.second );
         request->second.insert( entry );
         state->keyOfEntry.emplace( entry, &request->first );
      }
      const auto item = state->keyOfEntry.find( entry );
      const auto request = state->requests.find( *item->second );
      request->second.erase( entry );
      state->keyOfEntry.erase( item );
      benchmark::ClobberMemory();
   };
}

// ---- P2: one bit on every system port

constexpr U32 systemPorts = 1024;

std::shared_ptr<Scene> chipOfSystemPorts() {
   auto scene = std::make_shared<Scene>( "hsdk", 32, 10 );
   scene->helper().setAclGroupClassId( 3, ports( 0, systemPorts ) ); // every port has its table entry
   return scene;
}

Operation programBit() {
   auto scene = chipOfSystemPorts();
   const std::array<IntfGroupInfo::Ptr, 2> sets = { ports( 0, 512, 2 ), ports( 1, 512, 2 ) };
   return
      [ scene, sets, turn = 0u ]() mutable { scene->helper().setAclGroupClassId( 5, sets[ ++turn % 2 ] ); };
}

Operation programBitFloor() {
   auto scene = chipOfSystemPorts();
   return [ scene, turn = 0u ]() mutable {
      ++turn;
      const int unit = SdkShim->vmSingleUnit();
      const auto lookup = SdkShim->opcode( Sdk::Opcode::lookup );
      const auto update = SdkShim->opcode( Sdk::Opcode::update );
      const auto priority = SdkShim->priorityNormal();
      for ( U32 port = 0; port < systemPorts; ++port ) {
         bcmlt_entry_handle_t entry{};
         U64 value = 0;
         bcmlt_entry_allocate( unit, "ING_SYSTEM_PORT_TABLE", &entry );
         bcmlt_entry_field_add( entry, "SYSTEM_SOURCE", port );
         bcmlt_entry_commit( entry, lookup, priority );
         bcmlt_entry_field_get( entry, "ACL_GROUP_BITMAP", &value );
         value = port % 2 == turn % 2 ? value | 1u << 5 : value & ~( U64{ 1 } << 5 );
         bcmlt_entry_field_add( entry, "ACL_GROUP_BITMAP", value );
         bcmlt_entry_commit( entry, update, priority );
         bcmlt_entry_free( entry );
      }
   };
}

// ---- P4: the key of an entry

constexpr U32 manyRequests = 255;
constexpr U32 entriesOfEach = 40;

// A number from 1 to `most`, all over.
U32 step( U32 &state, U32 most ) {
   state = state * 1664525u + 1013904223u;
   return ( state >> 8 ) % most + 1;
}

Operation keyOfEntry() {
   auto scene = std::make_shared<Scene>( "sdk6", 64 );
   scene->group( group500, 8 );
   for ( U32 entry = 1; entry <= manyRequests * entriesOfEach; ++entry ) {
      scene->join( group500, entry, ports( entry % manyRequests + 1, 1 ) );
   }
   return [ scene, state = U32{ 1 }, rule = RuleId() ]() mutable {
      benchmark::DoNotOptimize( scene->manager().getRequestKeyForEntryId(
         group500, step( state, manyRequests * entriesOfEach ), rule ) );
   };
}

Operation keyOfEntryFloor() {
   auto keys = std::make_shared<std::unordered_map<U32, RequestKey>>();
   for ( U32 entry = 1; entry <= manyRequests * entriesOfEach; ++entry ) {
      keys->emplace( entry, RequestKey( "acl-1-" + std::to_string( entry % manyRequests ), 0,
                                        "acl-1-" + std::to_string( entry % manyRequests ) ) );
   }
   return [ keys, state = U32{ 1 } ]() mutable {
      RequestKey key = keys->find( step( state, manyRequests * entriesOfEach ) )->second;
      benchmark::DoNotOptimize( key );
   };
}

// ---- P5: a pool in a fragmented space

constexpr U32 spaceBits = 255;

// Every other bit is taken; two free neighbours only at the end.
Operation fragmentedPool() {
   auto scene = std::make_shared<Scene>( "sdk6", spaceBits );
   scene->group( group500, 2 );
   for ( U32 bit = 1; bit + 2 < spaceBits; bit += 2 ) {
      scene->manager().classIdHwStatus( aclGroupFlexibleWidth )->set( bit );
   }
   return [ scene, key = RequestKey( "a", 0, "a" ) ] {
      scene->manager().reservePoolOfWidth( group500, 2 );
      scene->manager().maybeFreeClassIdPool( group500, key );
   };
}

// The search by words, and the records that the interface has, bare: a group by pointer, in it by id a pool
// by pointer, with the values to lend and a mask by pointer.
Operation fragmentedPoolFloor() {
   using Words = std::array<U64, 4>;
   struct Pool {
      std::vector<U16> free;
      std::shared_ptr<Words> mask;
      U8 base = 0;
      U8 size = 0;
   };
   struct Group {
      U16 lastPool = 0;
      std::map<U16, std::shared_ptr<Pool>> pools;
   };
   struct State {
      Words words{};
      std::unordered_map<U16, std::shared_ptr<Group>> groups;
   };
   auto state = std::make_shared<State>();
   for ( U32 bit = 1; bit + 2 < spaceBits; bit += 2 ) {
      state->words[ bit / 64 ] |= U64{ 1 } << bit % 64;
   }
   return [ state ] {
      auto &words = state->words;
      U32 place = 0;
      for ( std::size_t word = 0; word < words.size(); ++word ) {
         const U64 next = word + 1 < words.size() ? words[ word + 1 ] : 0;
         const U64 pairs = ~( words[ word ] | words[ word ] >> 1 | next << 63 );
         if ( pairs ) {
            place = static_cast<U32>( word * 64 ) + static_cast<U32>( std::countr_zero( pairs ) );
            break;
         }
      }
      const U64 run = U64{ 3 } << place % 64;
      words[ place / 64 ] |= run;
      const auto group = state->groups.emplace( U16{ group500 }, std::make_shared<Group>() ).first;
      const auto pool =
         group->second->pools.emplace( ++group->second->lastPool, std::make_shared<Pool>() ).first;
      pool->second->mask = std::make_shared<Words>();
      ( *pool->second->mask )[ place / 64 ] |= run;
      pool->second->base = static_cast<U8>( place );
      pool->second->size = 2;
      pool->second->free = { 1, 2, 3 };
      benchmark::ClobberMemory();
      const auto given = state->groups.find( group500 );
      const auto free = given->second->pools.begin();
      words[ free->second->base / 64 ] &= ~( U64{ 3 } << free->second->base % 64 );
      given->second->pools.erase( free );
      state->groups.erase( given );
   };
}

// ---- P6: the union of the requests that hold a bit

constexpr U32 holders = 128;
constexpr U32 portsOfEach = 32;

IntfGroupInfo::Ptr portsOfHolder( U32 n ) {
   return ports( 1 + n * 7 % 400, portsOfEach, 1 + n % 15 );
}

// Of the 255 values of an 8-bit pool, the 128 odd ones hold bit 0. Their ports overlap, as the ports of keys
// do that were reserved and programmed one by one.
Operation unionOfRequests() {
   auto scene = std::make_shared<Scene>( "sdk6", 64 );
   scene->group( group500, 8 );
   for ( U32 n = 0; n < 2 * holders - 1; ++n ) {
      const RequestKey key( "k" + std::to_string( n ), 0, "k" + std::to_string( n ) );
      scene->manager().reserveClassId( group500, key, n + 1 );
      scene->manager()
         .classIdTcamGroupStatus( group500 )
         ->requestStatus( key )
         ->intfGroup()
         ->deepCopy( portsOfHolder( n ) );
   }
   return [ scene, nobody = RequestKey( "none", 0, "none" ) ] {
      benchmark::DoNotOptimize( scene->manager().getIntfGroupForBitPos( group500, nobody, 0 ) );
   };
}

Operation unionFloor() {
   auto sets = std::make_shared<std::vector<std::vector<QuarraModPort>>>();
   for ( U32 n = 0; n < 2 * holders - 1; n += 2 ) {
      const auto intfGroup = portsOfHolder( n );
      sets->emplace_back( intfGroup->portId().begin(), intfGroup->portId().end() );
   }
   return [ sets ] {
      std::bitset<1024> all;
      for ( const auto &set : *sets ) {
         for ( const auto &port : set ) {
            all.set( port.port() );
         }
      }
      auto intfGroup = std::make_shared<std::vector<QuarraModPort>>();
      for ( std::size_t port = all._Find_first(); port < all.size(); port = all._Find_next( port ) ) {
         intfGroup->emplace_back( 0, static_cast<U32>( port ) );
      }
      benchmark::DoNotOptimize( intfGroup );
   };
}

} // namespace

const std::vector<Figure> &figures() {
   static const std::vector<Figure> all = {
      { "P1", "a second entry joins and leaves a 64-port group / bare containers", 2.0,
        [] { return joinAndLeave( 1, 64 ); }, joinAndLeaveFloor },
      { "P2", "one bit on 1,024 system ports / the same SDK calls in a loop", 1.1, programBit,
        programBitFloor },
      { "P3", "join and leave with 10,000 entries / with 100", 1.25, [] { return joinAndLeave( 10000, 64 ); },
        [] { return joinAndLeave( 100, 64 ); } },
      { "P4", "the key of one of 10,200 entries / one hash-map look-up", 3.0, keyOfEntry, keyOfEntryFloor },
      { "P5", "a pool in a fragmented 255-bit space / a word-wise search", 2.0, fragmentedPool,
        fragmentedPoolFloor },
      { "P6", "union of 128 requests of 32 ports / through a bitmap", 1.5, unionOfRequests, unionFloor },
   };
   return all;
}

unsigned long chipWritesOfEqualGroups() {
   Scene scene( "hsdk", 32 );
   scene.group( 88, 1 );
   const auto intfGroup = ports( 1, 64 );
   scene.join( 88, 1, intfGroup );
   const auto before = scene.chip().calls();
   scene.join( 88, 2, ports( 1, 64 ) );
   const auto key = scene.manager().getRequestKeyForEntryId( 88, 1, RuleId() );
   scene.manager().programClassIdForIntfGroup( 88, key, 1, ports( 1, 64 ) );
   scene.leave( 88, 2 );
   return static_cast<unsigned long>( scene.chip().calls() - before );
}

} // namespace QuarraBench
