// The ACLs of a switch as every format is read into: which tables there are, which ports they are bound to,
// and which rules they hold. Nothing here knows of class IDs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace QuarraAcl {

// What a format has and the switch does not look at (matches, actions, descriptions), as its author wrote it:
// "SRC_IP" and "10.0.0.0/8", "ipv4.source-address" and "10.0.0.0/8".
struct AclField {
   std::string name;
   std::string value;

   bool operator==( const AclField & ) const = default;
};

struct AclRule {
   std::string name;
   std::string table;
   std::int64_t priority = 0; // the highest goes first
   // Physical, in chip order, no duplicates; may be empty. Rules that name no ports share the table's.
   std::shared_ptr<const std::vector<std::string>> ports;
   std::vector<AclField> fields = {};
};

struct AclTable {
   std::string name;
   std::string type;               // in upper case
   std::vector<std::string> ports; // physical, in chip order, no duplicates
   std::vector<AclRule> rules;     // highest priority first, then by name
   std::string leftOut;            // empty, or why the table gets no entries; its rules then have no ports
   std::string stage = "ingress";
   bool ordersByPlace = false; // the author gave an order, no priorities: they say no more than the order
   std::vector<AclField> fields = {};
};

// All orders by name are natural: Ethernet2 comes before Ethernet10.
struct AclConfig {
   std::string file;                  // several are joined by ", "
   std::vector<std::string> ports;    // physical ports by name: chip port n is element n - 1
   std::vector<AclTable> tables;      // by name
   std::vector<std::string> warnings; // what a person should know: "PLACE: sentence", one line each; the
                                      // file's name stands before it where there are several
};

// "SRC_IP=10.0.0.0/8 PACKET_ACTION=DROP": what the author wrote, on one line.
std::string fieldsText( const std::vector<AclField> &fields );

} // namespace QuarraAcl
