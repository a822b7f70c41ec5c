// What is different between two states of a switch: entries, class IDs, ports. A state is what a dump tells.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/Dump.h"
#include "lab/JsonText.h"

namespace QuarraLab {

// One class ID that is lent, known by its place.
struct ClassIdPlace {
   U32 group = 0;
   std::string space;
   U32 offset = 0; // first bit and width of its pool
   U32 width = 0;
   U32 classId = 0;
   auto operator<=>( const ClassIdPlace & ) const = default;

   std::vector<U32> bits() const; // of the space, that it sets
};

struct ClassIdState {
   std::set<U32> entries; // without the reservation made at start-up
   std::set<QuarraModPort> ports;
   bool ethernet = false;
   bool operator==( const ClassIdState & ) const = default;
};

struct EntryState {
   std::string rule; // empty when it has no name, or the dump does not tell
   ClassIdPlace place;
};

struct SwitchState {
   std::map<ClassIdPlace, ClassIdState> classIds;
   std::map<U32, EntryState> entries;
   std::map<QuarraModPort, std::map<std::string, std::set<U32>>> ports; // by value ("aclGroup"): its set bits
   std::map<QuarraModPort, std::string> portNames;                      // those that have one
};

// Reads a dump document, or another one with its "groups". Throws Complaint for what is none.
SwitchState stateOfDump( const Json &dump );

// The same of a switch, with the names of rules and ports.
SwitchState stateOf( const Switch &theSwitch );

enum class Change { came, gone, changed };

template <typename Value>
struct GainedAndLost {
   std::set<Value> gained;
   std::set<Value> lost;
   bool any() const { return !gained.empty() || !lost.empty(); }
};

struct EntryChange {
   Change change;
   std::optional<U32> before; // the entry's number in each state
   std::optional<U32> after;
   std::string rule;
   std::optional<ClassIdPlace> placeBefore;
   std::optional<ClassIdPlace> placeAfter;
   GainedAndLost<QuarraModPort> ports; // that carry its class ID
};

struct ClassIdChange {
   Change change;
   ClassIdPlace place;
   std::size_t entriesBefore = 0;
   std::size_t entriesAfter = 0;
   GainedAndLost<QuarraModPort> ports;
   bool ethernetBefore = false;
   bool ethernetAfter = false;
};

struct PortChange {
   QuarraModPort port;
   std::string value; // "aclGroup", ...
   GainedAndLost<U32> bits;
};

struct Difference {
   std::vector<EntryChange> entries;
   std::vector<ClassIdChange> classIds;
   std::vector<PortChange> ports;
   std::map<QuarraModPort, std::string> portNames;
   bool any() const { return !entries.empty() || !classIds.empty() || !ports.empty(); }
};

// An entry is the same in both states when its rule is, where the rule's name is in each of them once;
// otherwise when its number is.
Difference difference( const SwitchState &before, const SwitchState &after );

JsonOut differenceJson( const Difference &difference );

// What it is made of: null for no place; ports by name and number.
JsonOut placeJson( const std::optional<ClassIdPlace> &place );
JsonOut namedPortJson( const QuarraModPort &port, const std::map<QuarraModPort, std::string> &names );
JsonOut namedPortsJson( const std::set<QuarraModPort> &ports,
                        const std::map<QuarraModPort, std::string> &names );

} // namespace QuarraLab
