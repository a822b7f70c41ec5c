#pragma once

#include <stdexcept>

#include "Nodra/Export.h"

namespace Nodra {

// A value outside the range of its type. The only exception that the framework and the library raise on
// purpose.
class NODRA_API RangeError : public std::range_error {
 public:
   using std::range_error::range_error;
};

} // namespace Nodra
