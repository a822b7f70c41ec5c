#pragma once

#include "agent/RecordKeeper.h"

namespace QuarraAgent {

// Ends a request that was in flight when the process died: an installation is undone, a removal is done, so
// that its entry is off the chip either way. The records are the store's, from before the request. The chip
// may hold anything between before and after: the entry goes first, then each bit and each word that the
// request may have written is written once, with the value that it is to have. That is no more than the
// request itself writes.
class Recovery {
 public:
   Recovery( TcamAgent &agent, Store &store, RecordKeeper &keeper )
      : agent_( agent ), store_( store ), keeper_( keeper ) {}

   void end( const RequestInFlight &request );

 private:
   void undo( const InstallRequest &request );
   void complete( const InstallRequest &request );
   void writeChip( U32 entry, const std::vector<U8> &bits );

   TcamAgent &agent_;
   Store &store_;
   RecordKeeper &keeper_;
};

} // namespace QuarraAgent
