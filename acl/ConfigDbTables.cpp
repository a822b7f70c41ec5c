#include "acl/ConfigDbTables.h"

#include <algorithm>
#include <initializer_list>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

// The tables that are read, and what the full key of an object in them looks like.
struct TableShape {
   std::string_view table;
   std::string_view key;
};

constexpr TableShape tableShapes[] = {
   { "PORT", "PORT|NAME" },
   { "PORTCHANNEL", "PORTCHANNEL|NAME" },
   { "PORTCHANNEL_MEMBER", "PORTCHANNEL_MEMBER|PORTCHANNEL|PORT" },
   { "ACL_TABLE", "ACL_TABLE|NAME" },
   { "ACL_RULE", "ACL_RULE|TABLE|RULE" },
};

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

void expectObject( const std::string &place, const Json &value ) {
   if ( !value.is_object() ) {
      throw Complaint( place, "expected an object, got " + typeName( value ) );
   }
}

void addEntry( ConfigSection &section, const TableShape &shape, const std::string &key, const Json &fields ) {
   ConfigEntry entry{ fmt::format( "{}|{}", shape.table, key ), split( key, '|' ), &fields };
   const auto wantedParts = std::ranges::count( shape.key, '|' );
   if ( std::ssize( entry.name ) != wantedParts || std::ranges::count( entry.name, std::string() ) != 0 ) {
      throw Complaint( entry.place, fmt::format( "expected a key {}", shape.key ) );
   }
   expectObject( entry.place, fields );
   if ( !section.emplace( key, entry ).second ) {
      throw Complaint( entry.place, "the same object is given both nested and flattened" );
   }
}

std::optional<ConfigField> findOneField( const ConfigEntry &entry,
                                         std::initializer_list<std::string> names ) {
   std::optional<ConfigField> found;
   std::string foundKey;
   for ( const auto &[ key, value ] : entry.fields->items() ) {
      const std::string lowerKey = lowerCase( key );
      if ( std::ranges::find( names, lowerKey ) == names.end() ) {
         continue;
      }
      if ( found ) {
         throw Complaint( entry.place,
                          fmt::format( "expected one of \"{}\" and \"{}\", got both", foundKey, key ) );
      }
      found = ConfigField{ entry.place + "." + key, &value };
      foundKey = key;
   }
   return found;
}

std::vector<std::string> rawNames( const ConfigField &field ) {
   constexpr const char *expected = "expected a list of port names or one comma-separated string, got ";
   std::vector<std::string> names;
   if ( field.value->is_string() ) {
      const std::string text = trimmed( field.value->get<std::string>() );
      return text.empty() ? names : split( text, ',' );
   }
   if ( !field.value->is_array() ) {
      throw Complaint( field.place, expected + typeName( *field.value ) );
   }
   for ( const Json &element : *field.value ) {
      if ( !element.is_string() ) {
         throw Complaint( fmt::format( "{}[{}]", field.place, names.size() ),
                          "expected a port name, got " + typeName( element ) );
      }
      names.push_back( element.get<std::string>() );
   }
   return names;
}

} // namespace

ConfigTables::ConfigTables( const std::string &text ) : root_( parseJson( text ) ) {
   if ( !root_.is_object() ) {
      throw Complaint( "", "expected a JSON object, got " + typeName( root_ ) );
   }
   for ( const auto &[ key, value ] : root_.items() ) {
      const std::size_t bar = key.find( '|' );
      const std::string table = key.substr( 0, bar );
      const auto *shape = std::ranges::find( tableShapes, table, &TableShape::table );
      if ( shape == std::end( tableShapes ) ) {
         continue;
      }
      ConfigSection &section = sections_[ table ];
      if ( bar != std::string::npos ) {
         addEntry( section, *shape, key.substr( bar + 1 ), value );
         continue;
      }
      expectObject( key, value );
      for ( const auto &[ name, fields ] : value.items() ) {
         addEntry( section, *shape, name, fields );
      }
   }
}

bool ConfigTables::has( std::string_view table ) const {
   return sections_.find( table ) != sections_.end();
}

const ConfigSection &ConfigTables::entries( std::string_view table ) const {
   static const ConfigSection none;
   const auto found = sections_.find( table );
   return found == sections_.end() ? none : found->second;
}

std::optional<ConfigField> findField( const ConfigEntry &entry, const std::string &name ) {
   return findOneField( entry, { name } );
}

std::optional<ConfigString> findString( const ConfigEntry &entry, const std::string &name,
                                        std::string_view expected ) {
   const std::optional<ConfigField> field = findField( entry, name );
   if ( !field ) {
      return std::nullopt;
   }
   if ( !field->value->is_string() ) {
      throw Complaint( field->place,
                       fmt::format( "expected {}, got {}", expected, typeName( *field->value ) ) );
   }
   return ConfigString{ field->place, field->value->get<std::string>() };
}

std::optional<NameList> findNames( const ConfigEntry &entry, const std::string &name ) {
   const std::optional<ConfigField> field = findOneField( entry, { name, name + "@" } );
   if ( !field ) {
      return std::nullopt;
   }
   NameList list{ field->place, rawNames( *field ) };
   for ( std::size_t i = 0; i < list.names.size(); ++i ) {
      std::string &one = list.names[ i ];
      one = trimmed( one );
      if ( one.empty() ) {
         throw Complaint( list.placeOf( i ), "expected a port name, got an empty one" );
      }
      if ( one.find( ',' ) != std::string::npos ) {
         throw Complaint( list.placeOf( i ), fmt::format( "expected one port name, got \"{}\"", one ) );
      }
   }
   return list;
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
