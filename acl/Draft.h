// A configuration as its files have it: names that nobody has looked up yet, each with its place. Every
// format adds to one draft; only Assemble.h knows what the names stand for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "acl/AclConfig.h"
#include "acl/Complaints.h"

namespace QuarraAcl {

// What a person should know, each a sentence about its place.
using Warnings = std::vector<std::pair<Place, std::string>>;

// The names that one field holds.
struct NameList {
   Place place;                    // of the field
   std::vector<std::string> names; // an empty one was complained about
   std::vector<Place> places = {}; // of the names, where they do not stand in one list

   Place placeOf( std::size_t index ) const {
      return places.empty() ? place + ( "[" + std::to_string( index ) + "]" ) : places[ index ];
   }
};

// What an ACL table can be bound to besides a port: a name that stands for ports.
enum class PortGroupKind { channel, vlan };

struct DraftPort {
   std::string name;
   Place place;
};

struct DraftGroup {
   PortGroupKind kind;
   std::string name;
   Place place;
};

struct DraftMember {
   PortGroupKind kind;
   std::string group;
   std::string port;
   Place place;
   bool listed = false; // in the group's own row, not in a row of its own
};

struct DraftTable {
   std::string name;
   Place place;
   std::optional<std::string> type = {};  // in upper case
   std::optional<std::string> stage = {}; // "ingress", "egress"
   std::optional<NameList> ports = {};
   std::vector<AclField> fields = {};
   bool typeIsDerived = false; // the format has types of its own: one that another file tells holds
   bool defined = true;        // false: it is only bound here, some file has to hold it
   bool ordersByPlace = false; // its rules' priorities only tell their order
};

struct DraftRule {
   std::string name;
   std::string table;
   Place place;
   std::int64_t priority = 0;
   std::optional<NameList> inPorts = {};
   std::vector<AclField> fields = {};
};

// What is complained about stays in the draft, so that others can refer to it.
struct Draft {
   bool listsPorts = false;    // some file lists the switch's ports, so that others are unknown
   bool listsChannels = false; // the same of port channels
   bool listsTables = false;   // some file has ACL tables, maybe none
   bool isConfigDb = false;    // some file is a config_db.json
   std::vector<DraftPort> ports = {};
   std::vector<DraftGroup> groups = {};
   std::vector<DraftMember> members = {};
   std::vector<DraftTable> tables = {};
   std::vector<DraftRule> rules = {};
   std::vector<std::string> spoiltGroups = {}; // something in their rows was complained about
   Warnings warnings = {};
};

} // namespace QuarraAcl
