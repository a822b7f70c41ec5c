#pragma once

#include <cstddef>
#include <string>

namespace QuarraAgent {

// The text on one line, without control characters and without bytes that are no UTF-8: names that a message
// quotes may hold anything.
std::string oneLine( const std::string &text );

// The text without its middle, "..." in its place, when it has more than `most` bytes.
std::string shortened( const std::string &text, std::size_t most );

// One line that a person can still read: what a message quotes may be endless, too.
std::string messageLine( const std::string &text );

} // namespace QuarraAgent
