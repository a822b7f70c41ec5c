#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/ChipFile.h"

namespace QuarraTool {

using namespace QuarraLab;

// Exit codes of the command.
enum ExitCode {
   exitGood = 0,
   exitDoesNotFit = 1, // or does not match, or did not happen though it was asked for
   exitBadInput = 2,
   exitFitsWithAGap = 3, // a plan: only with wrong matches on the way, or after a reload
   exitNotWritten = 4,   // standard output, or a file, did not take all of it
   exitNoSwitch = 5,     // the switch that lasts cannot be used, or did not take a write
};

// Options that several commands take.
enum class CommonOption {
   json,
   pretty,
   statistics,
   variant,
   chip,
   switchDir,
   sync,
   cold,
   failSdkCall,
   trace
};

// What they say.
struct GlobalOptions {
   bool json = false;
   bool pretty = false; // indents the document; asks for one, too
   bool statistics = false;
   std::string variant = "testSdk6";
   bool variantChosen = false;
   std::optional<std::string> chipFile;
   std::optional<std::string> switchDir;  // of a switch that lasts (tools/OpenSwitch.h)
   bool sync = false;                     // it survives a loss of power, too
   bool cold = false;                     // it starts anew
   std::vector<std::string> failSdkCalls; // "N", "N:CODE", "FUNCTION:N[:CODE]"
   std::vector<std::string> trace;        // "HANDLE/LEVELS[,...]"

   // The variant and chip that the options choose. Throws RequestRefused or InputError.
   ChipChoice choice() const;

   std::vector<SdkCallFailure> failures() const; // throws InputError

   // Standard input holds one file: throws InputError where several of these and the chip file are "-".
   void checkStandardInput( const std::vector<std::vector<std::string>> &named ) const;
};

} // namespace QuarraTool
