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

// Is told of a switch's SDK calls from the first one on, those of its start among them. Each may be empty.
struct SdkHooks {
   // Once: the chip holds what it held, and the agent comes next. The chip may be kept and asked.
   std::function<void( const QuarraSimulator::SimulatedChip &chip )> beforeStart = {};
   std::function<void()> beforeCall = {};
   QuarraSimulator::Observer afterCall = {};
};

// A new one of these, in a process that has forgotten its earlier agents. There must be no other chip.
std::unique_ptr<QuarraSimulator::SimulatedChip> makeChip( const QuarraAgent::Variant &variant,
                                                          const QuarraAgent::ChipConfig &config );

// All ports of a chip, the CPU's among them, rising.
std::vector<QuarraModPort> portsOf( const QuarraAgent::ChipConfig &config );

// On a variant whose helper keeps the ports' ACL-group values itself, makes them the chip's.
void showAclGroupsOf( const QuarraAgent::Variant &variant,
                      const Nodra::PtrConst<QuarraTcam::QuarraTcamPortsHelper> &helper,
                      QuarraSimulator::SimulatedChip &chip );

// A simulated switch: the chip, and the TCAM agent on it. One at a time in a process.
class Switch {
 public:
   // Throws RequestRefused when the chip cannot be one of the variant. The manager is a new one of this
   // switch, or the process's own where the choice says that there is no other switch; the process-wide state
   // of earlier switches is forgotten.
   explicit Switch( const ChipChoice &choice );

   // The switch of a directory, as it was when it was last used. Throws StoreRefused.
   explicit Switch( std::unique_ptr<SwitchDir> dir, const SdkHooks &hooks = {} );
   ~Switch();

   TcamAgent &agent() { return *agent_; }
   const TcamAgent &agent() const { return *agent_; }
   QuarraSimulator::SimulatedChip &chip() { return *chip_; }
   const QuarraSimulator::SimulatedChip &chip() const { return *chip_; }

   // The ACL-group value that a port carries.
   Vesk::Bitmap aclGroup( const QuarraModPort &port ) const { return chip_->aclGroup( port.port() ); }

   // A port's word of the table that a source-trunk-map type is kept in.
   U32 sourceTrunkMapWord( QuarraTcam::ClassIdType type, const QuarraModPort &port ) const;

   // All ports of the chip, the CPU's among them, rising.
   const std::vector<QuarraModPort> &ports() const { return ports_; }
   bool isCpuPort( const QuarraModPort &port ) const;

   // Of a switch that lasts; null of one in memory.
   const SwitchDir *dir() const { return dir_.get(); }
   SwitchDir *dir() { return dir_.get(); }

   // In a process that was forked: the directory stays open for the parent alone. It is not closed here,
   // which would reach into the parent's files.
   void leaveDirToParent();

 private:
   void start( const ChipChoice &choice, const SdkHooks &hooks = {} );

   std::unique_ptr<QuarraSimulator::SimulatedChip> chip_;
   std::unique_ptr<TcamAgent> agent_;
   std::vector<QuarraModPort> ports_;
   std::unique_ptr<SwitchDir> dir_; // goes first
};

} // namespace QuarraLab
