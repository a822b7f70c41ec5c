#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace QuarraTool {

// Something that was printed did not arrive. what() is one line.
class OutputError : public std::runtime_error {
 public:
   explicit OutputError( int error ); // an errno

   // Whoever read has gone: no fault of anybody, so nothing is said about it.
   bool readerIsGone() const { return readerIsGone_; }

 private:
   bool readerIsGone_;
};

// Standard output. Every command prints through it, and none exits with 0 before close() has found that all of
// it was taken. Text is kept until there is enough for a write, so whoever waits for a reader's answer, or
// forks, flushes first. What is kept when an Output goes without close() is lost.
class Output {
 public:
   explicit Output( int descriptor ) : descriptor_( descriptor ) {}
   Output( const Output & ) = delete;
   Output &operator=( const Output & ) = delete;

   // All three throw OutputError.
   void print( std::string_view text );
   void flush();
   void close(); // closes the descriptor, too: some file systems tell only then

   bool isTerminal() const;

 private:
   int descriptor_;
   std::string kept_;
};

} // namespace QuarraTool
