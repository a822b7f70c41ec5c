#pragma once

#include "soak/Trial.h"

// What one process does with the directory of a switch that lasts, up to its end or its death.
namespace QuarraSoak {

// The moments at which a process may die.
enum class Step { beforeSdkCall, afterSdkCall, beforeCommit, afterCommit };
std::string nameOf( Step step );

struct Life {
   const ChipChoice &choice;
   std::string dir; // of the switch
   // Dies by SIGKILL at the step of this number, counted from the process's start; 0: it lives to its end.
   U64 stepsToLive = 0;
};

// How a life ended, for the process that started it.
struct LifeEnd {
   std::string diedAt = {};  // the step's name; empty when it lived
   U64 steps = 0;            // when it lived: how many there were
   std::string restart = {}; // "nothingInFlight", "undone", "done", or "refused"
   std::string refusal = {}; // why the store was refused
   std::string
      difference = {}; // what was found wrong; the end of a process that ended otherwise is wrong, too

   bool good() const { return difference.empty(); }
};

// An operation over which processes die: what the model is before and after it.
struct DeadlyOperation {
   const Operation &operation;
   const Model &before;
   const Model &after;
   Outcome outcome;
   Hint hint;
};

// A process that opens or makes the switch and carries operations out; the model is that of afterwards.
LifeEnd prepare( const Life &life, const std::vector<Operation> &operations, const Model &model );

// A process that carries the operation out.
LifeEnd carryOut( const Life &life, const DeadlyOperation &deadly );

// A process that takes over from one that died over the operation. All state must be that before or after it,
// as the answer says, and between any two SDK calls nothing else may change what it matches. Then the
// operation is asked for again where it was undone.
LifeEnd takeOver( const Life &life, const DeadlyOperation &deadly );

} // namespace QuarraSoak
