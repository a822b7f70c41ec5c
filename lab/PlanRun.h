#pragma once

#include <unordered_map>

#include "lab/Plan.h"
#include "lab/PlanWatch.h"

namespace QuarraLab {

// Carries a change out on a switch and writes down in a plan what happens.
class PlanRun : private ChangeObserver {
 public:
   PlanRun( Switch &theSwitch, const WantedEntries &wanted, Plan &plan, const ChangeOptions &options );
   PlanRun( const PlanRun & ) = delete;
   PlanRun &operator=( const PlanRun & ) = delete;

   void run();

 private:
   using InstallRequest = QuarraAgent::InstallRequest;
   using PortSet = std::set<QuarraModPort>;

   // What an entry uses, before the first step or after the last one.
   struct Held {
      ClassIdPlace place;
      std::shared_ptr<const PortSet> ports;
   };
   using HeldByEntry =
      std::unordered_map<U32, std::shared_ptr<const Held>>; // entries of one class ID share it

   void begins( const ChangeStep &step, std::optional<std::size_t> rule ) override;
   void ends( const ChangeStep &step ) override;
   void tellPlace();
   void measure();

   std::shared_ptr<const PortFlags> flagsOf( const InstallRequest *request );
   HeldByEntry heldNow() const;
   const GainedAndLost<QuarraModPort> &difference( const std::shared_ptr<const PortSet> &before,
                                                   const std::shared_ptr<const PortSet> &after );
   void finish();
   void tellWhatWasWrong();

   Switch &switch_;
   TcamAgent &agent_;
   ChangeRun change_;
   Plan &plan_;
   HeldByEntry heldBefore_;
   std::map<std::pair<bool, std::vector<QuarraModPort>>, std::shared_ptr<const PortFlags>> flags_;
   std::map<std::pair<std::shared_ptr<const PortSet>, std::shared_ptr<const PortSet>>,
            GainedAndLost<QuarraModPort>>
      differences_; // entries of one class ID share theirs
   std::optional<PlanWatch> watch_;
   PlanStep step_;                    // the one that is carried out
   std::map<std::string, U64> calls_; // up to the last step
   U64 writes_ = 0;
};

// The switch's levels, of which nothing is known but what they are now.
std::vector<PeakOfSpace> peaksNow( const Switch &theSwitch );

// Of the calls that the chip counted (callCounts()) those that wrote to it. Of the generation's table
// functions these are the commits that wrote a port's value.
U64 sdkWritesOf( const Switch &theSwitch, const std::map<std::string, U64> &calls );

} // namespace QuarraLab
