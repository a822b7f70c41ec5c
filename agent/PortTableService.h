#pragma once

#include "QuarraCentral/PortTabWriteRequestDir.h"

namespace QuarraAgent {

using namespace Nodra::Types;

// The service that applies port-table write requests to the chip.
class PortTableService {
 public:
   explicit PortTableService( Nodra::Ptr<QuarraCentral::PortTabWriteRequestDir> directory )
      : directory_( std::move( directory ) ) {}

   // Writes the current value of every word posted since the last call, each once. An SDK call that fails
   // aborts.
   void drain();

   U64 wordsWritten() const { return wordsWritten_; }

   // The words that the last call wrote, in the order in which they were first posted.
   const std::vector<QuarraCentral::PortTabWriteRequestKey> &lastWritten() const { return lastWritten_; }

 private:
   Nodra::Ptr<QuarraCentral::PortTabWriteRequestDir> directory_;
   U64 wordsWritten_ = 0;
   std::vector<QuarraCentral::PortTabWriteRequestKey> lastWritten_;
};

} // namespace QuarraAgent
