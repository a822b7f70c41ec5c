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
   std::map<Port, int> takers;                 // the key that took the port last
};

struct Qualifier {
   std::set<U32> data;
   std::set<U32> mask;
};

// How a request ends. Which of its mistakes a refusal names is not the model's business.
enum class Outcome { done, refused, noRoom };

// Rules of the system by which an entry does not match exactly what it was asked for;
// docs/known-behaviours.md.
enum class Rule {
   portTaken,
   bitWithoutOthers,
   sharedOffset,
   coveredOffset,
   offsetCleared,
   sameRule,
   ethernetPorts
};

struct ModelMismatch {
   U32 entry;
   Port port;
   bool expected;
   std::set<Rule> rules; // each that bears on it
   std::set<U32> takers; // portTaken: the entries of the request that took the port last; 0 when it went
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

   // The hint is none for groups that have none.
   Outcome createGroup( U16 group, std::optional<std::pair<U8, U8>> &hint );
   Outcome deleteGroup( U16 group );
   Outcome install( const ModelRequest &request );
   Outcome remove( U16 group, U32 entry );

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

   // Where entries do not match what they were asked for, by entry and port.
   std::vector<ModelMismatch> mismatches() const;

   // Ports to which the last request brought a class ID, or from which it took one.
   const std::set<Port> &movedPorts() const { return moved_; }

   // Nothing is there that was not there after set-up.
   bool asAtStart() const;

 private:
   bool refuses( const ModelRequest &request ) const;
   bool refusesNewKey( U16 group ) const;
   bool onChip( const Port &port ) const;
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
   bool covers( const PortSet &set, const Port &port ) const;
   bool matches( U32 entry, const Port &port ) const;
   std::set<Rule> rulesBehind( const ModelRequest &request, const Holder &holder, const Port &port ) const;
   void addWordRules( const ModelRequest &request, const Holder &holder, const Port &port,
                      std::set<Rule> &rules ) const;
   std::set<U16> holdersOfBit( Space space, const Port &port, U32 bit, U16 except ) const;
   std::set<U32> takersOf( const GroupState &state, const Port &port ) const;
   void happened( Event event ) { ++events_[ static_cast<int>( event ) ]; }

   ModelChip chip_;
   std::map<U16, ModelGroup> groups_;
   std::map<U32, ModelRequest> entries_;
   std::map<Space, Bits> reserved_;
   std::map<U16, GroupState> states_;
   std::map<U32, std::set<U32>> aclGroupBits_;
   std::map<Space, std::map<Port, U32>> words_;
   std::map<U32, Qualifier> qualifiers_;
   std::map<std::tuple<Space, Port, U32>, U16> writers_; // the group that last set or cleared a bit of a word
   std::set<Port> moved_;
   int lastKey_ = 0;
   U64 events_[ static_cast<int>( Event::count ) ] = {};
};

} // namespace QuarraSoak
