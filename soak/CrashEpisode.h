#pragma once

#include "soak/Episode.h"

// Histories on a switch that lasts, over whose operations processes die. `scratch` is a directory that the
// episode may fill and leaves empty.
namespace QuarraSoak {

// A chip is drawn, processes die over the making of the switch, some operations are carried out, and over
// each of the next ones a process dies at every step: before and after every SDK call and every commit of the
// store. After each death another process takes over; some of these die in their turn, and some find a store
// that is torn or damaged. Adds to the tally, in which an operation is a death, and gives the first
// difference or an empty text.
std::string playCrashEpisode( const QuarraAgent::Variant &variant, Choices &choices, Tally &tally,
                              const Record &record, Clock::time_point end, const std::string &scratch );

// Lets processes die over the last operation of the history. Gives the first difference, or an empty text.
std::string replayCrash( const History &history, const std::string &scratch );

} // namespace QuarraSoak
