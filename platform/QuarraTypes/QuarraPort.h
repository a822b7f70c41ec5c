#pragma once

#include <compare>
#include <ostream>

#include "Nodra/RangeError.h"
#include "Nodra/Types.h"

namespace QuarraTypes {

using namespace Nodra::Types;

// The agent's chip port. The default one is the invalid port, which a look-up that finds nothing gives.
class QuarraPort {
 public:
   static constexpr U16 defaultPort = 1023;
   static constexpr U16 invalidModId = 0xdead;
   static constexpr U16 invalidChip = 0xffff;

   QuarraPort() = default;
   QuarraPort( U16 modId, U16 chip, U16 logicalPort, U16 subport )
      : modId_( modId ), chip_( chip ), subport_( subport ) {
      logicalPortIs( logicalPort );
   }

   U16 modId() const { return modId_; }
   U16 chip() const { return chip_; }
   U16 logicalPort() const { return logicalPort_; }
   U16 subport() const { return subport_; }

   void logicalPortIs( U16 port ) {
      if ( port > defaultPort ) {
         throw Nodra::RangeError( "QuarraTypes::QuarraPort::logicalPort < 0 or > "
                                  "QuarraTypes::QuarraPort::defaultPort not allowed" );
      }
      logicalPort_ = port;
   }

   // The four fields in one word, the module id lowest: the order of ports is the order of these words.
   U64 packed() const {
      return U64{ modId_ } | U64{ chip_ } << 16 | U64{ logicalPort_ } << 32 | U64{ subport_ } << 48;
   }
   bool operator==( const QuarraPort &other ) const { return packed() == other.packed(); }
   auto operator<=>( const QuarraPort &other ) const { return packed() <=> other.packed(); }

   friend std::ostream &operator<<( std::ostream &out, const QuarraPort &port ) {
      return out << port.modId_ << '/' << port.chip_ << '/' << port.logicalPort_ << '/' << port.subport_;
   }

 private:
   U16 modId_ = invalidModId;
   U16 chip_ = invalidChip;
   U16 logicalPort_ = defaultPort;
   U16 subport_ = 0;
};

} // namespace QuarraTypes
