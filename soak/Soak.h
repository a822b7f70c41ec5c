#pragma once

#include "soak/Episode.h"

// Episodes without end, in processes of their own: plain ones, or ones over which further processes die. What
// happens depends on the seed and the number of operations alone, not on the machine or on how many processes
// share the work.
namespace QuarraSoak {

struct SoakOptions {
   std::vector<const QuarraAgent::Variant *> variants; // in turn
   bool deaths = false;                                // of processes, which count as operations then
   U64 seed = 0;
   U64 operations = 0; // to the end of the episode that passes them; 0: until the time is over
   double seconds = 0; // at most; 0: no limit
   U32 jobs = 1;       // processes at a time
   std::chrono::seconds patience = std::chrono::seconds( 60 ); // with a process that ends no episode
};

struct SoakFailure {
   U64 seed; // of the piece of work: a soak with it and the variant begins with the failure
   const QuarraAgent::Variant *variant;
   std::string what; // the difference, or what the process said when it died
   History history;  // shortened; empty when it does not happen again
};

struct SoakResult {
   Tally tally;
   double seconds = 0;
   std::optional<SoakFailure> failure;
   std::string problem; // what kept the work from being done, if anything did
   int signal = 0;      // the signal that stopped it, if one did

   // What was asked was done, and nothing was found.
   bool good() const { return !failure && problem.empty() && !signal; }
};

// Ends at the first failure. `progress` is called now and then.
SoakResult soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress );

// Operations of one piece of work, which one process carries out; and deaths of one.
inline constexpr U32 operationsOfAPiece = 4000;
inline constexpr U32 deathsOfAPiece = 500;

} // namespace QuarraSoak
