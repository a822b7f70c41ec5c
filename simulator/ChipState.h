#pragma once

#include <optional>

#include "simulator/CallLog.h"
#include "simulator/LogicalTables.h"
#include "simulator/PortTables.h"
#include "simulator/Tcam.h"

namespace QuarraSimulator {

// What an SDK function names or needs of a chip; nothing where it takes any.
struct CallTarget {
   std::optional<int> unit = {};
   std::optional<Generation> generation = {};
};

// All of a chip behind the shim and the SDK's functions.
class ChipState {
 public:
   explicit ChipState( ChipOptions chipOptions );

   // Makes one call of an SDK function: counts it, fails it when that was asked for, when it names another
   // unit (unit) or is one of the other generation (unavailable), and only then does its work.
   template <typename Operation>
   int call( std::size_t function, const CallTarget &target, Operation operation ) {
      const int failure = calls.enter( function );
      const int code = failure ? failure : check( target );
      return code ? code : operation( *this );
   }

   // Bit of the ACL-group value of a port (HSDK: system port), below aclGroupBits.
   bool aclGroupBit( U32 port, U32 bit ) const;
   Vesk::Bitmap aclGroup( U32 port ) const; // all of them

   // The port under which the chip looks up a port's ACL-group value.
   U32 aclGroupPort( const QuarraCentral::QuarraModPort &port ) const;

   const ChipOptions options;
   CallLog calls;
   Tcam tcam;
   PortTables portTables;
   LogicalTables logicalTables;

   std::array<bcm_pbmp_t, 5> pbmps; // in the order of Sdk::PbmpKind

 private:
   int check( const CallTarget &target ) const;
};

// The chip that lives, or null. Set by SimulatedChip.
ChipState *&installedChip();

// One call of an SDK function on the chip that lives. Without a chip there is no unit.
template <typename Operation>
int callChip( std::size_t function, const CallTarget &target, Operation operation ) {
   ChipState *const chip = installedChip();
   return chip ? chip->call( function, target, operation ) : Code::unit;
}

} // namespace QuarraSimulator
