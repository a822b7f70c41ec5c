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

bool AgentLock::heldByThisThread() const {
   return holder_ == std::this_thread::get_id();
}

AgentLock &interpreterLock() {
   static AgentLock lock;
   return lock;
}

AgentLock &activityLock() {
   static AgentLock lock;
   return lock;
}

LocksReleased::LocksReleased()
   : interpreter_( interpreterLock().heldByThisThread() ), activity_( activityLock().heldByThisThread() ) {
   if ( interpreter_ ) {
      interpreterLock().release();
   }
   if ( activity_ ) {
      activityLock().release();
   }
}

LocksReleased::~LocksReleased() {
   if ( activity_ ) {
      activityLock().take();
   }
   if ( interpreter_ ) {
      interpreterLock().take();
   }
}

} // namespace Nodra
