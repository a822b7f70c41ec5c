#pragma once

#include <string>

namespace QuarraAgent {

// The text on one line, without control characters: names that a message quotes may hold anything.
std::string oneLine( const std::string &text );

} // namespace QuarraAgent
