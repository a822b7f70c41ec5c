#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "simulator/SimulatedChip.h"

namespace QuarraSimulator {

class LogicalTables;
class SubportGroups;

// What differs between the generations of the chip: where the ports' ACL-group values live, and which SDK
// functions reach them.
class Backend {
 public:
   virtual ~Backend() = default;

   // The tables behind the SDK functions of one generation. Null on the others, which do not have the
   // functions (unavailable).
   virtual SubportGroups *subportGroups() { return nullptr; }
   virtual LogicalTables *logicalTables() { return nullptr; }

   // The number under which the chip looks up a port's ACL-group value, and the value kept there.
   virtual U32 aclGroupPort( const QuarraCentral::QuarraModPort &port ) const = 0;
   virtual AclGroupValue aclGroup( U32 port ) const = 0;

   // Sets the value past the SDK; and whether the port has an entry of its own in a table.
   virtual void aclGroupIs( U32 port, const AclGroupValue &value ) = 0;
   virtual bool hasTableEntry( U32 ) const { return false; }

   // As the operations of SimulatedChip.
   virtual U64 writesOfABit( U32 port ) const = 0;
   virtual std::vector<U32> portsWithAclGroup() const = 0;
   virtual std::vector<U32> tableEntries() const = 0;
   virtual std::vector<std::string> liveHandleTexts() const = 0;
   virtual void print( std::ostream &out ) const = 0; // its part of the digest
};

// The backend of a generation. Aborts when the ACL-group value is wider than the generation has it.
std::unique_ptr<Backend> sdk6Backend( const ChipOptions &options );
std::unique_ptr<Backend> hsdkBackend( const ChipOptions &options );
std::unique_ptr<Backend> makeBackend( const ChipOptions &options );

// The lowest `size` bits of a value.
Vesk::Bitmap bitmapOf( const AclGroupValue &value, U32 size );

} // namespace QuarraSimulator
