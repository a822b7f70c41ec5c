#include "lab/JsonText.h"

#include <algorithm>
#include <deque>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "agent/OneLine.h"

namespace QuarraLab {
namespace {

constexpr std::pair<Json::value_t, std::string_view> typeNames[] = {
   { Json::value_t::null, "null" },        { Json::value_t::boolean, "true or false" },
   { Json::value_t::string, "a string" },  { Json::value_t::array, "a list" },
   { Json::value_t::object, "an object" },
};

// Leaves out what the parser read last: it can be long, or not be text at all, and the position leads there.
std::string syntaxMessage( const Json::exception &error ) {
   constexpr std::string_view lastRead = "; last read: '";
   constexpr std::string_view expected = "; expected ";
   std::string message = error.what();
   const std::size_t start = message.find( "syntax error" );
   if ( start == std::string::npos ) {
      return "a number is too large";
   }
   message.erase( 0, start );
   const std::size_t from = message.find( lastRead );
   if ( from != std::string::npos ) {
      const std::size_t to = message.rfind( expected );
      const bool nothingFollows = to == std::string::npos || to < from;
      message.erase( from, nothingFollows ? std::string::npos : to - from );
   }
   return message;
}

// Builds the values as nlohmann would, but refuses a key that comes twice, where nlohmann silently keeps the
// last.
class ValueBuilder final : public nlohmann::json_sax<Json> {
 public:
   ValueBuilder( const std::string &text, std::vector<Complaint> &repeated )
      : text_( text ), repeated_( repeated ) {}

   Json take() { return std::move( root_ ); }
   [[noreturn]] void refuse( std::size_t offset, const std::string &message ) const;

   bool null() override { return put( nullptr ); }
   bool boolean( bool value ) override { return put( value ); }
   bool number_integer( number_integer_t value ) override { return put( value ); }
   bool number_unsigned( number_unsigned_t value ) override { return put( value ); }
   bool number_float( number_float_t value, const string_t & ) override { return put( value ); }
   bool string( string_t &value ) override { return put( std::move( value ) ); }
   bool binary( binary_t & ) override { return false; } // JSON text holds none
   bool start_object( std::size_t ) override { return open( Json::value_t::object ); }
   bool start_array( std::size_t ) override { return open( Json::value_t::array ); }
   bool end_object() override { return close(); }
   bool end_array() override { return close(); }
   bool key( string_t &key ) override;
   bool parse_error( std::size_t position, const std::string &, const Json::exception &error ) override;

 private:
   struct Level {
      Json *value;           // open object or list
      std::string key;       // of the value in that object which is being read
      bool repeated = false; // it was there before
   };

   bool put( Json value );
   bool open( Json::value_t type );
   bool close();
   Json &add( Json value );
   std::string place() const;

   const std::string &text_;
   std::vector<Complaint> &repeated_;
   Json root_;
   std::deque<Json> ignored_; // the values of keys that came before: one may be open within another
   std::vector<Level> levels_;
};

bool ValueBuilder::key( string_t &key ) {
   Level &level = levels_.back();
   level.key = std::move( key );
   level.repeated = level.value->contains( level.key );
   if ( level.repeated ) {
      repeated_.emplace_back( place(), "the same key comes twice in one object" );
   }
   return true;
}

// `position` counts the characters read, the offending one or the end of the text included.
bool ValueBuilder::parse_error( std::size_t position, const std::string &, const Json::exception &error ) {
   refuse( position == 0 ? 0 : position - 1, syntaxMessage( error ) );
}

void ValueBuilder::refuse( std::size_t offset, const std::string &message ) const {
   const std::string_view before = std::string_view( text_ ).substr( 0, offset );
   const auto line = 1 + static_cast<std::size_t>( std::ranges::count( before, '\n' ) );
   const std::size_t lineBreak = before.rfind( '\n' );
   const std::size_t lineStart = lineBreak == std::string_view::npos ? 0 : lineBreak + 1;
   throw Complaint( line, before.size() - lineStart + 1, message );
}

bool ValueBuilder::put( Json value ) {
   add( std::move( value ) );
   return true;
}

bool ValueBuilder::open( Json::value_t type ) {
   // Nothing that is read has more than ten. Each takes many times the memory of its bracket.
   constexpr std::size_t mostLevels = 100;
   if ( levels_.size() == mostLevels ) {
      throw Complaint( place(), fmt::format( "lists and objects stand more than {} deep", mostLevels ) );
   }
   Json &value = add( Json( type ) );
   levels_.push_back( { &value, {}, false } );
   return true;
}

bool ValueBuilder::close() {
   levels_.pop_back();
   return true;
}

// The address stays good while the value is open: an open value is the last of its list, and object members
// stay put.
Json &ValueBuilder::add( Json value ) {
   if ( levels_.empty() ) {
      root_ = std::move( value );
      return root_;
   }
   const Level &level = levels_.back();
   if ( level.value->is_array() ) {
      return level.value->get_ref<Json::array_t &>().emplace_back( std::move( value ) );
   }
   Json &member = level.repeated ? ignored_.emplace_back() : ( *level.value )[ level.key ];
   member = std::move( value );
   return member;
}

// Where the parser stands, e.g. ACL_TABLE|DATAACL.ports[2]. Only the outer levels: the whole path may be
// long.
std::string ValueBuilder::place() const {
   constexpr std::size_t maxLevels = 6;
   std::string path;
   for ( std::size_t depth = 0; depth < std::min( levels_.size(), maxLevels ); ++depth ) {
      const Level &level = levels_[ depth ];
      if ( level.value->is_array() ) {
         path += fmt::format( "[{}]", level.value->size() - 1 );
      } else if ( depth > 0 ) {
         const bool namesObject = depth == 1 && path.find( '|' ) == std::string::npos;
         path += ( namesObject ? "|" : "." ) + level.key;
      } else {
         path = level.key;
      }
   }
   return levels_.size() > maxLevels ? path + "..." : path;
}

} // namespace

Complaint::Complaint( std::size_t line, std::size_t column, const std::string &message )
   : std::runtime_error( QuarraAgent::oneLine( fmt::format( ":{}:{}: {}", line, column, message ) ) ),
     line_( line ),
     column_( column ),
     message_( message ) {}

Complaint::Complaint( const std::string &place, const std::string &message )
   : std::runtime_error( QuarraAgent::oneLine( ": " + ( place.empty() ? "" : place + ": " ) + message ) ),
     place_( place ),
     message_( message ) {}

Json parseJson( const std::string &text, std::vector<Complaint> &repeated ) {
   if ( text.find_first_not_of( " \t\r\n" ) == std::string::npos ) {
      throw Complaint( "", "expected a JSON object, the file is empty" );
   }
   ValueBuilder builder( text, repeated );
   Json::sax_parse( text, &builder );
   if ( const std::size_t end = text.find( '\0' ); end != std::string::npos ) {
      builder.refuse( end, "syntax error: a character of value 0" ); // where the parser takes the text to end
   }
   return builder.take();
}

Json parseJson( const std::string &text ) {
   std::vector<Complaint> repeated;
   Json json;
   try {
      json = parseJson( text, repeated );
   } catch ( const Complaint & ) {
      if ( repeated.empty() ) {
         throw;
      }
   }
   if ( !repeated.empty() ) {
      throw Complaint( repeated.front() );
   }
   return json;
}

JsonOut document( bool ok ) {
   return { { "version", 1 }, { "ok", ok } };
}

// nlohmann escapes control characters below U+0020 only. The others stand in strings alone, so that their
// bytes can be replaced in the text.
std::string jsonText( const JsonOut &json, bool indented ) {
   auto text = json.dump( indented ? 3 : -1, ' ', false, JsonOut::error_handler_t::replace );
   if ( text.find_first_of( "\x7f\xc2" ) == std::string::npos ) {
      return text; // as mostly; some documents are long
   }
   std::string escaped;
   escaped.reserve( text.size() );
   for ( std::size_t i = 0; i < text.size(); ++i ) {
      const auto byte = static_cast<unsigned char>( text[ i ] );
      const auto next = static_cast<unsigned char>( i + 1 < text.size() ? text[ i + 1 ] : '\0' );
      if ( byte == 0x7f ) {
         escaped += "\\u007f";
      } else if ( byte == 0xc2 && next < 0xa0 ) {
         escaped += fmt::format( "\\u{:04x}", next );
         ++i;
      } else {
         escaped += text[ i ];
      }
   }
   return escaped;
}

std::string typeName( const Json &value ) {
   const auto *found =
      std::ranges::find( typeNames, value.type(), &std::pair<Json::value_t, std::string_view>::first );
   return found == std::end( typeNames ) ? "a number" : std::string( found->second );
}

std::string valueText( const Json &value ) {
   return value.is_string() || value.is_number() ? value.dump() : typeName( value );
}

} // namespace QuarraLab
