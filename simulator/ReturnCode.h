#pragma once

#include "simulator/Export.h"

namespace QuarraSimulator {

// What the simulated SDK's functions return.
namespace Code {

enum Value : int {
   ok = 0,
   internal = -1,
   memory = -2,
   unit = -3,
   parameter = -4,
   empty = -5,
   full = -6,
   notFound = -7,
   exists = -8,
   timeout = -9,
   busy = -10,
   failure = -11,
   unavailable = -12,
   conflict = -13,
};

} // namespace Code

// The text of any return code: "Ok" from 0 up, "Unknown error" for a negative code that is none of the above.
QUARRA_SIMULATOR_API const char *errorText( int code );

} // namespace QuarraSimulator
