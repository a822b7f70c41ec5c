#pragma once

#include <optional>
#include <vector>

#include "QuarraCentral/QuarraModPort.h"
#include "Sdk/QualifierFrame.h"

namespace Sdk {

using namespace Nodra::Types;

// A TCAM entry as the chip holds it.
struct FieldEntry {
   enum class Qualifier { none, aclGroup, interfaceClassPort };

   QualifierFrame frame = {};
   bool installed = false;
   Qualifier qualifier = Qualifier::none;
   std::vector<U32> dataBits = {}; // aclGroup: positions in the ports' value, rising
   std::vector<U32> maskBits = {};
   U32 data = 0; // interfaceClassPort
   U32 mask = 0;

   bool operator==( const FieldEntry & ) const = default;
};

// Reading back what a chip holds, where the functions that the library calls have no way to: an SDK may offer
// it through its shim. Nothing here changes the chip.
class ReadBack {
 public:
   virtual ~ReadBack() = default;

   virtual std::vector<U32> fieldEntries( int unit ) const = 0; // ids, rising
   virtual std::optional<FieldEntry> fieldEntry( int unit, U32 entry ) const = 0;

   // Ports that are members of a subport port group, rising; none on chips without these groups.
   virtual std::vector<U32> subportPortGroupMembers( int unit, U32 group ) const = 0;

   virtual U32 portTableGet( int unit, U8 table, const QuarraCentral::QuarraModPort &port ) const = 0;
};

} // namespace Sdk
