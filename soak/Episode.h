#pragma once

#include <chrono>
#include <functional>

#include "soak/Trial.h"

// One run of random operations on a switch and its model, its history, and what it covered.
namespace QuarraSoak {

using Clock = std::chrono::steady_clock;

struct Tally {
   U64 operations = 0; // where processes die: their deaths
   U64 episodes = 0;   // each on a chip of its own, and back to the state after set-up
   std::map<std::string, U64>
      outcomes = {}; // operations by "ok" or the refusal's code; deaths by what followed
   std::map<std::string, U64> places = {}; // deaths by where they were, and what else happened to the store
   std::vector<U64> events = std::vector<U64>( static_cast<std::size_t>( Event::count ) );

   void add( const Tally &other );

   // One line of text, for another process, and the tally of such a line; none for another text.
   std::string line() const;
   static std::optional<Tally> ofLine( const std::string &line );
};

// Gets each line of a history before it is carried out.
using Record = std::function<void( const std::string &line )>;

// A chip is drawn, operations are carried out, and everything is removed again. Adds to the tally, and gives
// the first difference or an empty text. When the time is over it stops, and is no whole episode.
std::string playEpisode( const QuarraAgent::Variant &variant, Choices &choices, U32 maxOperations,
                         Tally &tally, const Record &record,
                         Clock::time_point end = Clock::time_point::max() );

// The lines that playEpisode records: the chip, then the operations.
using History = std::vector<std::string>;

// The chip of the first line.
ChipChoice chipOf( const History &history );

// Gives the first difference, or an empty text.
std::string replay( const History &history );

// Leaves out ever smaller runs of operations as long as the rest still fails.
void shorten( History &history, const std::function<bool( const History & )> &fails );

} // namespace QuarraSoak
