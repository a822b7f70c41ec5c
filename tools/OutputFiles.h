#pragma once

#include <string>
#include <vector>

#include "tools/Options.h"

namespace QuarraTool {

// A file that an option asks to be written; an empty name for none.
struct OutputFile {
   std::string option;
   std::string file;
};

// Files that a run reads: those named, the chip file, and those of the switch that lasts.
std::vector<std::string> filesRead( const GlobalOptions &global,
                                    const std::vector<std::vector<std::string>> &named );

// Throws InputError for outputs that are one file, for one that is a file of `read`, and for "-": standard
// output has what the command prints.
void checkOutputs( const std::string &command, const std::vector<OutputFile> &outputs,
                   const std::vector<std::string> &read );

} // namespace QuarraTool
