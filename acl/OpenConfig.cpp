#include "acl/OpenConfig.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "acl/YangTree.h"

namespace QuarraAcl {
namespace {

constexpr std::string_view module = "openconfig-acl";
constexpr std::int64_t maxSequenceId = 0xffffffff;

// Members of each container that are read, or that hold nothing of the configuration (state, counters).
// Others are warned about.
constexpr std::string_view aclMembers[] = { "acl-sets", "interfaces", "config", "state" };
constexpr std::string_view setMembers[] = { "name", "type", "config", "state", "acl-entries" };
constexpr std::string_view interfaceMembers[] = {
   "id", "config", "state", "interface-ref", "ingress-acl-sets", "egress-acl-sets"
};
constexpr std::string_view referenceMembers[] = { "interface", "subinterface" };
constexpr std::string_view bindingMembers[] = { "set-name", "type", "config", "state", "acl-entries" };
constexpr std::string_view setMembersWithoutText[] = { "name", "type", "state", "acl-entries" };
// What of an entry is no part of the rule's own text.
constexpr std::string_view entryMembersWithoutText[] = { "sequence-id", "state", "input-interface" };

struct TypeRow {
   std::string_view set;
   std::string_view table;
};

constexpr TypeRow types[] = {
   { "ACL_IPV4", "L3" },  { "ACL_IPV6", "L3V6" },  { "ACL_MIXED", "L3V4V6" },
   { "ACL_L2", "OTHER" }, { "ACL_MPLS", "OTHER" },
};

// A key of a list entry: it stands beside the entry's config and in it. Either may be missing; both must
// agree.
template <typename Value, typename Read>
std::optional<Value> keyOf( const YangNode &entry, const std::string &leaf, const Read &read ) {
   const std::optional<Value> own = read( entry, leaf );
   const YangNode config = entry.container( "config" );
   const std::optional<Value> copy = read( config, leaf );
   if ( own && copy && *own != *copy ) {
      config.member( leaf ).complain( fmt::format( "expected {} as in the key, got {}", *own, *copy ) );
   }
   return own ? own : copy;
}

std::optional<std::string> textKey( const YangNode &entry, const std::string &leaf,
                                    const std::string &listKey = "" ) {
   const auto found = keyOf<std::string>(
      entry, leaf, []( const YangNode &node, const std::string &name ) { return node.text( name ); } );
   return found || listKey.empty() ? found : listKey;
}

// The type of a set without the module's name, e.g. ACL_IPV4; empty when it is not told.
std::string typeKey( const YangNode &entry ) {
   const auto type = keyOf<std::string>( entry, "type", []( const YangNode &node, const std::string &name ) {
      const auto text = node.text( name );
      return text ? std::optional( std::string( withoutModule( *text ) ) ) : text;
   } );
   return type.value_or( "" );
}

class OpenConfigReader {
 public:
   OpenConfigReader( const Json &root, const std::string &file, Complaints &complaints, Draft &draft )
      : context_{ module, true, complaints, draft },
        draft_( draft ),
        complaints_( complaints ),
        root_( context_, &root, { &file, "" } ) {}

   void read();

 private:
   using SetKey = std::pair<std::string, std::string>; // name and type

   // A set, the ports that it is bound to, and where each binding stands.
   struct Set {
      std::vector<YangNode> nodes; // one, or none when the file binds it only
      NameList ingress;
      NameList egress;
   };

   void findSets( const YangNode &acl );
   std::string tableName( const SetKey &key ) const;
   void readInterface( const YangNode &interface, const std::string &listKey );
   void readBindings( const YangNode &interface, const std::string &stage, const std::string &port,
                      NameList Set::*ports );
   Set &setOf( const std::string &name, const std::string &type );
   void addTable( const SetKey &key, const Set &set );
   void readEntry( const YangEntry &listed, const std::string &table );
   std::optional<NameList> inputInterface( const YangNode &entry );

   YangContext context_;
   Draft &draft_;
   Complaints &complaints_;
   YangNode root_;
   std::map<SetKey, Set> sets_;
   std::set<std::string> spoiltNames_; // of sets whose keys were complained about
};

void OpenConfigReader::read() {
   draft_.listsTables = true;
   const YangNode acl = root_.container( "acl" );
   acl.warnOthers( aclMembers );
   findSets( acl );
   for ( const auto &entry : acl.container( "interfaces" ).list( "interface", "id" ) ) {
      readInterface( entry.node, entry.key );
   }
   for ( const auto &[ key, set ] : sets_ ) {
      addTable( key, set );
   }
}

void OpenConfigReader::findSets( const YangNode &acl ) {
   for ( const auto &entry : acl.container( "acl-sets" ).list( "acl-set", "name" ) ) {
      const std::size_t before = complaints_.number();
      const YangNode node = entry.node.about( { entry.shown, "" } );
      const auto name = textKey( node, "name", entry.key );
      const std::string type = typeKey( node );
      if ( !name ) {
         node.complain( "expected a name" );
      } else if ( complaints_.number() != before ) {
         spoiltNames_.insert( *name );
      } else if ( Set &set = sets_[ SetKey( *name, type ) ]; set.nodes.empty() ) {
         set.nodes.push_back( node );
      } else {
         node.complain( "a set of this name and type is there already" );
      }
   }
}

// A table goes by the set's name, and by its type, too, where that alone tells two sets apart.
std::string OpenConfigReader::tableName( const SetKey &key ) const {
   const auto &name = key.first;
   const auto &type = key.second;
   const auto others =
      std::ranges::count_if( sets_, [ & ]( const auto &set ) { return set.first.first == name; } );
   return others > 1 && !type.empty() ? name + "/" + type : name;
}

void OpenConfigReader::readInterface( const YangNode &interface, const std::string &listKey ) {
   const auto id = textKey( interface, "id", listKey );
   const YangNode reference = interface.container( "interface-ref" ).container( "config" );
   const auto port = reference.text( "interface" );
   const auto subinterface = reference.number( "subinterface", 0, maxSequenceId ).value_or( 0 );
   interface.warnOthers( interfaceMembers );
   reference.warnOthers( referenceMembers );
   if ( !port && !id ) {
      interface.complain( "expected an id or an interface-ref" );
   } else if ( subinterface != 0 ) {
      interface.warn(
         fmt::format( "subinterface {} of {} is no port of its own, so its bindings are left out",
                      subinterface, port ? *port : *id ) );
   } else {
      readBindings( interface, "ingress", port ? *port : *id, &Set::ingress );
      readBindings( interface, "egress", port ? *port : *id, &Set::egress );
   }
}

void OpenConfigReader::readBindings( const YangNode &interface, const std::string &stage,
                                     const std::string &port, NameList Set::*ports ) {
   const YangNode container = interface.container( stage + "-acl-sets" );
   for ( const auto &entry : container.list( stage + "-acl-set", "set-name" ) ) {
      const std::size_t before = complaints_.number();
      const YangNode node = entry.node.about( { entry.shown, "" } );
      const auto name = textKey( node, "set-name", entry.key );
      const std::string type = typeKey( node );
      node.warnOthers( bindingMembers );
      if ( !name ) {
         node.complain( "expected a set-name" );
      } else if ( complaints_.number() == before && !spoiltNames_.contains( *name ) ) {
         NameList &list = setOf( *name, type ).*ports;
         list.names.push_back( port );
         list.places.push_back( node.place() );
      }
   }
}

// The set that a binding names: where it does not tell the type, the only one of that name. One that this
// file does not hold may stand in another.
OpenConfigReader::Set &OpenConfigReader::setOf( const std::string &name, const std::string &type ) {
   const auto isIt = [ & ]( const auto &set ) {
      return set.first.first == name &&
             ( set.first.second == type || type.empty() || set.first.second.empty() );
   };
   const auto found = std::ranges::find_if( sets_, isIt );
   return found == sets_.end() ? sets_[ SetKey( name, type ) ] : found->second;
}

void OpenConfigReader::addTable( const SetKey &key, const Set &set ) {
   DraftTable table{ tableName( key ), {} };
   table.defined = !set.nodes.empty();
   table.place = table.defined ? set.nodes.front().place()
                               : ( set.ingress.names.empty() ? set.egress : set.ingress ).places.front();
   const auto *type = std::ranges::find( types, key.second, &TypeRow::set );
   table.typeIsDerived = true;
   if ( type != std::end( types ) ) {
      table.type = std::string( type->table );
   } else if ( !key.second.empty() ) {
      table.type = "OTHER";
      draft_.warnings.emplace_back( table.place,
                                    fmt::format( "type {} is not known and counts as OTHER", key.second ) );
   }
   if ( !set.ingress.names.empty() ) {
      table.ports = set.ingress;
      if ( !set.egress.names.empty() ) {
         draft_.warnings.emplace_back( set.egress.places.front(),
                                       fmt::format( "bindings of {} at egress are left out", table.name ) );
      }
   } else if ( !set.egress.names.empty() ) {
      table.ports = set.egress;
      table.stage = "egress";
   }
   if ( table.defined ) {
      const YangNode node = set.nodes.front().about( { table.name, "" } );
      node.warnOthers( setMembers );
      table.fields = node.fields( setMembersWithoutText );
      for ( const auto &entry : node.container( "acl-entries" ).list( "acl-entry", "sequence-id" ) ) {
         readEntry( entry, table.name );
      }
   }
   draft_.tables.push_back( std::move( table ) );
}

// An entry goes by its sequence-id, the lowest first.
void OpenConfigReader::readEntry( const YangEntry &listed, const std::string &table ) {
   const YangNode entry = listed.node.about( { table, listed.shown } );
   const auto read = []( const YangNode &node, const std::string &leaf ) {
      return node.number( leaf, 0, maxSequenceId );
   };
   const std::size_t before = complaints_.number();
   auto sequenceId = keyOf<std::int64_t>( entry, "sequence-id", read );
   if ( !sequenceId && complaints_.number() == before ) {
      std::int64_t number = 0;
      const char *end = listed.key.data() + listed.key.size();
      const auto [ stop, error ] = std::from_chars( listed.key.data(), end, number );
      if ( error != std::errc() || stop != end || number < 0 || number > maxSequenceId ) {
         entry.complain( fmt::format( "expected a sequence-id from 0 to {}", maxSequenceId ) );
         return;
      }
      sequenceId = number;
   }
   const auto inPorts = inputInterface( entry );
   if ( !sequenceId ) {
      return;
   }
   DraftRule rule{ std::to_string( *sequenceId ), table, entry.place() };
   rule.priority = maxSequenceId - *sequenceId;
   rule.inPorts = inPorts;
   rule.fields = entry.fields( entryMembersWithoutText );
   draft_.rules.push_back( std::move( rule ) );
}

std::optional<NameList> OpenConfigReader::inputInterface( const YangNode &entry ) {
   const YangNode reference =
      entry.container( "input-interface" ).container( "interface-ref" ).container( "config" );
   const auto port = reference.text( "interface" );
   if ( reference.number( "subinterface", 0, maxSequenceId ).value_or( 0 ) != 0 ) {
      reference.complain( "a subinterface is no port of its own" );
   }
   return port ? std::optional( NameList{
                    reference.place() + ".interface", { *port }, { reference.place() + ".interface" } } )
               : std::nullopt;
}

bool hasMember( const Json &object, const char *name ) {
   return object.is_object() && object.contains( name );
}

} // namespace

// Some writers leave out the module's name before the root.
bool isOpenConfig( const Json &root ) {
   if ( hasMember( root, "openconfig-acl:acl" ) ) {
      return true;
   }
   return hasMember( root, "acl" ) &&
          ( hasMember( root.at( "acl" ), "acl-sets" ) || hasMember( root.at( "acl" ), "interfaces" ) );
}

void draftOpenConfig( const Json &root, const std::string &file, Complaints &complaints, Draft &draft ) {
   OpenConfigReader( root, file, complaints, draft ).read();
}

} // namespace QuarraAcl
