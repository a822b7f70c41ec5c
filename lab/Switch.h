#pragma once

#include <memory>

#include "agent/TcamAgent.h"
#include "lab/ChipFile.h"
#include "simulator/SimulatedChip.h"

namespace QuarraLab {

using namespace Nodra::Types;
using QuarraAgent::TcamAgent;
using QuarraCentral::QuarraModPort;
using QuarraTcam::TcamGroupId;

// The simulated chip that a configuration describes.
QuarraSimulator::ChipOptions chipOptions( const QuarraAgent::Variant &variant,
                                          const QuarraAgent::ChipConfig &config );

class SwitchDir;

// A simulated switch: the chip, and the TCAM agent on it. One at a time in a process.
class Switch {
 public:
   // Throws RequestRefused when the chip cannot be one of the variant. The manager is a new one of this
   // switch; the process-wide state of earlier switches is forgotten.
   explicit Switch( const ChipChoice &choice );

   // The switch of a directory, as it was when it was last used. Throws StoreRefused.
   explicit Switch( std::unique_ptr<SwitchDir> dir );
   ~Switch();

   TcamAgent &agent() { return *agent_; }
   const TcamAgent &agent() const { return *agent_; }
   QuarraSimulator::SimulatedChip &chip() { return *chip_; }
   const QuarraSimulator::SimulatedChip &chip() const { return *chip_; }

   // The ACL-group value that a port carries: the chip's, or on the SDK6 twin, which leaves the chip alone,
   // the one of the helper's shadow.
   Vesk::Bitmap aclGroup( const QuarraModPort &port ) const;

   // A port's word of the source-trunk-map table that a class-ID type is kept in; 0 for other types.
   U32 sourceTrunkMapWord( QuarraTcam::ClassIdType type, const QuarraModPort &port ) const;

   // All ports of the chip, the CPU's among them, rising.
   const std::vector<QuarraModPort> &ports() const { return ports_; }
   bool isCpuPort( const QuarraModPort &port ) const;

   // Of a switch that lasts; null of one in memory.
   const SwitchDir *dir() const { return dir_.get(); }

 private:
   void start( const ChipChoice &choice );

   std::unique_ptr<QuarraSimulator::SimulatedChip> chip_;
   std::unique_ptr<TcamAgent> agent_;
   std::vector<QuarraModPort> ports_;
   std::unique_ptr<SwitchDir> dir_; // goes first
};

// The tables in which the two source-trunk-map types are kept.
inline constexpr U8 ifpTable = QuarraCentral::ifpSourceTrunkMapTable;
inline constexpr U8 vfpTable = QuarraCentral::vfpSourceTrunkMapTable;

} // namespace QuarraLab
