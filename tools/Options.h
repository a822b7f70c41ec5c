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
   exitNotWritten = 4, // standard output, or a file, did not take all of it
};

// Options that several commands take.
enum class CommonOption { json, pretty, statistics, variant, chip, failSdkCall, trace };

// What they say.
struct GlobalOptions {
   bool json = false;
   bool pretty = false; // indents the document; asks for one, too
   bool statistics = false;
   std::string variant = "testSdk6";
   bool variantChosen = false;
   std::optional<std::string> chipFile;
   std::vector<std::string> failSdkCalls; // "N", "N:CODE", "FUNCTION:N[:CODE]"
   std::vector<std::string> trace;        // "HANDLE/LEVELS[,...]"

   // The variant and chip that the options choose. Throws RequestRefused or InputError.
   ChipChoice choice() const;
};

} // namespace QuarraTool
