#pragma once

#include <span>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/Options.h"

// The options that several commands take: they may stand before the command or behind it.
namespace QuarraTool {

struct CommonOptionRow {
   CommonOption option;
   const char *names; // as CLI11 takes them
   const char *help;
   const char *valueName;                                            // null for a flag
   bool severalTimes;                                                // a flag always may
   void ( *set )( GlobalOptions &global, const std::string &value ); // no value for a flag

   std::string longName() const; // "--json"
};

std::span<const CommonOptionRow> commonOptions();

// Adds a common option to the program or to a command. What is given lands in `global`, which must outlive
// `app`.
void addCommonOption( CLI::App &app, const CommonOptionRow &row, GlobalOptions &global );

} // namespace QuarraTool
