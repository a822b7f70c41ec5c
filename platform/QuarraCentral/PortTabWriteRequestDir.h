#pragma once

#include <vector>

#include "Nodra/Attributes.h"
#include "QuarraCentral/QuarraModPort.h"

namespace QuarraCentral {

// The port-table service's numbers of the tables that hold the source-trunk map: of the ingress field
// processor, and of the VLAN field processor.
inline constexpr U8 ifpSourceTrunkMapTable = 9;
inline constexpr U8 vfpSourceTrunkMapTable = 10;

// Names one word of a port table: 64 bits, from the low end the chip (16), the port's module id (16), the
// port (16) and the table (8).
class PortTabWriteRequestKey {
 public:
   PortTabWriteRequestKey( U16 chip, const QuarraModPort &port, U8 table )
      : chip_( chip ), port_( port ), table_( table ) {}

   U16 chip() const { return chip_; }
   const QuarraModPort &port() const { return port_; }
   U8 table() const { return table_; }
   U64 packed() const {
      return U64{ chip_ } | U64{ port_.modId().value() } << 16 | U64{ port_.port() } << 32 |
             U64{ table_ } << 48;
   }

   U32 hash() const {
      return Zev::spread( static_cast<U32>( packed() >> 32 ) ) ^ static_cast<U32>( packed() );
   }
   bool operator==( const PortTabWriteRequestKey &other ) const { return packed() == other.packed(); }

 private:
   U16 chip_;
   QuarraModPort port_;
   U8 table_;
};

// Requests to write words of the chip's port tables: posted here, applied by the port-table service. A
// request stays, as the record of the word's value, until another value is posted for its key.
class PortTabWriteRequestDir {
   ATTR_HASH_VALUES( request, PortTabWriteRequestKey, U32 );

 public:
   // Adds or replaces the request for `key`, and hands it to the service.
   void postRequest( const PortTabWriteRequestKey &key, U32 value ) {
      requestIs( key, value );
      posted_.push_back( key );
   }

   // The keys posted since the last call, oldest first: the service writes the current value of each.
   std::vector<PortTabWriteRequestKey> takePosted() { return std::exchange( posted_, {} ); }

 private:
   std::vector<PortTabWriteRequestKey> posted_;
};

} // namespace QuarraCentral
