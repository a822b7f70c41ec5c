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

   // The next id will be 1 again: for a process that starts its agent afresh.
   static void restart();

 private:
   Nodra::Types::U64 value_;
};

} // namespace Vesk
