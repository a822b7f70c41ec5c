#pragma once

#include <set>
#include <string>
#include <vector>

#include "tools/Batch.h"

// Bad input: the cases that are listed in data/badInputs.jsonl, and what a refusal looks like.
namespace QuarraTest {

// A listed case: the fields of its line, over those of the heading before it.
//   "json", "text", "parts"      the input: a value, raw text, or pieces: text, { "bytes" } in hexadecimal
//   digits,
//                                { "times", "of" }
//   "frame"                      a value; the input stands where it has the string "~"
//   "prelude"                    the lines before it (kept by the headings that follow)
//   "code", "says"               of the refusal: its code, and a part of its message
struct BadInput {
   std::string group;
   std::string kind;
   std::string text;
   QuarraLab::JsonOut fields;

   std::string field( const std::string &name ) const; // empty when it has none
   std::string where() const;                          // for messages: group and input, shortened
};

std::vector<BadInput> badInputs( const std::string &kind );
std::vector<BadInput> allBadInputs();

// The error codes that docs/tool.md lists.
const std::set<std::string> &documentedCodes();

std::string fileText( const std::string &file ); // below the root of the repository

// The texts of all files in a folder, in order of their names.
std::vector<std::string> textsIn( const std::string &folder );

// "" when `text` may be printed as one line, otherwise what is wrong.
std::string lineProblem( const std::string &text );

// "" when the answer to a batch line is JSON with "ok", or a one-line error of a documented code.
std::string answerProblem( const QuarraLab::JsonOut &answer );

} // namespace QuarraTest
