// What differs between two configurations.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "acl/AclConfig.h"

namespace QuarraAcl {

enum class AclChangeKind { comes, goes, changes };

// A rule that is not as it was. Of a rule that changes, the flags say in what.
struct AclRuleChange {
   AclChangeKind kind;
   const AclRule *before; // null for one that comes
   const AclRule *after;  // null for one that goes
   bool ports = false;
   bool priority = false; // in a table whose rules are ordered by place: it passed others
   bool fields = false;   // what the author wrote
};

struct AclTableChange {
   AclChangeKind kind;
   std::string name;
   const AclTable *before;
   const AclTable *after;
   bool type = false;
   bool stage = false;
   bool ports = false;
   bool leftOut = false; // it gets entries where it got none, or no longer
   bool fields = false;
   std::vector<AclRuleChange> rules = {}; // all of a table that comes or goes; in order of name
};

struct AclChanges {
   std::vector<std::string> portsThatCome; // of the switch, in natural order
   std::vector<std::string> portsThatGo;
   std::vector<AclTableChange> tables = {}; // in natural order of name

   bool none() const { return portsThatCome.empty() && portsThatGo.empty() && tables.empty(); }
};

// The result points into both configurations.
AclChanges changesBetween( const AclConfig &before, const AclConfig &after );
AclChanges changesBetween( const AclConfig &&before, const AclConfig &after ) = delete;
AclChanges changesBetween( const AclConfig &before, const AclConfig &&after ) = delete;

std::string_view kindName( AclChangeKind kind ); // "comes", "goes", "changes"

} // namespace QuarraAcl
