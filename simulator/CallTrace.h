#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "Nodra/Trace.h"

// What the SDK's functions were called with, at level 5 of the trace handle "SimulatedChip": the caller's own
// trace has the text of the call, which names variables.
namespace QuarraSimulator {

extern Nodra::TraceHandle chipTrace;

// A list as the functions take it.
struct NumberList {
   std::uint32_t count;
   const std::uint32_t *numbers; // may be null when there is none
};

std::ostream &operator<<( std::ostream &stream, const NumberList &list );

// Traces "FUNCTION( 0, 14, { 1, 2 } )". Arguments that the function fills in are left out.
template <typename First, typename... Others>
void traceArguments( std::string_view function, const First &first, const Others &...others ) {
   NODRA_TRACE( chipTrace, 5,
                function << "( " << first << ( std::string() + ... + ( ", " + Nodra::toText( others ) ) )
                         << " )" );
}

} // namespace QuarraSimulator
