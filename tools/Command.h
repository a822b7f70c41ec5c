#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/Options.h"
#include "tools/Output.h"

namespace QuarraTool {

// One command of quarra-tcam. Each is a file of its own that defines one of the constants below; the list in
// main.cpp makes it known.
struct Command {
   // Carries the command out and gives the exit code. What is wrong with its input it throws: InputError,
   // RequestRefused.
   using Run = std::function<int( const GlobalOptions &global, Output &out )>;

   const char *name;
   const char *description;
   std::vector<CommonOption> takes; // others are refused

   // Adds the options that only this command has, and a footer to its help. The result runs it.
   Run ( *options )( CLI::App &app );

   // Where a refusal of these words is to be told in another way than others: tells it, and gives the exit
   // code.
   std::optional<int> ( *refusal )( const std::vector<std::string> &words, const std::string &problem,
                                    Output &out ) = nullptr;
};

extern const Command applyCommand;
extern const Command auditCommand;
extern const Command batchCommand;
extern const Command checkCommand;
extern const Command chipsCommand;
extern const Command damageCommand;
extern const Command dumpCommand;
extern const Command groupsCommand;
extern const Command diffCommand;
extern const Command planCommand;
extern const Command repairCommand;
extern const Command restartCommand;
extern const Command soakCommand;
extern const Command switchCommand;
extern const Command usageCommand;
extern const Command whoCommand;
extern const Command whyCommand;

} // namespace QuarraTool
