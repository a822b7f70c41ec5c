#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/Salvage.h"

namespace QuarraLab {

using namespace Nodra::Types;

// What became of the entries when a switch started cold.
struct ColdStarted {
   struct Refused {
      QuarraAgent::InstallRequest request;
      std::string code;
      std::string message;
   };
   std::string why;              // the store was of no use; empty: it was sound
   bool chipWasReset = false;    // its tables were of no use either, and it holds nothing
   U64 taken = 0;                // entries that the chip held, and does no longer
   U64 back = 0;                 // entries that came back
   U64 unreadable = 0;           // rows of the store that could not be read; others may be missing, too
   std::vector<Refused> refused; // entries that could be read, but do not fit
};

// Puts entries that a store held onto an agent that has just started, in the order in which they came, and
// the groups that were created. Refused ones are told.
void bringBack( QuarraAgent::TcamAgent &agent, const QuarraAgent::Salvaged &salvaged, ColdStarted &result );

} // namespace QuarraLab
