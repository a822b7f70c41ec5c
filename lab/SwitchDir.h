#pragma once

#include <functional>
#include <optional>

#include "agent/AgentStore.h"
#include "lab/ChipFile.h"
#include "lab/ChipImage.h"
#include "lab/ColdStart.h"

namespace QuarraLab {

// The directory of a switch that lasts: the agent's store, "store.db", and beside it what the simulated chip
// holds, "chip". Made with its first use, whole or not at all; used by one process at a time. Everything
// wrong throws StoreRefused.
class SwitchDir {
 public:
   // The directory is opened, or where there is none, or an empty one, will be made for a switch of `choice`.
   SwitchDir( const std::string &path, const ChipChoice &choice,
              const QuarraAgent::StoreOptions &options = {} );

   // What a switch is, given what can still be read of what it was.
   using Chooser = std::function<ChipChoice( const std::optional<QuarraAgent::StoreIdentity> &kept )>;

   // Starts a switch anew, whatever became of its store: the chip's entries go first, then its bits, then the
   // entries that can still be read come back. Where there is no switch, one will be made. A process that
   // dies over it leaves a switch that is refused until it starts cold again.
   SwitchDir( const std::string &path, const Chooser &chooser, const QuarraAgent::StoreOptions &options );
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

   // How a cold start went; none of a switch that was opened.
   const std::optional<ColdStarted> &coldStarted() const { return coldStarted_; }

   ChipImage &image() { return *image_; }
   const QuarraAgent::Store &store() const { return agentStore_->store(); }
   const QuarraAgent::Restarted &restarted() const { return agentStore_->restarted(); }

 private:
   std::string file( const char *name ) const { return place_ + "/" + name; }
   void startNew();
   void removeUnfinished();
   void finishNew( QuarraAgent::TcamAgent &agent );
   void prepareCold( const Chooser &chooser );
   void startCold( QuarraAgent::TcamAgent &agent );
   void finishCold( QuarraAgent::StoreLock &lock );
   void endEarlierColdStart();
   void removeFiles( const std::string &base );

   std::string path_;
   std::string place_; // the directory in which the files are now: another one while they are made
   ChipChoice choice_;
   QuarraAgent::StoreOptions options_;
   bool isNew_ = false;
   std::unique_ptr<QuarraAgent::StoreLock> making_; // of a directory that is being made, or starts cold
   std::optional<QuarraAgent::Salvaged> salvaged_;
   std::optional<ColdStarted> coldStarted_;
   std::unique_ptr<QuarraAgent::Store> store_; // until the agent has it
   std::unique_ptr<ChipImage> image_;
   std::unique_ptr<QuarraAgent::AgentStore> agentStore_;
};

} // namespace QuarraLab
