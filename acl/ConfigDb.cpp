#include "acl/ConfigDb.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

constexpr std::int32_t maxPriority = std::numeric_limits<std::int32_t>::max();
constexpr std::string_view stages[] = { "ingress", "egress" };

std::optional<std::string> stageOf( RowFields &fields ) {
   constexpr const char *expected = "ingress or egress";
   const std::optional<std::string> stage = fields.text( "stage", expected );
   if ( !stage ) {
      return std::nullopt;
   }
   const auto *known = std::ranges::find( stages, lowerCase( *stage ) );
   if ( known == std::end( stages ) ) {
      fields.complain( fields.find( "stage" )->place,
                       fmt::format( "expected {}, got \"{}\"", expected, *stage ) );
      return std::nullopt;
   }
   return std::string( *known );
}

std::optional<std::string> typeOf( RowFields &fields, const ConfigRow &row ) {
   constexpr const char *expected = "a table type such as L3";
   const std::optional<RowFields::Field> field = fields.find( "type" );
   if ( !field ) {
      if ( !fields.spoilt() ) {
         fields.complain( row.place, fmt::format( "expected a field \"type\" with {}", expected ) );
      }
      return std::nullopt;
   }
   const std::optional<std::string> type = fields.text( "type", expected );
   if ( type && type->empty() ) {
      fields.complain( field->place, fmt::format( "expected {}, got an empty string", expected ) );
   }
   return type ? std::optional( upperCase( *type ) ) : std::nullopt;
}

std::optional<std::int32_t> parseNumber( const std::string &text ) {
   std::int32_t number = 0;
   const char *end = text.data() + text.size();
   const auto [ stop, error ] = std::from_chars( text.data(), end, number );
   return error == std::errc() && stop == end && number >= 0 ? std::optional( number ) : std::nullopt;
}

// A number in JSON and a string of digits are taken alike: writers of this file use both.
std::int32_t priorityOf( RowFields &fields ) {
   const std::optional<RowFields::Field> field = fields.find( "priority" );
   if ( !field ) {
      return 0;
   }
   const Json &value = *field->value;
   const std::string text = value.is_string() ? value.get<std::string>() : valueText( value );
   const std::optional<std::int32_t> priority = parseNumber( text );
   if ( !priority ) {
      fields.complain( field->place, fmt::format( "expected a whole number from 0 to {}, got {}", maxPriority,
                                                  valueText( value ) ) );
   }
   return priority.value_or( 0 );
}

struct GroupTables {
   PortGroupKind kind;
   std::string_view groups;
   std::string_view members;
};

constexpr GroupTables groupTables[] = {
   { PortGroupKind::channel, "PORTCHANNEL", "PORTCHANNEL_MEMBER" },
   { PortGroupKind::vlan, "VLAN", "VLAN_MEMBER" },
};

void draftGroups( const ConfigRows &rows, const GroupTables &tables, Complaints &complaints, Draft &draft ) {
   for ( const auto &[ name, row ] : rows.rows( tables.groups ) ) {
      draft.groups.push_back( { tables.kind, name, row.place } );
      if ( tables.kind != PortGroupKind::channel ) {
         continue; // only a port channel's row may list the members, too
      }
      RowFields fields( row, {}, complaints );
      const NameList list = fields.names( "members" ).value_or( NameList{} );
      for ( std::size_t i = 0; i < list.names.size() && !fields.spoilt(); ++i ) {
         draft.members.push_back( { tables.kind, name, list.names[ i ], list.placeOf( i ) } );
      }
      if ( fields.spoilt() ) {
         draft.spoiltGroups.push_back( name );
      }
   }
   for ( const auto &[ key, row ] : rows.rows( tables.members ) ) {
      draft.members.push_back( { tables.kind, row.name.front(), row.name.back(), row.place } );
      if ( row.spoilt ) {
         draft.spoiltGroups.push_back( row.name.front() );
      }
   }
}

// Types of the switch's own are rows, too: what they say goes with each table of the type.
std::vector<AclField> typeFields( const ConfigRows &rows, const std::string &type, Complaints &complaints ) {
   for ( const auto &[ name, row ] : rows.rows( "ACL_TABLE_TYPE" ) ) {
      if ( upperCase( name ) == type ) {
         return RowFields( row, {}, complaints ).others();
      }
   }
   return {};
}

DraftTable draftTable( const ConfigRow &row, Complaints &complaints ) {
   RowFields fields( row, subjectOf( "ACL_TABLE", row ), complaints );
   DraftTable table{ row.name.front(), row.place };
   table.type = typeOf( fields, row );
   table.stage = stageOf( fields );
   table.ports = fields.names( "ports" );
   table.fields = fields.others();
   return table;
}

DraftRule draftRule( const ConfigRow &row, Complaints &complaints ) {
   RowFields fields( row, subjectOf( "ACL_RULE", row ), complaints );
   DraftRule rule{ row.name.back(), row.name.front(), row.place };
   rule.priority = priorityOf( fields );
   rule.inPorts = fields.names( "in_ports" );
   if ( rule.inPorts && rule.inPorts->names.empty() && !fields.spoilt() ) {
      fields.complain( rule.inPorts->place, "expected at least one port" );
   }
   rule.fields = fields.others();
   return rule;
}

} // namespace

void draftConfigDb( const ConfigRows &rows, Complaints &complaints, Draft &draft ) {
   draft.isConfigDb = true;
   draft.listsPorts = draft.listsPorts || rows.has( "PORT" );
   draft.listsChannels = draft.listsChannels || rows.has( "PORTCHANNEL" );
   draft.listsTables = draft.listsTables || rows.has( "ACL_TABLE" );
   for ( const auto &[ name, row ] : rows.rows( "PORT" ) ) {
      draft.ports.push_back( { name, row.place } );
   }
   for ( const GroupTables &tables : groupTables ) {
      draftGroups( rows, tables, complaints, draft );
   }
   for ( const auto &[ name, row ] : rows.rows( "ACL_TABLE" ) ) {
      DraftTable table = draftTable( row, complaints );
      std::ranges::move( typeFields( rows, table.type.value_or( "" ), complaints ),
                         std::back_inserter( table.fields ) );
      draft.tables.push_back( std::move( table ) );
   }
   for ( const auto &[ key, row ] : rows.rows( "ACL_RULE" ) ) {
      draft.rules.push_back( draftRule( row, complaints ) );
   }
}

} // namespace QuarraAcl
