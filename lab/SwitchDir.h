#pragma once

#include <optional>

#include "agent/AgentStore.h"
#include "lab/ChipFile.h"
#include "lab/ChipImage.h"

namespace QuarraLab {

// The directory of a switch that lasts: the agent's store, "store.db", and beside it what the simulated chip holds,
// "chip". Made with its first use, whole or not at all; used by one process at a time. Everything wrong throws
// StoreRefused.
class SwitchDir {
 public:
   // The directory is opened, or where there is none, or an empty one, will be made for a switch of `choice`.
   SwitchDir( const std::string &path, const ChipChoice &choice,
              const QuarraAgent::StoreOptions &options = {} );
   SwitchDir( const SwitchDir & ) = delete;
   SwitchDir &operator=( const SwitchDir & ) = delete;
   ~SwitchDir();

   // Whether there is a switch in the directory already.
   static bool isThere( const std::string &path );

   const std::string &path() const { return path_; }
   bool isNew() const { return isNew_; }

   // What the switch is. A switch that is there is what it was made as.
   const ChipChoice &choice() const { return choice_; }

   // The two steps of a switch's start: the chip holds what it held, then the agent knows what it knew. Where
   // this throws, the directory is as it was, but for a request that was in flight.
   void start( QuarraSimulator::SimulatedChip &chip, QuarraSimulator::Observer observer = {} );
   void start( QuarraAgent::TcamAgent &agent );

   ChipImage &image() { return *image_; }
   const QuarraAgent::Store &store() const { return agentStore_->store(); }
   const QuarraAgent::Restarted &restarted() const { return agentStore_->restarted(); }

 private:
   std::string file( const char *name ) const { return place_ + "/" + name; }
   void startNew();
   void finishNew( QuarraAgent::TcamAgent &agent );

   std::string path_;
   std::string place_; // the directory in which the files are now: another one while they are made
   ChipChoice choice_;
   QuarraAgent::StoreOptions options_;
   bool isNew_ = false;
   std::unique_ptr<QuarraAgent::StoreLock> making_;
   std::unique_ptr<QuarraAgent::Store> store_; // until the agent has it
   std::unique_ptr<ChipImage> image_;
   std::unique_ptr<QuarraAgent::AgentStore> agentStore_;
};

} // namespace QuarraLab
