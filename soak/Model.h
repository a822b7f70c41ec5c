#pragma once

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "QuarraCentral/QuarraModPort.h"

// What the library and the agent must do, stated a second time: maps, sets and walks, no index and no
// cleverness. It knows neither of them; what it is told is the chip and how each TCAM group uses class IDs.
// Whoever changes a rule of the system changes it here too, by hand.
namespace QuarraSoak {

using namespace Nodra::Types;
using Port = QuarraCentral::QuarraModPort;

enum class Space { ifpSourceTrunkMap = 1, vfpSourceTrunkMap, flexibleWidth, fixedWidth };

struct ModelGroup {
   Space space;
   U8 width;                            // bits of a pool
   U8 numPools;                         // pools taken at once
   U32 poolBits;                        // not 0: the lowest set bit is the pool's fixed offset
   bool system;                         // its rules are known in advance, and its only ones
   std::vector<std::string> startRules; // rules that get their class ID at start-up, in order
};

struct ModelChip {
   std::map<Space, U32> sizes;
   std::set<U16> ethernetPorts; // that "all ethernet ports" puts a bit on
   std::set<Port> ports;
   std::set<Port> cpuPorts;
};

// The ports of an entry, or all ethernet ports.
struct PortSet {
   std::set<Port> ports = {};
   bool ethernet = false;

   bool operator==( const PortSet & ) const = default;
};

struct ModelRequest {
   U16 group = 0;
   U32 entry = 0;
   PortSet wanted = {};
   std::optional<std::string> rule = {};
};

struct ModelPool {
   U16 id;
   U32 base;
   U8 width;
   std::deque<U16> free;

   bool whollyFree() const { return free.size() + 1 == std::size_t{ 1 } << width; }
};

// Keys are numbers here, in the order in which they are made.
struct Holder {
   int key;
   std::string startRule; // empty for a key made for ports
   U16 classId;
   U16 poolId;
   std::set<U32> entries; // 0: reserved at start-up
   PortSet programmed;
};

struct GroupState {
   U16 lastPool = 0;
   std::vector<ModelPool> pools;               // by id
   std::vector<Holder> holders;                // in order of reservation
   std::vector<std::pair<int, PortSet>> index; // keys by ports, in order of entry
};

struct Qualifier {
   std::set<U32> data;
   std::set<U32> mask;
};

// What happened, to tell whether a run has been anywhere.
enum class Event {
   sharedKey,
   newPool,
   secondPool,
   fallback,
   portTaken,
   allEthernet,
   noPorts,
   startRule,
   poolGone,
   count
};
inline constexpr const char *eventNames[] = { "shared keys",
                                              "new pools",
                                              "further pools of a group",
                                              "fallbacks to one bit",
                                              "ports taken from older entries",
                                              "all ethernet ports",
                                              "no ports",
                                              "start-up rules",
                                              "pools given back" };

class Model {
 public:
   using Bits = std::set<U32>;

   Model( ModelChip chip, std::map<U16, ModelGroup> groups );

   // "ok", or the code of the refusal. The hint is none for groups that have none.
   std::string createGroup( U16 group, std::optional<std::pair<U8, U8>> &hint );
   std::string deleteGroup( U16 group );
   std::string install( const ModelRequest &request );
   std::string remove( U16 group, U32 entry );

   const ModelChip &chip() const { return chip_; }
   const std::map<U16, ModelGroup> &groups() const { return groups_; }
   const std::map<U32, ModelRequest> &entries() const { return entries_; }

   // What library and chip must hold.
   const std::map<Space, Bits> &reservedBits() const { return reserved_; }
   const std::map<U16, GroupState> &states() const { return states_; }
   const std::map<U32, std::set<U32>> &aclGroupBits() const { return aclGroupBits_; } // ports by bit
   const std::map<Port, U32> &words( Space space ) const { return words_.at( space ); }
   const std::map<U32, Qualifier> &qualifiers() const { return qualifiers_; }
   const U64 *events() const { return events_; }

   // Nothing is there that was not there after set-up.
   bool asAtStart() const;

 private:
   std::string refusal( const ModelRequest &request ) const;
   std::string refusalOfNewKey( const ModelRequest &request ) const;
   bool startsUp( const ModelRequest &request ) const;
   PortSet portsOf( const ModelRequest &request ) const;
   Holder *holderOf( const ModelRequest &request, const PortSet &ports );
   std::optional<U32> lowestRun( Space space, U32 bits ) const;
   U16 takePools( U16 group, U8 width );
   Holder *reserve( U16 group, const std::string &startRule, U32 entry );
   void takePorts( U16 group, const Holder &newest, const PortSet &ports );
   void program( U16 group, Holder &holder, const PortSet &ports );
   void programBits( U16 group, const Holder &holder, const PortSet &ports );
   void programWords( U16 group, const Holder &holder, const PortSet &ports );
   void programBit( U32 bit, const PortSet &ports );
   void release( U16 group, U32 entry );
   void givePoolsBack( U16 group );
   void giveBack( Space space, const ModelPool &pool );
   void happened( Event event ) { ++events_[ static_cast<int>( event ) ]; }

   ModelChip chip_;
   std::map<U16, ModelGroup> groups_;
   std::map<U32, ModelRequest> entries_;
   std::map<Space, Bits> reserved_;
   std::map<U16, GroupState> states_;
   std::map<U32, std::set<U32>> aclGroupBits_;
   std::map<Space, std::map<Port, U32>> words_;
   std::map<U32, Qualifier> qualifiers_;
   int lastKey_ = 0;
   U64 events_[ static_cast<int>( Event::count ) ] = {};
};

} // namespace QuarraSoak
