// Reads the ACLs of a switch from its config_db.json: which tables there are, which ports they are bound to,
// and which rules they hold. Nothing here knows of class IDs.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "lab/TextFile.h"

namespace QuarraAcl {

using namespace QuarraLab;

struct AclRule {
   std::string name;
   std::string table;
   int priority = 0;
   // Physical, in chip order, no duplicates; may be empty. Rules that name no ports share the table's.
   std::shared_ptr<const std::vector<std::string>> ports;
};

struct AclTable {
   std::string name;
   std::string type;               // in upper case
   std::vector<std::string> ports; // physical, in chip order, no duplicates
   std::vector<AclRule> rules;     // highest priority first, then by name
   std::string leftOut;            // empty, or why the table gets no entries; its rules then have no ports
};

// All orders by name are natural: Ethernet2 comes before Ethernet10.
struct AclConfig {
   std::string file;
   std::vector<std::string> ports;    // physical ports by name: chip port n is element n - 1
   std::vector<AclTable> tables;      // by name
   std::vector<std::string> warnings; // what a person should know: "PLACE: sentence", one line each
};

// Throws InputError when the file cannot be read, and whatever parseConfigDb throws.
AclConfig readConfigDb( const std::string &file );

// Takes tables nested ("ACL_TABLE": { "DATAACL": ... }), flattened ("ACL_TABLE|DATAACL": ...), or both mixed.
// Throws InputError for any text that is not such a file; `file` is its name in messages.
AclConfig parseConfigDb( const std::string &text, const std::string &file );

} // namespace QuarraAcl
