// Data of a YANG model in JSON (RFC 7951), read member by member: each knows its place, and what is wrong
// with one is a complaint.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "acl/Draft.h"
#include "lab/JsonText.h"

namespace QuarraAcl {

// What a file is read into, and which rule or table the current part of it is about.
struct YangContext {
   std::string_view module; // the model's: its name may stand before a member's
   bool listsMayBeObjects;  // some writers make an object of a list, its members named by the key
   Complaints &complaints;
   Draft &draft; // for warnings
};

struct YangEntry;

// One value of the tree; "absent" for a member that is not there, of which every question answers "nothing".
class YangNode {
 public:
   YangNode( const YangContext &context, const Json *value, Place place, std::string entry = "",
             Subject subject = {} )
      : context_( &context ),
        value_( value ),
        place_( std::move( place ) ),
        entry_( std::move( entry ) ),
        subject_( std::move( subject ) ) {}

   bool there() const { return value_ != nullptr; }
   const Place &place() const { return place_; }
   const Json &json() const { return *value_; }

   // What is left out for what is wrong from here on down.
   YangNode about( const Subject &subject ) const { return { *context_, value_, place_, entry_, subject }; }

   // A member by its name, with or without the module's before it. One that is there and no object is a
   // complaint.
   YangNode container( std::string_view name ) const;
   YangNode member( std::string_view name ) const;

   // The entries of a list: objects, each at "list[key]", or at "list[#3]" where the key is missing. The
   // containers between two lists stand in no place: there is only one way from one list to the next.
   std::vector<YangEntry> list( std::string_view name, std::string_view keyLeaf ) const;

   std::optional<std::string> text( std::string_view leaf ) const;
   std::optional<std::int64_t> number( std::string_view leaf, std::int64_t min, std::int64_t max ) const;

   // Members that are not in `known`: each is a warning, so that nothing is dropped silently.
   void warnOthers( std::span<const std::string_view> known ) const;

   // Everything below as "path=value", but members in `without` of this node and its config. "config" stands
   // in no path.
   std::vector<AclField> fields( std::span<const std::string_view> without ) const;

   void complain( const std::string &message ) const;
   void warn( const std::string &sentence ) const;

 private:
   const Json *find( std::string_view name, std::string &nameThere ) const;

   const YangContext *context_;
   const Json *value_;
   Place place_;
   std::string entry_; // the path of the list entry around it
   Subject subject_;
};

// One entry of a list.
struct YangEntry {
   YangNode node;
   std::string key;   // in a list that is an object: the member's name
   std::string shown; // the key as far as there is one, otherwise "#3"
};

// "openconfig-acl:ACL_IPV4" without the module's name, whatever module it is.
std::string_view withoutModule( std::string_view name );

} // namespace QuarraAcl
