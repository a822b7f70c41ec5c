#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "Nodra/Export.h"

namespace Nodra {

// A lock that knows whether the calling thread holds it. Not recursive.
class NODRA_API AgentLock {
 public:
   void take();
   void release();
   bool heldByThisThread() const {
      const auto holder = holder_.load( std::memory_order_relaxed );
      return holder != std::thread::id() && holder == std::this_thread::get_id();
   }

 private:
   std::mutex mutex_;
   std::atomic<std::thread::id> holder_{};
};

// The two locks of an agent process: the interpreter's, held while scripted code runs, and the activity lock,
// held by the main thread while it works. A thread that calls into the chip gives both up for the time of the
// call.
extern NODRA_API AgentLock theInterpreterLock;
extern NODRA_API AgentLock theActivityLock;
inline AgentLock &interpreterLock() {
   return theInterpreterLock;
}
inline AgentLock &activityLock() {
   return theActivityLock;
}

// Releases both locks, as far as this thread holds them, and takes the same ones again at the end of its
// scope.
class LocksReleased {
 public:
   LocksReleased()
      : interpreter_( interpreterLock().heldByThisThread() ), activity_( activityLock().heldByThisThread() ) {
      if ( interpreter_ ) {
         interpreterLock().release();
      }
      if ( activity_ ) {
         activityLock().release();
      }
   }
   ~LocksReleased() {
      if ( activity_ ) {
         activityLock().take();
      }
      if ( interpreter_ ) {
         interpreterLock().take();
      }
   }
   LocksReleased( const LocksReleased & ) = delete;
   LocksReleased &operator=( const LocksReleased & ) = delete;

 private:
   bool interpreter_;
   bool activity_;
};

} // namespace Nodra
