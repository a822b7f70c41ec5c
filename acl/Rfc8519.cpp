#include "acl/Rfc8519.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

#include "acl/YangTree.h"

namespace QuarraAcl {
namespace {

constexpr std::string_view module = "ietf-access-control-list";
constexpr std::size_t maxNameLength = 64;

// Members of each container that are read, or that hold nothing of the configuration. Others are warned
// about.
constexpr std::string_view aclsMembers[] = { "acl", "attachment-points" };
constexpr std::string_view aclMembers[] = { "name", "type", "aces" };
constexpr std::string_view interfaceMembers[] = { "interface-id", "ingress", "egress" };
constexpr std::string_view bindingMembers[] = { "name", "ace-statistics" };
// What of an ACL or ACE is no part of its own text.
constexpr std::string_view aclMembersWithoutText[] = { "aces" };
constexpr std::string_view aceMembersWithoutText[] = { "name", "statistics" };

struct TypeRow {
   std::string_view acl;
   std::string_view table;
};

constexpr TypeRow types[] = {
   { "ipv4-acl-type", "L3" },
   { "ipv6-acl-type", "L3V6" },
   { "eth-acl-type", "OTHER" },
   { "mixed-eth-ipv4-acl-type", "OTHER" },
   { "mixed-eth-ipv6-acl-type", "OTHER" },
   { "mixed-eth-ipv4-ipv6-acl-type", "L3V4V6" },
};

class Rfc8519Reader {
 public:
   Rfc8519Reader( const Json &root, const std::string &file, Complaints &complaints, Draft &draft )
      : context_{ module, false, complaints, draft },
        draft_( draft ),
        root_( context_, &root, { &file, "" } ) {}

   void read();

 private:
   // The ports that an ACL is bound to, and where each binding stands.
   struct Bindings {
      NameList ingress;
      NameList egress;
   };

   std::optional<std::string> nameOf( const YangNode &node );
   void readInterface( const YangNode &interface );
   void readBindings( const YangNode &interface, std::string_view stage, const std::string &port,
                      NameList Bindings::*ports );
   void readAcl( const YangEntry &entry );
   void readAces( const YangNode &acl, const std::string &table );
   std::optional<std::string> typeOf( const YangNode &acl );
   void bind( DraftTable &table );

   YangContext context_;
   Draft &draft_;
   YangNode root_;
   std::map<std::string, Bindings> bindings_; // by the ACL's name
};

void Rfc8519Reader::read() {
   draft_.listsTables = true;
   const YangNode acls = root_.container( "acls" );
   acls.warnOthers( aclsMembers );
   for ( const auto &entry : acls.container( "attachment-points" ).list( "interface", "interface-id" ) ) {
      readInterface( entry.node );
   }
   for ( const auto &entry : acls.list( "acl", "name" ) ) {
      readAcl( entry );
   }
   for ( const auto &[ name, bindings ] : bindings_ ) {
      const NameList &some = bindings.ingress.names.empty() ? bindings.egress : bindings.ingress;
      DraftTable table{ name, some.places.front() };
      table.defined = false;
      table.typeIsDerived = true;
      bind( table );
      draft_.tables.push_back( std::move( table ) );
   }
}

std::optional<std::string> Rfc8519Reader::nameOf( const YangNode &node ) {
   auto name = node.text( "name" );
   if ( !name && !node.member( "name" ).there() ) {
      node.complain( "expected a name" );
   } else if ( name && name->size() > maxNameLength ) {
      node.complain( fmt::format( "expected a name of 1 to {} characters", maxNameLength ) );
   }
   return name;
}

void Rfc8519Reader::readInterface( const YangNode &interface ) {
   interface.warnOthers( interfaceMembers );
   const auto id = interface.text( "interface-id" );
   if ( id ) {
      readBindings( interface, "ingress", *id, &Bindings::ingress );
      readBindings( interface, "egress", *id, &Bindings::egress );
   } else if ( !interface.member( "interface-id" ).there() ) {
      interface.complain( "expected an interface-id" );
   }
}

void Rfc8519Reader::readBindings( const YangNode &interface, std::string_view stage, const std::string &port,
                                  NameList Bindings::*ports ) {
   for ( const auto &entry :
         interface.container( stage ).container( "acl-sets" ).list( "acl-set", "name" ) ) {
      const YangNode node = entry.node.about( { entry.shown, "" } );
      node.warnOthers( bindingMembers );
      if ( const auto name = nameOf( node ) ) {
         NameList &list = bindings_[ *name ].*ports;
         list.names.push_back( port );
         list.places.push_back( node.place() );
      }
   }
}

// Bindings at egress get no entries: an ACL that has no other is an egress table.
void Rfc8519Reader::bind( DraftTable &table ) {
   const auto found = bindings_.find( table.name );
   if ( found == bindings_.end() ) {
      return;
   }
   auto &[ ingress, egress ] = found->second;
   if ( ingress.names.empty() ) {
      table.stage = "egress";
      table.ports = egress;
      return;
   }
   table.ports = ingress;
   if ( !egress.names.empty() ) {
      draft_.warnings.emplace_back( egress.places.front(),
                                    fmt::format( "bindings of {} at egress are left out", table.name ) );
   }
}

void Rfc8519Reader::readAcl( const YangEntry &entry ) {
   const YangNode acl = entry.node.about( { entry.shown, "" } );
   const auto name = nameOf( acl );
   if ( !name ) {
      return;
   }
   acl.warnOthers( aclMembers );
   DraftTable table{ *name, acl.place() };
   table.typeIsDerived = true;
   table.ordersByPlace = true;
   table.type = typeOf( acl );
   table.fields = acl.fields( aclMembersWithoutText );
   bind( table );
   bindings_.erase( *name );
   draft_.tables.push_back( std::move( table ) );
   readAces( acl, *name );
}

std::optional<std::string> Rfc8519Reader::typeOf( const YangNode &acl ) {
   const auto text = acl.text( "type" );
   if ( !text ) {
      return std::nullopt;
   }
   const auto *type = std::ranges::find( types, withoutModule( *text ), &TypeRow::acl );
   if ( type == std::end( types ) ) {
      acl.warn( fmt::format( "type {} is not known and counts as OTHER", *text ) );
      return "OTHER";
   }
   return std::string( type->table );
}

// ACEs apply in the order of the list: the first gets the highest priority.
void Rfc8519Reader::readAces( const YangNode &acl, const std::string &table ) {
   const auto aces = acl.container( "aces" ).list( "ace", "name" );
   for ( std::size_t i = 0; i < aces.size(); ++i ) {
      const YangNode ace = aces[ i ].node.about( { table, aces[ i ].shown } );
      const auto name = nameOf( ace );
      const YangNode matches = ace.container( "matches" );
      ace.container( "actions" );
      const auto port = matches.text( "ingress-interface" );
      if ( !name ) {
         continue;
      }
      DraftRule rule{ *name, table, ace.place() };
      rule.priority = static_cast<std::int64_t>( aces.size() - i );
      if ( port ) {
         const Place place = matches.place() + ".ingress-interface";
         rule.inPorts = NameList{ place, { *port }, { place } };
      }
      rule.fields = ace.fields( aceMembersWithoutText );
      std::erase_if( rule.fields,
                     []( const AclField &field ) { return field.name == "matches.ingress-interface"; } );
      draft_.rules.push_back( std::move( rule ) );
   }
}

} // namespace

// Some writers leave out the module's name before the root.
bool isRfc8519( const Json &root ) {
   return root.is_object() && ( root.contains( "ietf-access-control-list:acls" ) || root.contains( "acls" ) );
}

void draftRfc8519( const Json &root, const std::string &file, Complaints &complaints, Draft &draft ) {
   Rfc8519Reader( root, file, complaints, draft ).read();
}

} // namespace QuarraAcl
