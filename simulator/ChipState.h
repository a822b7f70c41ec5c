#pragma once

#include <optional>

#include "simulator/Backend.h"
#include "simulator/CallLog.h"
#include "simulator/PortTables.h"
#include "simulator/SubportGroups.h"
#include "simulator/Tcam.h"

namespace QuarraSimulator {

// All of a chip behind the shim and the SDK's functions.
class ChipState {
 public:
   explicit ChipState( ChipOptions chipOptions );

   // Makes one call of an SDK function: counts it, fails it when that was asked for or when it names another
   // unit (unit), and only then does its work. Without a unit it takes any. Then the observer is told.
   // `failed` is told when the call was failed by request.
   template <typename Operation, typename Failed = void ( * )( ChipState & )>
   int call(
      std::size_t function, std::optional<int> unit, Operation operation,
      Failed failed = []( ChipState & ) {} ) {
      seen.entry = 0;
      seen.ports.clear();
      int code = calls.enter( function );
      if ( code ) {
         failed( *this );
      } else {
         code = unit && *unit != options.unit ? int{ Code::unit } : operation( *this );
      }
      if ( observer ) {
         tellObserver( function, code );
      }
      return code;
   }

   // For the operations: what they wrote. wroteEntry() takes a return code, and gives it back.
   void wrotePort( U32 port );
   void wrotePorts( const SubportGroups::Ports &ports );
   int wroteEntry( U32 entry, int code );

   // The ACL-group value of a port, by its number, from the source or else from the backend.
   AclGroupValue aclGroup( U32 port ) const;

   const ChipOptions options;
   const std::unique_ptr<Backend> backend;
   CallLog calls;
   Tcam tcam;
   PortTables portTables;
   U64 portWrites = 0;
   std::set<U32> failedLookUps;
   AclGroupSource aclGroupSource;
   Observer observer;

   std::array<bcm_pbmp_t, 5> pbmps; // in the order of Sdk::PbmpKind

 private:
   void tellObserver( std::size_t function, int code );

   SdkCallSeen seen;
};

// Reading back what a chip holds.
std::unique_ptr<Sdk::ReadBack> makeReadBack( const ChipState &chip );

// The chip that lives, or null. Set by SimulatedChip.
ChipState *&installedChip();

// One call of an SDK function on the chip that lives. Without a chip there is no unit.
template <typename Operation, typename... Failed>
int callChip( std::size_t function, std::optional<int> unit, Operation operation, Failed... failed ) {
   ChipState *const chip = installedChip();
   return chip ? chip->call( function, unit, operation, failed... ) : int{ Code::unit };
}

} // namespace QuarraSimulator
