#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "agent/OneLine.h"

namespace QuarraLab {

// Bad input: where it is and what was expected. what() is one line: "FILE:LINE:COLUMN: message" for a JSON
// syntax error, "FILE: PLACE: message" for a wrong value, e.g. `acl.json: ACL_TABLE|DATAACL.ports[2]: port
// "Ethernet9" is not in PORT`.
class InputError : public std::runtime_error {
 public:
   explicit InputError( const std::string &message );
};

// Several at once, each a line. what() is the first.
class InputErrors : public InputError {
 public:
   explicit InputErrors( const std::vector<std::string> &messages ); // at least one

   const std::vector<std::string> &lines() const { return lines_; }

 private:
   std::vector<std::string> lines_;
};

// The bytes of a file, or of standard input for "-", as they come. Everything that goes wrong throws
// InputError with the file's name.
class InputFile {
 public:
   explicit InputFile( const std::string &file );
   ~InputFile();
   InputFile( const InputFile & ) = delete;
   InputFile &operator=( const InputFile & ) = delete;

   const std::string &name() const { return name_; } // for messages

   // Adds to `text` what can be read at once, and waits when there is nothing yet. False at the end.
   bool readMore( std::string &text );

   [[noreturn]] void refuse( const std::string &what ) const;

 private:
   std::string name_;
   int descriptor_;
};

// Everything that a file holds; "-" is standard input. Throws InputError when it cannot be read, and when it
// holds more than any input of ours.
std::string readText( const std::string &file );

// The lines of a file, each as soon as it is there; "-" is standard input.
class LineReader {
 public:
   explicit LineReader( const std::string &file ) : file_( file ) {}

   // The next line without its end; a last one needs none. Nothing at the end of the file. Throws InputError
   // when it cannot be read, and for a line that is too long.
   std::optional<std::string> next();

 private:
   InputFile file_;
   std::string read_;
   std::size_t start_ = 0;    // of the next line in read_
   std::size_t searched_ = 0; // no line end before this
   std::size_t number_ = 0;   // of the last line
};

using QuarraAgent::messageLine;
using QuarraAgent::oneLine;
using QuarraAgent::shortName;

} // namespace QuarraLab
