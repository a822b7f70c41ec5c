#include "Nodra/Locks.h"

#include "Nodra/Assert.h"

namespace Nodra {

void AgentLock::take() {
   NODRA_ASSERT( !heldByThisThread() );
   mutex_.lock();
   holder_ = std::this_thread::get_id();
}

void AgentLock::release() {
   NODRA_ASSERT( heldByThisThread() );
   holder_ = std::thread::id();
   mutex_.unlock();
}

AgentLock theInterpreterLock;
AgentLock theActivityLock;

} // namespace Nodra
