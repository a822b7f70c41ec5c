// Makes a switch hold the entries that somebody wants, from whatever it holds now.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "agent/TcamAgent.h"

namespace QuarraLab {

using namespace Nodra::Types;

// Requests with their labels, "TABLE|RULE", and without entry numbers; highest priority first.
using WantedEntries = std::vector<QuarraAgent::InstallRequest>;

// What becomes of a rule that is wanted, or of an entry that is on the switch.
enum class RuleFate {
   stays,   // its entry is not touched
   changes, // a new entry takes the place of the old one
   comes,
   goes,
   refused, // it does not fit; an entry that is there stays as it is where it can
};
std::string_view stringValue( RuleFate fate );

struct RuleChange {
   RuleFate fate = RuleFate::stays;
   std::string rule;                       // empty for an entry that has no name
   std::optional<std::size_t> wanted = {}; // its place among the entries that are wanted
   std::optional<U32> entryBefore = {};
   std::optional<U32> entryAfter = {};
   bool goesFirst = false; // its old entry goes before the new one comes: both cannot stand side by side
   std::string code = {};  // of one that is refused
   std::string message = {};
};

// One request to the agent.
struct ChangeStep {
   enum class Kind { createGroup, deleteGroup, install, remove };

   Kind kind = Kind::install;
   QuarraAgent::InstallRequest request; // of a removal, as the entry was asked for; else only the group
};
std::string_view stringValue( ChangeStep::Kind kind );

// Told of each step. One that is refused does not end.
class ChangeObserver {
 public:
   virtual ~ChangeObserver() = default;
   virtual void begins( const ChangeStep & /*step*/, std::optional<std::size_t> /*rule*/ ) {}
   virtual void ends( const ChangeStep & /*step*/ ) {}
};

struct ChangeOptions {
   // Entries of these rules stay as they are, though they are not wanted.
   std::function<bool( const std::string &rule )> keeps = {};
};

// An entry is known by its label; those without one are of no configuration, and stay. The order: new entries
// before old ones; of the rules that change, those first that cost no class ID, then those that give back as
// many as they take; then what comes, then what goes goes. Where there is no room, what goes goes earlier;
// where that does not help, the fewest rules that change give up their old entries first, and get them back
// where they find no room after all. In a fixed-width group of wide pools, whose class IDs share bits, what
// leaves goes before a new class ID comes that has a bit of its own.
class ChangeRun {
 public:
   // `wanted` must live as long.
   ChangeRun( QuarraAgent::TcamAgent &agent, const WantedEntries &wanted, const ChangeOptions &options = {} );
   ChangeRun( const ChangeRun & ) = delete;
   ChangeRun &operator=( const ChangeRun & ) = delete;

   // What is known before run(), and all of it afterwards: entries without a label, then what is wanted, in
   // its order, then what goes, by entry.
   const std::vector<RuleChange> &rules() const { return rules_; }

   // Once. Throws StoreRefused; what was done until then is done.
   void run( ChangeObserver &observer );

 private:
   using InstallRequest = QuarraAgent::InstallRequest;
   using PortsOfGroup = std::pair<QuarraTcam::TcamGroupId, std::vector<QuarraCentral::QuarraModPort>>;

   // A rule that is to be installed.
   struct Wish {
      std::size_t rule;
      const InstallRequest *request; // still without the number of its entry
      bool installed = false;
      bool refused = false; // for another reason than room
      bool done() const { return installed || refused; }
   };

   // Rules that change and share the class ID of their old entries: it comes free with the last of them.
   struct Bundle {
      std::vector<Wish> wishes;
      std::vector<InstallRequest> old; // by wish
      bool oldAreGone = false;         // before the new ones came
      bool inVain = false;             // it gave up its old entries once, and found no room then
      bool done() const;
   };

   static PortsOfGroup portsOfGroup( const InstallRequest &request ); // its ports rising
   static bool asksTheSame( const InstallRequest &one, const InstallRequest &other );
   const QuarraTcam::ClassIdRequestStatus *requestOf( U32 entry ) const;

   void pairUp();
   std::size_t addRule( const InstallRequest *before, std::optional<std::size_t> wanted );
   void bundleUp( const std::vector<std::size_t> &changed );

   void clearTheWay();
   U32 bitsOfNext( QuarraTcam::TcamGroupId group, std::size_t number ) const;
   bool step(); // these give true when something came of it
   bool swapOf( int mostCost );
   bool swapWithoutOld();
   bool swap( Bundle &bundle );
   bool comeAll();
   bool goAll();
   bool breakSmallest();
   void goFirst( Bundle &bundle );
   void putBack( Bundle &bundle );
   bool allDone() const;
   bool isWaiting( const Bundle &bundle ) const;
   bool frees( const Bundle &bundle ) const;
   int costOf( const Bundle &bundle ) const;
   bool couldHelp( const Bundle &bundle ) const;
   bool changesUnit( const Bundle &bundle ) const;
   void dropGroups();
   void tellRefusals();

   bool install( Wish &wish );
   void installOrThrow( Wish &wish );
   void remove( std::size_t rule );
   void createGroup( QuarraTcam::TcamGroupId group );

   QuarraAgent::TcamAgent &agent_;
   const WantedEntries &wanted_;
   const ChangeOptions options_;
   ChangeObserver *observer_ = nullptr;
   std::vector<RuleChange> rules_;
   std::vector<Bundle> bundles_;
   std::vector<Wish> comers_;
   std::vector<std::size_t> goers_;
   std::map<PortsOfGroup, std::size_t> held_; // installed entries by port set
   std::set<QuarraTcam::TcamGroupId> wantedGroups_;
   std::set<QuarraTcam::TcamGroupId> leftGroups_; // of entries that went
   std::map<PortsOfGroup, std::pair<std::string, std::string>>
      roomless_; // since something went: code and message
   U32 lastEntry_ = 0;
};

// Whether the entry has a label: what a configuration made, it may change.
bool isOfConfiguration( const QuarraAgent::InstallRequest &request );

} // namespace QuarraLab
