// Reads ACL configurations in the formats that people have. The format is told by the content.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "acl/AclConfig.h"
#include "acl/Complaints.h"

namespace QuarraAcl {

enum class AclFormat {
   configDb, // nested or flattened, a dump of its database, or a live one
   openConfig,
   rfc8519,
   jsonPatch,
   rowOperations,
};

struct AclFormatRow {
   AclFormat format;
   std::string_view name; // "config-db"
   std::string_view description;
   bool isChange; // changes the configuration before it
};

std::span<const AclFormatRow> aclFormats();

// Throws InputError for a name that is none; it lists those that there are.
AclFormat aclFormatOf( std::string_view name );

// What came of reading. Without complaints `config` is all that the sources say. With complaints it is what
// is left without the rules and tables that they name; where one of them is fatal, nothing.
struct AclReading {
   AclConfig config;
   std::vector<AclComplaint> complaints;

   bool good() const { return complaints.empty(); }
   bool usable() const; // no complaint is fatal

   AclConfig orRefuse() &&; // the whole configuration; throws AclRefused when there is any complaint
};

struct AclText {
   std::string file; // its name in messages
   std::string text;
};

// Reads one configuration from several sources: ports and bindings may stand in one, rules in another; a
// change is applied to the configuration before it. A source is a file, "-" for standard input, or a Redis
// database ("redis://HOST[:PORT][/DB]", "redis+unix://PATH[?db=DB]", the path of a socket). `format` forces
// the format of all of them; one of a change that of the changes only, and what they change is told by its
// content. Throws InputError when one cannot be read at all; what is wrong in them comes back as complaints.
AclReading readAcl( const std::vector<std::string> &sources, std::optional<AclFormat> format = {} );
AclReading parseAcl( const std::vector<AclText> &texts, std::optional<AclFormat> format = {} );

struct AclChange {
   AclReading before; // of no sources: an empty configuration
   AclReading after;
};

// The configuration that sources make of one before, and that one: alone, or where the first of them is a
// change (a patch, row operations), together with those before. Each source is read once. The last one is of
// the forced format, if there is one.
AclChange readAclChange( const std::vector<std::string> &before, const std::vector<std::string> &sources,
                         std::optional<AclFormat> format = {} );

// One file, taken only when nothing is wrong with it. Throws AclRefused or InputError.
AclConfig readConfigDb( const std::string &file );
AclConfig parseConfigDb( const std::string &text, const std::string &file );

} // namespace QuarraAcl
