#include "lab/JsonFields.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraLab {
namespace {

using QuarraAgent::RequestRefused;
using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

[[noreturn]] void wrongType( const std::string &place, const char *expected, const Json &value ) {
   throw RequestRefused( "badField",
                         fmt::format( "{}: expected {}, got {}", place, expected, typeName( value ) ) );
}

QuarraModPort found( const std::string &name, const std::string &place, const JsonFields::PortFinder &find ) {
   try {
      return find( name );
   } catch ( const RequestRefused &refused ) {
      throw RequestRefused( refused.code(), place + ": " + refused.what() );
   }
}

QuarraModPort portOf( const Json &value, const std::string &place, const JsonFields::PortFinder &find ) {
   if ( value.is_string() && find ) {
      return found( value.get<std::string>(), place, find );
   }
   if ( !value.is_object() ) {
      return { 0, JsonFields::checkedNumber( value, place, 0, U10::max ) };
   }
   JsonFields fields( value, place );
   const auto module = static_cast<U16>( fields.number( "module", 0, ModId::null - 1, 0 ) );
   const QuarraModPort port( module, fields.number( "port", 0, U10::max ) );
   if ( const auto name = find ? fields.optionalText( "name" ) : std::nullopt;
        name && found( *name, place, find ) != port ) {
      throw RequestRefused( "badField",
                            fmt::format( "{}: interface \"{}\" has another port", place, *name ) );
   }
   fields.finish();
   return port;
}

std::string checkedText( const Json &field, const std::string &place ) {
   constexpr std::size_t mostBytes = 1000;
   if ( !field.is_string() ) {
      wrongType( place, "a string", field );
   }
   auto text = field.get<std::string>();
   if ( text.size() > mostBytes ) {
      throw RequestRefused( "badField", fmt::format( "{}: expected a string of at most {} bytes, got {}",
                                                     place, mostBytes, text.size() ) );
   }
   // A message that quotes the text stays one line.
   if ( std::any_of( text.begin(), text.end(), []( unsigned char c ) { return c < ' ' || c == 0x7f; } ) ) {
      throw RequestRefused(
         "badField",
         fmt::format( "{}: expected a string without control characters, got {}", place, field.dump() ) );
   }
   return text;
}

} // namespace

JsonFields::JsonFields( const Json &object, std::string place, Refusals *refusals )
   : object_( object ), place_( std::move( place ) ), refusals_( refusals ) {
   if ( !object.is_object() ) {
      wrongType( place_, "an object", object );
   }
}

bool JsonFields::has( const std::string &name ) const {
   return object_.contains( name );
}

const Json &JsonFields::value( const std::string &name ) {
   known_.insert( name );
   const auto item = object_.find( name );
   if ( item == object_.end() ) {
      throw RequestRefused( "missingField", fmt::format( "{}: field \"{}\" is missing", place_, name ) );
   }
   return *item;
}

U32 JsonFields::checkedNumber( const Json &value, const std::string &place, U32 min, U32 max ) {
   if ( !value.is_number() ) {
      wrongType( place, "a number", value );
   }
   const bool whole = value.is_number_unsigned() || value.is_number_integer();
   if ( !whole ||
        ( value.is_number_integer() && !value.is_number_unsigned() && value.get<std::int64_t>() < 0 ) ||
        value.get<std::uint64_t>() < min || value.get<std::uint64_t>() > max ) {
      throw RequestRefused( "outOfRange", fmt::format( "{}: expected a whole number from {} to {}, got {}",
                                                       place, min, max, value.dump() ) );
   }
   return value.get<U32>();
}

U32 JsonFields::number( const std::string &name, U32 min, U32 max ) {
   U32 number = min;
   attempt( [ & ] { number = checkedNumber( value( name ), place_ + "." + name, min, max ); } );
   return number;
}

U32 JsonFields::number( const std::string &name, U32 min, U32 max, U32 other ) {
   return has( name ) ? number( name, min, max ) : other;
}

std::string JsonFields::text( const std::string &name ) {
   std::string text;
   attempt( [ & ] { text = checkedText( value( name ), place_ + "." + name ); } );
   return text;
}

std::optional<std::string> JsonFields::optionalText( const std::string &name ) {
   return has( name ) ? std::optional( text( name ) ) : std::nullopt;
}

JsonFields JsonFields::object( const std::string &name ) {
   return { value( name ), place_ + "." + name, refusals_ };
}

bool JsonFields::flag( const std::string &name ) {
   if ( !has( name ) ) {
      return false;
   }
   bool flag = false;
   attempt( [ & ] {
      const auto &field = value( name );
      if ( !field.is_boolean() ) {
         wrongType( place_ + "." + name, "true or false", field );
      }
      flag = field.get<bool>();
   } );
   return flag;
}

QuarraModPort JsonFields::port( const std::string &name, const PortFinder &find ) {
   QuarraModPort port;
   attempt( [ & ] { port = portOf( value( name ), place_ + "." + name, find ); } );
   return port;
}

std::vector<QuarraModPort> JsonFields::ports( const std::string &name, const PortFinder &find ) {
   const Json none = Json::array();
   const Json *list = &none;
   attempt( [ & ] {
      const auto &field = value( name );
      if ( !field.is_array() ) {
         wrongType( place_ + "." + name, "a list of ports", field );
      }
      list = &field;
   } );
   std::vector<QuarraModPort> ports;
   ports.reserve( list->size() );
   for ( std::size_t i = 0; i < list->size(); ++i ) {
      const auto &port = ( *list )[ i ];
      if ( port.is_number_unsigned() && port.get<std::uint64_t>() <= U10::max ) {
         ports.emplace_back( 0, port.get<U32>() ); // the common case needs no text of its place
         continue;
      }
      attempt(
         [ & ] { ports.push_back( portOf( port, fmt::format( "{}.{}[{}]", place_, name, i ), find ) ); } );
   }
   return ports;
}

void JsonFields::finish() {
   for ( const auto &item : object_.items() ) {
      if ( !known_.contains( item.key() ) ) {
         attempt( [ & ] {
            throw RequestRefused( "unknownField",
                                  fmt::format( "{}: unknown field \"{}\"", place_, item.key() ) );
         } );
      }
   }
}

} // namespace QuarraLab
