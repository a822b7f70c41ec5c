#pragma once

#include "lab/Plan.h"
#include "lab/PlanWatch.h"

namespace QuarraLab {

// Carries a change out on a switch, one request after the other, and writes down in a plan what happens.
class PlanRun {
 public:
   PlanRun( Switch &theSwitch, const WantedEntries &wanted, Plan &plan );
   PlanRun( const PlanRun & ) = delete;
   PlanRun &operator=( const PlanRun & ) = delete;

   void run();

 private:
   using InstallRequest = QuarraAgent::InstallRequest;
   using PortSet = std::set<QuarraModPort>;

   // A rule that is to be installed.
   struct Wish {
      std::size_t rule; // in the plan
      InstallRequest request;
      bool installed = false;
      bool refused = false; // for another reason than room
      bool done() const { return installed || refused; }
   };

   // Rules that change and share the class ID of their old entries: it comes free with the last of them.
   struct Bundle {
      std::vector<Wish> wishes;
      bool oldAreGone = false; // before the new ones came
      bool done() const;
   };

   // What an entry uses, before the first step or after the last one.
   struct Held {
      ClassIdPlace place;
      std::shared_ptr<const PortSet> ports;
   };

   std::vector<Wish> pairUp( const WantedEntries &wanted ); // gives those that change
   std::size_t addRule( const QuarraAgent::Entry *before, const InstallRequest *after );
   void bundleUp( std::vector<Wish> changes );
   std::shared_ptr<const PortFlags> flagsOf( const InstallRequest *request );
   std::map<U32, Held> heldNow() const;

   bool swapAll( bool oldAreGone ); // these give true when something came of it
   bool swap( Bundle &bundle );
   bool comeAll();
   bool goAll();
   bool breakSmallest();
   bool allDone() const;
   bool frees( const Bundle &bundle ) const;
   bool couldHelp( const Bundle &bundle ) const;

   bool install( Wish &wish );
   void installOrThrow( Wish &wish );
   void remove( std::size_t rule );
   void makeGroup( TcamGroupId group );
   void dropGroups();
   void begin();
   void end( PlanStep step );

   void measure();
   const GainedAndLost<QuarraModPort> &difference( const std::shared_ptr<const PortSet> &before,
                                                   const std::shared_ptr<const PortSet> &after );
   void finish();
   void tellWhatWasWrong();

   Switch &switch_;
   TcamAgent &agent_;
   Plan &plan_;
   std::vector<Bundle> bundles_;
   std::vector<Wish> comers_;
   std::vector<std::size_t> goers_;
   std::set<TcamGroupId> wantedGroups_;
   std::set<TcamGroupId> leftGroups_; // of entries that went
   std::map<std::pair<TcamGroupId, std::vector<QuarraModPort>>, std::pair<std::string, std::string>>
      roomless_; // port sets that found no room since something went, with code and message
   std::map<U32, Held> heldBefore_;
   std::vector<WatchedRule> watched_; // by rule
   std::map<std::pair<bool, std::vector<QuarraModPort>>, std::shared_ptr<const PortFlags>> flags_;
   std::map<std::pair<std::shared_ptr<const PortSet>, std::shared_ptr<const PortSet>>,
            GainedAndLost<QuarraModPort>>
      differences_; // entries of one class ID share theirs
   std::optional<PlanWatch> watch_;
   std::map<std::string, U64> calls_; // up to the last step
   U64 writes_ = 0;
   U32 lastEntry_ = 0;
};

// Whether the entry has a label: what a configuration made, it may change.
bool isOfConfiguration( const QuarraAgent::InstallRequest &request );

// Every space, in bits, and every fixed-width group with wide pools, in class IDs: as they are now.
std::vector<PeakOfSpace> fillOf( const Switch &theSwitch );

// Whether the group must be created before its first entry, and was not.
bool mustBeCreated( const Switch &theSwitch, TcamGroupId group );

// Of the calls that the chip counted (callCounts()) those that wrote to it. Of the logical-table functions these are the
// commits that wrote a port's value.
U64 sdkWritesOf( const QuarraSimulator::SimulatedChip &chip, const std::map<std::string, U64> &calls );

} // namespace QuarraLab
