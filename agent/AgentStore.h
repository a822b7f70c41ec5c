#pragma once

#include "agent/RecordKeeper.h"

namespace QuarraAgent {

// What became of the request that was in flight when the process before this one died.
struct Restarted {
   enum class Outcome { nothingInFlight, undone, done };

   Outcome outcome = Outcome::nothingInFlight;
   RequestInFlight request; // unless nothing was in flight
};

// An agent's state that outlives its process (docs/restart.md). While it lives, every request of the agent is
// kept in the store before it is answered. Everything wrong throws StoreRefused.
class AgentStore {
 public:
   // Makes a store for an agent that has just started and been asked nothing.
   AgentStore( TcamAgent &agent, const std::string &path, const StoreOptions &options );

   // Lets an agent that has just started go on where the one before it ended. Makes no SDK write for what was
   // finished. When it throws, the chip and the store are untouched, but for a request in flight; the agent
   // is of no use then.
   AgentStore( TcamAgent &agent, std::unique_ptr<Store> store );

   AgentStore( const AgentStore & ) = delete;
   AgentStore &operator=( const AgentStore & ) = delete;
   ~AgentStore() { agent_.journalIs( nullptr ); }

   const Store &store() const { return *store_; }
   const Restarted &restarted() const { return restarted_; }

 private:
   TcamAgent &agent_;
   std::unique_ptr<Store> store_;
   std::unique_ptr<RecordKeeper> keeper_;
   Restarted restarted_;
};

// What a store of this agent is of. The agent must have just started.
StoreIdentity identityOf( const TcamAgent &agent );

} // namespace QuarraAgent
