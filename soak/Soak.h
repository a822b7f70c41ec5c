#pragma once

#include <functional>

#include "soak/Trial.h"

// Random operations on switch and model, for as long as one likes. What happens depends on the seed and the
// number of operations alone, not on the machine or on how many processes share the work.
namespace QuarraSoak {

struct Tally {
   U64 operations = 0;
   U64 episodes = 0;                         // each on a chip of its own, and back to the state after set-up
   std::map<std::string, U64> outcomes = {}; // operations by "ok" or the refusal's code
   std::vector<U64> events = std::vector<U64>( static_cast<std::size_t>( Event::count ) );

   void add( const Tally &other );
};

// One episode: a chip is drawn, operations are carried out, and everything is removed again. Adds to the
// tally, hands each line of the history to `record` before it is carried out, and gives the first difference
// or an empty text.
using Record = std::function<void( const std::string &line )>;
std::string playEpisode( const QuarraAgent::Variant &variant, Choices &choices, U32 maxOperations,
                         Tally &tally, const Record &record );

// The lines that playEpisode records: the chip, then the operations.
using History = std::vector<std::string>;

// Gives the first difference, or an empty text.
std::string replay( const History &history );

// Leaves out ever smaller runs of operations as long as the rest still fails.
void shorten( History &history, const std::function<bool( const History & )> &fails );

struct SoakOptions {
   std::vector<const QuarraAgent::Variant *> variants; // in turn
   U64 seed = 0;
   U64 operations = 0; // at least; 0: until the time is over
   double seconds = 0; // at most; 0: no limit
   U32 jobs = 1;       // processes at a time
};

struct SoakFailure {
   U64 seed; // of the piece of work: a soak with it and the variant begins with the failure
   const QuarraAgent::Variant *variant;
   std::string what; // the difference, or what the process said when it died
   History history;  // shortened
};

struct SoakResult {
   Tally tally;
   double seconds = 0;
   std::optional<SoakFailure> failure;
};

// Ends at the first failure. `progress` is called now and then.
SoakResult soak( const SoakOptions &options, const std::function<void( const SoakResult & )> &progress );

// Operations of one piece of work, which one process carries out.
inline constexpr U32 operationsOfAPiece = 4000;

} // namespace QuarraSoak
