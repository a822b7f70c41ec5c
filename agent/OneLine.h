#pragma once

#include <cstddef>
#include <string>

namespace QuarraAgent {

// The text on one line, without control characters and without bytes that are no UTF-8: names that a message
// quotes may hold anything.
std::string oneLine( const std::string &text );

// The text without its middle, "..." in its place, when it has more than `most` bytes.
std::string shortened( const std::string &text, std::size_t most );

// A name as it stands in a table or a line of text: on one line, without its middle when it is very long.
std::string shortName( const std::string &name );

// "1 entry", "2 entries": the word in the number that fits.
std::string counted( std::size_t number, const std::string &one, const std::string &many );

// One line that a person can still read: what a message quotes may be endless, too.
std::string messageLine( const std::string &text );

} // namespace QuarraAgent
