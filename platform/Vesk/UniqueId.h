#pragma once

#include <string>

#include "Nodra/Export.h"
#include "Nodra/Types.h"

namespace Vesk {

// An identifier that no other one of the process equals. The ids count up from 1.
class NODRA_API UniqueId {
 public:
   UniqueId();

   std::string toStrep() const { return std::to_string( value_ ); }

   // The id made last, 0 before the first.
   static Nodra::Types::U64 latest();

   // The next id will be the one after `latest`: for a process that starts its agent afresh, or goes on where
   // another one ended.
   static void restart( Nodra::Types::U64 latest = 0 );

 private:
   Nodra::Types::U64 value_;
};

} // namespace Vesk
