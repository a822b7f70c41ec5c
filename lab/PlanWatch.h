#pragma once

#include <memory>
#include <set>
#include <tuple>

#include "lab/Switch.h"

namespace QuarraLab {

// By port, as in Switch::ports().
using PortFlags = std::vector<bool>;

// A rule, whichever entries stand for it at a time: the ports that it should match before and after a change.
struct WatchedRule {
   std::shared_ptr<const PortFlags> before;
   std::shared_ptr<const PortFlags> after;
   bool ethernet = false; // the CPU's own ports are not looked at then
};

// A port that a rule should match before and after, and did not for a while; or the other way round.
struct WrongForAWhile {
   std::size_t rule;   // in the order in which rules were watched
   std::size_t port;   // in Switch::ports()
   bool lost;          // else it matched a port that it should match at no time
   std::size_t begins; // the step over which it went wrong
   std::size_t ends;   // the step over which it came right again; the same: between two SDK calls of it

   auto operator<=>( const WrongForAWhile & ) const = default;
};

// Watches after each SDK call which rules match which ports. What is wrong before the first step, or still
// wrong after the last one, is no matter of the way. On a variant whose helper keeps the ports' values, which
// change without an SDK call, it looks after each step only.
class PlanWatch {
 public:
   // Watches the switch's chip as long as it lives. `rules` come with the entries that stand for them now.
   PlanWatch( Switch &theSwitch, std::vector<WatchedRule> rules, const std::map<U32, std::size_t> &ruleOf );
   PlanWatch( const PlanWatch & ) = delete;
   PlanWatch &operator=( const PlanWatch & ) = delete;
   ~PlanWatch();

   void begins( std::size_t step );
   void entryStandsFor( U32 entry, std::size_t rule ); // before it is installed

   // `portsChanged`: the step may have changed what ports carry.
   void ends( bool portsChanged );

   std::vector<WrongForAWhile> wrong() const;

   // Each rule matches the ports that it should match after the change, and no other: for certain. Where it
   // says no, a check has to tell.
   bool allIsRight() const;

 private:
   // Entries that are held against the ports alike.
   using Qualifier =
      std::tuple<QuarraSimulator::TcamEntry::Kind, U8, std::vector<U32>, std::vector<U32>, U32, U32>;
   struct Alike {
      PortFlags matched;
      std::set<U32> entries;
   };

   void look( const QuarraSimulator::SdkCallSeen &seen );
   void lookAtEntry( U32 entry );
   void lookAtPort( std::size_t port );
   void checkRule( std::size_t rule );
   void check( std::size_t rule, std::size_t port );
   bool matches( std::size_t rule, std::size_t port ) const;

   Switch &switch_;
   std::vector<WatchedRule> rules_;
   std::vector<bool> isCpuPort_;
   std::multimap<U32, std::size_t> places_; // of ports, by number
   std::map<U32, std::size_t> ruleOf_;
   std::vector<std::vector<Alike *>> standing_; // by rule: one for each entry on the chip
   std::map<Qualifier, Alike> alike_;
   std::map<U32, std::map<Qualifier, Alike>::iterator> of_; // by installed entry
   std::map<std::pair<std::size_t, std::size_t>, std::size_t>
      open_; // by rule and port: wrong since this step
   std::set<WrongForAWhile> wrong_;
   std::size_t step_ = 0; // 0: before the first
};

} // namespace QuarraLab
