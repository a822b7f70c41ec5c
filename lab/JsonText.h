// The JSON of config_db.json, read strictly: what a lenient parser would let pass silently is an error here.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace QuarraLab {

using Json = nlohmann::json;
using JsonOut = nlohmann::ordered_json;

// What is wrong and where, still without the file's name: what() is the text that follows it.
class Complaint : public std::runtime_error {
 public:
   Complaint( std::size_t line, std::size_t column, const std::string &message );
   Complaint( const std::string &place, const std::string &message ); // empty place: the file as a whole

   // Its parts: a line and column (both 0 when the place is known), a place, the message.
   std::size_t line() const { return line_; }
   std::size_t column() const { return column_; }
   const std::string &place() const { return place_; }
   const std::string &message() const { return message_; }

 private:
   std::size_t line_ = 0;
   std::size_t column_ = 0;
   std::string place_;
   std::string message_;
};

// Throws Complaint for a syntax error (column in bytes, from 1), for text that is not UTF-8, and for a key
// that comes twice in one object.
Json parseJson( const std::string &text );

// The same, but keys that come twice are added to `repeated`, each at its place; the first value is kept.
Json parseJson( const std::string &text, std::vector<Complaint> &repeated );

// What every document and every answer begins with: the version of their shapes (docs/schema/), and whether
// all is well. The version grows when a program that reads them would have to change.
JsonOut document( bool ok );

// The text of a document on one line, or indented. Characters that a terminal obeys are escaped, and bytes
// that are no UTF-8 are replaced.
std::string jsonText( const JsonOut &json, bool indented = false );

std::string typeName( const Json &value );  // "a number", "an object", ...
std::string valueText( const Json &value ); // a string or a number as written, otherwise its type

} // namespace QuarraLab
