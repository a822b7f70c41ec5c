#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace QuarraTool {

// Something that was printed or written did not arrive. what() is one line.
class OutputError : public std::runtime_error {
 public:
   OutputError( const std::string &where, int error ); // an errno

   // Whoever read has gone: no fault of anybody, so nothing is said about it.
   bool readerIsGone() const { return readerIsGone_; }

 private:
   bool readerIsGone_;
};

// Standard output. Every command prints through it, and none exits with 0 before close() has found that all
// of it was taken. Text is kept until there is enough for a write, so whoever waits for a reader's answer, or
// forks, flushes first. What is kept when an Output goes without close() is lost.
class Output {
 public:
   explicit Output( int descriptor, std::string name = "standard output" )
      : descriptor_( descriptor ), name_( std::move( name ) ) {}
   Output( const Output & ) = delete;
   Output &operator=( const Output & ) = delete;

   // All three throw OutputError.
   void print( std::string_view text );
   void flush();
   void close(); // closes the descriptor, too: some file systems tell only then

   bool isTerminal() const;

 private:
   int descriptor_;
   std::string name_; // for messages
   std::string kept_;
};

// The file that is written where `file` is named: links are followed, to one that is not there yet, too.
std::filesystem::path whatIsWritten( const std::string &file );

// Writes a file as a whole: when it throws OutputError, what was there before is still there. What is no
// file, like a device, is written to as it stands.
void writeFile( const std::string &file, std::string_view text );

} // namespace QuarraTool
