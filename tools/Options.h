#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/ChipFile.h"

namespace QuarraTool {

using namespace QuarraLab;

// Exit codes of the command.
enum ExitCode { exitGood = 0, exitDoesNotFit = 1, exitBadInput = 2 };

// Options that every command takes.
struct GlobalOptions {
   bool json = false;
   bool pretty = false;
   std::string trace;
   std::string variant = "testSdk6";
   bool variantChosen = false;
   std::optional<std::string> chipFile;
   std::vector<std::string> failSdkCalls; // "N", "N:CODE", "FUNCTION:N[:CODE]"
   bool statistics = false;

   // The variant and chip that the options choose. Throws RequestRefused or InputError.
   ChipChoice choice() const;
};

struct ApplyOptions {
   std::string file;
   std::vector<std::string> map; // "TYPE=GROUP"
   bool bindings = false;        // an entry for a table without rules
};

struct SoakCommandOptions {
   U64 operations = 0; // 0: until the time is over
   std::optional<U64> seed;
   double seconds = 0; // 0: no limit
   U32 jobs = 1;
   bool print = false; // one episode's history instead
};

int runApply( const GlobalOptions &global, const ApplyOptions &options );
int runBatch( const GlobalOptions &global, const std::string &file );
int runSoak( const GlobalOptions &global, const SoakCommandOptions &command );
int runGroups( const GlobalOptions &global );
int runChips( const GlobalOptions &global );

} // namespace QuarraTool
