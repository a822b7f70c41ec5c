#pragma once

#include "QuarraCentral/ModId.h"
#include "Zev/Hash.h"

namespace QuarraCentral {

// A port of a chip: the chip's module id and the port's number on it. Ordered by module, then port.
class QuarraModPort {
 public:
   QuarraModPort() = default;
   QuarraModPort( ModId modId, U10 port ) : modId_( modId ), port_( port ) {}

   ModId modId() const { return modId_; }
   U16 port() const { return port_; }

   U32 hash( U32 seed ) const { return Zev::spread( packed() ^ seed * 0x9e3779b9u ); }

   bool operator==( const QuarraModPort &other ) const { return packed() == other.packed(); }
   auto operator<=>( const QuarraModPort &other ) const { return packed() <=> other.packed(); }

   friend std::ostream &operator<<( std::ostream &out, const QuarraModPort &port ) {
      return out << port.modId_ << '/' << port.port();
   }

 private:
   U32 packed() const { return U32{ modId_.value() } << 16 | U32{ port_ }; }

   ModId modId_;
   U10 port_;
};

} // namespace QuarraCentral
