// config_db.json as tables of named objects, whichever way each was written, and the fields of such an
// object.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "acl/NaturalOrder.h"
#include "lab/JsonText.h"

namespace QuarraAcl {

using namespace QuarraLab;

// One object of a table, e.g. ACL_RULE|DATAACL|RULE_1.
struct ConfigEntry {
   std::string place;             // its full key
   std::vector<std::string> name; // the parts of the key after the table's name: DATAACL and RULE_1
   const Json *fields;            // always an object
};

using ConfigSection = std::map<std::string, ConfigEntry, NaturalLess>; // by key without the table's name

// The tables that matter to ACLs; others are not looked at.
class ConfigTables {
 public:
   explicit ConfigTables( const std::string &text ); // throws Complaint
   ConfigTables( const ConfigTables & ) = delete;    // entries point into root_
   ConfigTables &operator=( const ConfigTables & ) = delete;

   bool has( std::string_view table ) const;                     // true for an empty one, too
   const ConfigSection &entries( std::string_view table ) const; // none when there is no such table

 private:
   Json root_;
   std::map<std::string, ConfigSection, std::less<>> sections_;
};

struct ConfigField {
   std::string place;
   const Json *value;
};

struct ConfigString {
   std::string place;
   std::string text;
};

// The names that one field holds.
struct NameList {
   std::string place; // of the field
   std::vector<std::string> names;

   std::string placeOf( std::size_t index ) const { return place + "[" + std::to_string( index ) + "]"; }
};

// Names of fields are found in upper or lower case. All three throw Complaint for a wrong type, and when
// the field is there more than once.
std::optional<ConfigField> findField( const ConfigEntry &entry, const std::string &name );
std::optional<ConfigString> findString( const ConfigEntry &entry, const std::string &name,
                                        std::string_view expected );

// Takes a JSON list of strings or one comma-separated string, under `name` or `name@`. An empty string is an
// empty list, which is how a list without elements is stored; an empty name between commas or in a list is a
// Complaint.
std::optional<NameList> findNames( const ConfigEntry &entry, const std::string &name );

std::string lowerCase( std::string text );
std::string upperCase( std::string text );

} // namespace QuarraAcl
