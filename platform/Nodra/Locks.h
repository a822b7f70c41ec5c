#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace Nodra {

// A lock that knows whether the calling thread holds it. Not recursive.
class AgentLock {
 public:
   void take();
   void release();
   bool heldByThisThread() const;

 private:
   std::mutex mutex_;
   std::atomic<std::thread::id> holder_{};
};

// The two locks of an agent process: the interpreter's, held while scripted code runs, and the activity lock,
// held by the main thread while it works. A thread that calls into the chip gives both up for the time of the
// call.
AgentLock &interpreterLock();
AgentLock &activityLock();

// Releases both locks, as far as this thread holds them, and takes the same ones again at the end of its
// scope.
class LocksReleased {
 public:
   LocksReleased();
   ~LocksReleased();
   LocksReleased( const LocksReleased & ) = delete;
   LocksReleased &operator=( const LocksReleased & ) = delete;

 private:
   bool interpreter_;
   bool activity_;
};

} // namespace Nodra
