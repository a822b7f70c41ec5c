#include "Vesk/UniqueId.h"

#include <atomic>

namespace Vesk {
namespace {

std::atomic<Nodra::Types::U64> last = 0;

} // namespace

UniqueId::UniqueId() : value_( ++last ) {}

Nodra::Types::U64 UniqueId::latest() {
   return last;
}

void UniqueId::restart( Nodra::Types::U64 latest ) {
   last = latest;
}

} // namespace Vesk
