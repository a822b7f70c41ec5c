#pragma once

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "simulator/SimulatedChip.h"

namespace QuarraBench {

using namespace QuarraTcam;
using QuarraCentral::QuarraModPort;

// The library on a simulated chip, without an agent: empty spaces of the sizes given, and no group.
class Scene {
 public:
   Scene( const char *variant, U8 flexibleBits, U8 portBits = 8 );

   // A group of flexible-width pools.
   void group( TcamGroupId id, U8 width );

   // As an agent does for one entry: the key, the class ID, the ports.
   void join( TcamGroupId id, U32 entry, const IntfGroupInfo::PtrConst &ports );
   void leave( TcamGroupId id, U32 entry );

   QuarraTcamPortsManager &manager() { return *manager_; }
   QuarraTcamPortsHelper &helper() { return *manager_->portsHelper(); }
   QuarraSimulator::SimulatedChip &chip() { return *chip_; }

 private:
   std::unique_ptr<QuarraSimulator::SimulatedChip> chip_;
   QuarraTcamPortsManager::Ptr manager_;
   RuleId rule_;
};

// `count` ports from `first` on, `step` apart.
IntfGroupInfo::Ptr ports( U32 first, U32 count, U32 step = 1 );

} // namespace QuarraBench
