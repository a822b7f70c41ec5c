#include "acl/ConfigRows.h"

#include <algorithm>
#include <initializer_list>
#include <set>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

// The tables that are read, their names in a database of the applied state, and what the full key of a row in
// them looks like.
struct TableShape {
   std::string_view table;
   std::string_view applied;
   std::string_view key;
};

constexpr TableShape tableShapes[] = {
   { "PORT", "PORT_TABLE", "PORT|NAME" },
   { "PORTCHANNEL", "LAG_TABLE", "PORTCHANNEL|NAME" },
   { "PORTCHANNEL_MEMBER", "LAG_MEMBER_TABLE", "PORTCHANNEL_MEMBER|PORTCHANNEL|PORT" },
   { "VLAN", "VLAN_TABLE", "VLAN|NAME" },
   { "VLAN_MEMBER", "VLAN_MEMBER_TABLE", "VLAN_MEMBER|VLAN|PORT" },
   { "ACL_TABLE_TYPE", "ACL_TABLE_TYPE_TABLE", "ACL_TABLE_TYPE|NAME" },
   { "ACL_TABLE", "ACL_TABLE_TABLE", "ACL_TABLE|NAME" },
   { "ACL_RULE", "ACL_RULE_TABLE", "ACL_RULE|TABLE|RULE" },
};

// Keys of the applied state that only look like rows: marks that the ports are there.
constexpr std::string_view noRows[] = { "PORT_TABLE:PortConfigDone", "PORT_TABLE:PortInitDone" };

const TableShape *shapeOf( std::string_view table ) {
   const auto *shape = std::ranges::find( tableShapes, table, &TableShape::table );
   return shape == std::end( tableShapes ) ? nullptr : shape;
}

std::vector<std::string> split( std::string_view text, char separator ) {
   std::vector<std::string> parts;
   for ( ;; ) {
      const std::size_t end = text.find( separator );
      parts.emplace_back( text.substr( 0, end ) );
      if ( end == std::string_view::npos ) {
         return parts;
      }
      text.remove_prefix( end + 1 );
   }
}

std::string trimmed( const std::string &text ) {
   constexpr const char *blanks = " \t\r\n";
   const std::size_t first = text.find_first_not_of( blanks );
   return first == std::string::npos ? "" : text.substr( first, text.find_last_not_of( blanks ) - first + 1 );
}

bool isShallow( const Json &value, int levels ) {
   return !value.is_structured() ||
          ( levels > 0 && std::ranges::all_of( value, [ levels ]( const Json &one ) {
               return isShallow( one, levels - 1 );
            } ) );
}

// A row's field is one value, or a list. What is in a list that nobody reads is carried as it is, but not
// endlessly.
bool isFieldValue( const Json &value ) {
   constexpr int mostLevels = 8;
   return !value.is_object() && isShallow( value, mostLevels );
}

std::string fieldText( const Json &value ) {
   return value.is_string() ? value.get<std::string>()
                            : value.dump( -1, ' ', false, Json::error_handler_t::replace );
}

constexpr std::string_view databaseTypes[] = { "hash", "string", "list", "set", "zset", "stream" };

// A dump of a database wraps a row: { "type": "hash", "value": { fields }, ... }. A row has a field "type",
// too, but none of these types and no "value" beside it.
bool isWrapped( const Json &row ) {
   const auto type = row.find( "type" );
   return row.contains( "value" ) && type != row.end() && type->is_string() &&
          std::ranges::find( databaseTypes, type->get_ref<const std::string &>() ) !=
             std::end( databaseTypes );
}

constexpr std::string_view separators = "|:";

} // namespace

bool isTableName( std::string_view name ) {
   return shapeOf( name ) != nullptr;
}

std::optional<RowKey> rowKey( std::string_view key ) {
   const std::size_t end = key.find_first_of( separators );
   const std::string_view table = key.substr( 0, end );
   const auto *shape = std::ranges::find_if(
      tableShapes, [ & ]( const TableShape &one ) { return one.table == table || one.applied == table; } );
   if ( end == key.npos || shape == std::end( tableShapes ) ||
        std::ranges::find( noRows, key ) != std::end( noRows ) ) {
      return std::nullopt;
   }
   RowKey found = { shape->table, std::string( key.substr( end + 1 ) ) };
   // A port's name may have a ':' of its own: only the parts before the last one end at the first.
   auto parts = std::ranges::count( shape->key, '|' );
   for ( char &c : found.name ) {
      if ( key[ end ] == ':' && c == ':' && --parts > 0 ) {
         c = '|';
      }
   }
   return found;
}

const Json &rowFields( const Json &row ) {
   return row.is_object() && isWrapped( row ) ? row.at( "value" ) : row;
}

ConfigRows::ConfigRows( const Json &root, const std::string &file, const std::vector<Complaint> &repeated,
                        Complaints &complaints, Warnings &warnings )
   : file_( file ), complaints_( complaints ) {
   complainAboutRepeated( repeated );
   std::set<std::string, std::less<>> unread;
   for ( const auto &[ key, value ] : root.items() ) {
      if ( const auto flattened = rowKey( key ) ) {
         addRow( flattened->table, flattened->name, value );
      } else if ( !shapeOf( key ) ) {
         unread.insert( key.substr( 0, key.find_first_of( separators ) ) );
      } else if ( !value.is_object() ) {
         complaints_.addFatal( { &file_, key }, "expected an object, got " + typeName( value ) );
      } else {
         sections_[ key ];
         for ( const auto &[ name, row ] : value.items() ) {
            addRow( key, name, row );
         }
      }
   }
   for ( const std::string &table : unread ) { // others have nothing to do with ACLs
      if ( table.starts_with( "ACL" ) ) {
         warnings.emplace_back( Place{ &file_, table }, "not a table that is read" );
      }
   }
}

// A row that comes twice, or has a field twice, is complained about where it is read. With a whole table
// given twice there is no telling which one holds.
void ConfigRows::complainAboutRepeated( const std::vector<Complaint> &repeated ) {
   for ( const Complaint &complaint : repeated ) {
      const std::string &path = complaint.place();
      const std::string table = path.substr( 0, path.find( '|' ) );
      if ( shapeOf( path ) ) {
         complaints_.addFatal( { &file_, path }, complaint.message() );
      } else if ( table == "ACL_TABLE" || table == "ACL_RULE" ) {
         repeated_.push_back( path );
      } else {
         complaints_.add( { &file_, path }, complaint.message() );
      }
   }
   std::ranges::sort( repeated_ );
}
void ConfigRows::addRow( std::string_view table, const std::string &key, const Json &value ) {
   const TableShape &shape = *shapeOf( table );
   const Place place = { &file_, fmt::format( "{}|{}", table, key ) };
   ConfigRow row{ place, split( key, '|' ), &value };
   const auto wantedParts = std::ranges::count( shape.key, '|' );
   if ( std::ssize( row.name ) != wantedParts || std::ranges::count( row.name, std::string() ) != 0 ) {
      complaints_.add( place, fmt::format( "expected a key {}", shape.key ) );
      return;
   }
   const Subject subject = subjectOf( table, row );
   const auto refuse = [ & ]( const Place &where, const std::string &message ) {
      complaints_.add( where, message, subject );
      row.spoilt = true;
   };
   static const Json noFields = Json::object();
   if ( !value.is_object() ) {
      refuse( place, "expected an object, got " + typeName( value ) );
      row.fields = &noFields;
   } else if ( isWrapped( value ) ) {
      row.fields = &value.at( "value" );
      if ( value.at( "type" ) != "hash" || !row.fields->is_object() ) {
         refuse( place, "expected a hash whose value is an object" );
         row.fields = &noFields;
      }
   }
   for ( const std::string &path : repeatedIn( place.path ) ) {
      refuse( { &file_, path }, "the same key comes twice in one object" );
   }
   const auto [ added, isNew ] = sections_[ std::string( table ) ].emplace( key, row );
   if ( !isNew ) {
      refuse( place, "the same object is given both nested and flattened" );
      added->second.spoilt = true;
   }
}

// The places of keys that came twice in a row, or of the row itself.
std::vector<std::string> ConfigRows::repeatedIn( const std::string &row ) const {
   std::vector<std::string> found;
   auto path = std::ranges::lower_bound( repeated_, row );
   for ( ; path != repeated_.end() && path->starts_with( row ); ++path ) {
      const char next = path->size() > row.size() ? ( *path )[ row.size() ] : '.';
      if ( next == '.' || next == '[' ) {
         found.push_back( *path );
      }
   }
   return found;
}

bool ConfigRows::has( std::string_view table ) const {
   return sections_.find( table ) != sections_.end();
}

const ConfigSection &ConfigRows::rows( std::string_view table ) const {
   static const ConfigSection none;
   const auto found = sections_.find( table );
   return found == sections_.end() ? none : found->second;
}

Subject subjectOf( std::string_view table, const ConfigRow &row ) {
   if ( table == "ACL_TABLE" ) {
      return { row.name.front(), {} };
   }
   return table == "ACL_RULE" ? Subject{ row.name.front(), row.name.back() } : Subject{};
}

void RowFields::complain( const Place &place, std::string message ) {
   complaints_.add( place, std::move( message ), subject_ );
   spoilt_ = true;
}

std::optional<RowFields::Field> RowFields::findOne( std::initializer_list<std::string> names ) {
   known_.insert( known_.end(), names );
   std::optional<Field> found;
   std::string foundKey;
   for ( const auto &[ key, value ] : row_.fields->items() ) {
      const std::string lowerKey = lowerCase( key );
      if ( std::ranges::find( names, lowerKey ) == names.end() ) {
         continue;
      }
      if ( found ) {
         complain( row_.place, fmt::format( "expected one of \"{}\" and \"{}\", got both", foundKey, key ) );
         return std::nullopt;
      }
      found = Field{ row_.place + ( "." + key ), &value };
      foundKey = key;
   }
   return found;
}

std::optional<RowFields::Field> RowFields::find( const std::string &name ) {
   return findOne( { name } );
}

std::optional<std::string> RowFields::text( const std::string &name, std::string_view expected ) {
   const std::optional<Field> field = find( name );
   if ( field && !field->value->is_string() ) {
      complain( field->place, fmt::format( "expected {}, got {}", expected, typeName( *field->value ) ) );
      return std::nullopt;
   }
   return field ? std::optional( field->value->get<std::string>() ) : std::nullopt;
}

std::vector<std::string> RowFields::rawNames( const Field &field ) {
   constexpr const char *expected = "expected a list of port names or one comma-separated string, got ";
   std::vector<std::string> names;
   if ( field.value->is_string() ) {
      const std::string text = trimmed( field.value->get<std::string>() );
      return text.empty() ? names : split( text, ',' );
   }
   if ( !field.value->is_array() ) {
      complain( field.place, expected + typeName( *field.value ) );
      return names;
   }
   if ( *field.value == Json::array( { "" } ) ) {
      return names;
   }
   for ( const Json &element : *field.value ) {
      if ( element.is_string() ) {
         names.push_back( element.get<std::string>() );
      } else {
         complain( field.place + fmt::format( "[{}]", &element - &field.value->front() ),
                   "expected a port name, got " + typeName( element ) );
      }
   }
   return names;
}

std::optional<NameList> RowFields::names( const std::string &name ) {
   const std::optional<Field> field = findOne( { name, name + "@" } );
   if ( !field ) {
      return std::nullopt;
   }
   NameList list{ field->place, rawNames( *field ) };
   for ( std::size_t i = 0; i < list.names.size(); ++i ) {
      std::string &one = list.names[ i ];
      one = trimmed( one );
      if ( one.empty() ) {
         complain( list.placeOf( i ), "expected a port name, got an empty one" );
      } else if ( one.find( ',' ) != std::string::npos ) {
         complain( list.placeOf( i ), fmt::format( "expected one port name, got \"{}\"", one ) );
         one.clear();
      }
   }
   return list;
}

// A row without fields is stored with the one field NULL.
std::vector<AclField> RowFields::others() {
   std::vector<AclField> fields;
   for ( const auto &[ key, value ] : row_.fields->items() ) {
      if ( key == "NULL" || std::ranges::find( known_, lowerCase( key ) ) != known_.end() ) {
         continue;
      }
      if ( isFieldValue( value ) ) {
         fields.push_back( { key, fieldText( value ) } );
      } else {
         complain( row_.place + ( "." + key ),
                   fmt::format( "expected a text, a number or a list, got {}",
                                value.is_array() ? "one that is nested too deep" : typeName( value ) ) );
      }
   }
   return fields;
}

std::string lowerCase( std::string text ) {
   std::ranges::transform( text, text.begin(), []( char c ) {
      return c >= 'A' && c <= 'Z' ? static_cast<char>( c - 'A' + 'a' ) : c;
   } );
   return text;
}

std::string upperCase( std::string text ) {
   std::ranges::transform( text, text.begin(), []( char c ) {
      return c >= 'a' && c <= 'z' ? static_cast<char>( c - 'a' + 'A' ) : c;
   } );
   return text;
}

} // namespace QuarraAcl
