#pragma once

#include "soak/Soak.h"

// Every history to a depth, in tiny worlds.
namespace QuarraSoak {

struct ExhaustiveOptions {
   std::vector<const QuarraAgent::Variant *> variants;
   U32 depth = 0;        // operations of the longest history
   U64 states = 0;       // as many different ones in all are enough; 0: no limit
   double seconds = 0;   // at most; 0: no limit
   U32 jobs = 1;         // processes at a time
   U32 restartOneIn = 1; // of so many new states one is reached once more, with a restart after each step
   std::chrono::seconds patience = std::chrono::seconds( 120 ); // with a process that tells nothing
};

struct WorldResult {
   const QuarraAgent::Variant *variant;
   std::string world;
   std::string groups;
   U32 operations = 0; // that can be asked for
   U32 depth = 0;      // every history of so many of them was carried out
   U64 states = 0;     // that are different, the first one among them
   U64 histories = 0;  // carried out: the shortest one of a state, and one operation more
   U64 restarts = 0;   // histories with a restart after each step
};

struct ExhaustiveResult {
   std::vector<WorldResult> worlds;
   double seconds = 0;
   bool whole = false; // every world to the depth
   std::optional<SoakFailure> failure;
   std::string problem;
   int signal = 0;

   U64 states() const;
   bool good() const { return !failure && problem.empty() && !signal; }
};

// Goes through the worlds in turn, a depth at a time. A state is known by its text; each is reached by its
// shortest history, and from each every operation is carried out, library, agent and chip compared with the
// model after it, and what matches watched between its SDK calls. Ends at the first failure. `progress` is
// called now and then.
ExhaustiveResult exhaust( const ExhaustiveOptions &options,
                          const std::function<void( const ExhaustiveResult & )> &progress );

} // namespace QuarraSoak
