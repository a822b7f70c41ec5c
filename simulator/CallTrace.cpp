#include "simulator/CallTrace.h"

namespace QuarraSimulator {

Nodra::TraceHandle chipTrace( "SimulatedChip" );

std::ostream &operator<<( std::ostream &stream, const NumberList &list ) {
   stream << "{";
   for ( std::uint32_t i = 0; list.numbers && i < list.count; ++i ) {
      stream << ( i ? ", " : " " ) << list.numbers[ i ];
   }
   return stream << " }";
}

} // namespace QuarraSimulator
