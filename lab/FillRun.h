#pragma once

#include "agent/TcamAgent.h"

namespace QuarraLab {

using namespace Nodra::Types;

// Whether the group must be created before its first entry, and was not.
bool mustBeCreated( const QuarraAgent::TcamAgent &agent, QuarraTcam::TcamGroupId group );

// The next number after `last` that no entry has; after the highest one it goes on with 1.
U32 nextEntry( const QuarraAgent::TcamAgent &agent, U32 last );

// Installs entries one after the other, and creates their groups, with no regard to what they find there.
class FillRun {
 public:
   explicit FillRun( QuarraAgent::TcamAgent &agent ) : agent_( agent ) {}

   // Whether there was room, and nothing else against it. A request without an entry's number gets the next
   // one.
   bool install( QuarraAgent::InstallRequest request );

 private:
   QuarraAgent::TcamAgent &agent_;
   U32 lastEntry_ = 0;
};

} // namespace QuarraLab
