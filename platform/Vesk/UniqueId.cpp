#include "Vesk/UniqueId.h"

#include <atomic>

namespace Vesk {
namespace {

std::atomic<Nodra::Types::U64> last = 0;

} // namespace

UniqueId::UniqueId() : value_( ++last ) {}

void UniqueId::restart() {
   last = 0;
}

} // namespace Vesk
