#include "lab/Plan.h"

#include <algorithm>

#include "lab/FillRun.h"
#include "lab/PlanRun.h"

namespace QuarraLab {

using namespace QuarraTcam;
using QuarraAgent::InstallRequest;

namespace {

// What a switch is, and what it holds that stays whatever is wanted.
struct Start {
   ChipChoice choice;
   std::vector<InstallRequest> others;
};

Start startOf( const Switch &theSwitch, const ChangeOptions &options ) {
   Start start{ { &theSwitch.agent().variant(), theSwitch.agent().chip() }, {} };
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      if ( !isOfConfiguration( entry.request ) ||
           ( options.keeps && options.keeps( ruleOf( entry.request ) ) ) ) {
         start.others.push_back( entry.request );
      }
   }
   return start;
}

// A switch that starts from empty.
class Reloaded {
 public:
   explicit Reloaded( const Start &start ) : switch_( start.choice ) {
      for ( const auto &request : start.others ) {
         run_.install( request );
      }
   }

   bool add( const InstallRequest &request ) { return run_.install( request ); }
   const Switch &theSwitch() const { return switch_; }

 private:
   Switch switch_;
   FillRun run_{ switch_.agent() };
};

Reload reload( const Start &start, const WantedEntries &wanted ) {
   Reloaded reloaded( start );
   Reload result;
   for ( const auto &request : wanted ) {
      result.refused += !reloaded.add( request );
   }
   const auto &theSwitch = reloaded.theSwitch();
   result.mismatches = checkMatches( theSwitch ).size();
   result.spaces = peaksNow( theSwitch );
   result.sdkWrites = sdkWritesOf( theSwitch, theSwitch.chip().callCounts() );
   return result;
}

// By table, in the order in which the tables come.
std::vector<RulesOfTable> byTable( const std::vector<std::string> &rules, const WantedEntries &wanted ) {
   std::map<std::string, std::size_t> sizes;
   for ( const auto &request : wanted ) {
      ++sizes[ tableOf( ruleOf( request ) ) ];
   }
   std::vector<RulesOfTable> tables;
   for ( const auto &rule : rules ) {
      auto item = std::ranges::find( tables, tableOf( rule ), &RulesOfTable::table );
      if ( item == tables.end() ) {
         item = tables.insert( item, { tableOf( rule ), {} } );
      }
      item->rules.push_back( rule );
      item->all = item->rules.size() == sizes[ item->table ];
   }
   return tables;
}

// Port sets go in by the number of their rules: what finds no room then has the fewest. Where each port set
// takes one bit this is the smallest number of rules; with wide pools no rule of it could stay.
std::vector<RulesOfTable> leaveOut( const Start &start, const WantedEntries &wanted ) {
   std::map<std::pair<TcamGroupId, std::vector<QuarraModPort>>, std::size_t> places;
   std::vector<std::vector<const InstallRequest *>> portSets;
   for ( const auto &request : wanted ) {
      const auto [ item, isNew ] =
         places.emplace( std::pair( request.group, request.ports ), portSets.size() );
      if ( isNew ) {
         portSets.emplace_back();
      }
      portSets[ item->second ].push_back( &request );
   }
   std::ranges::stable_sort( portSets, std::greater(), &std::vector<const InstallRequest *>::size );
   Reloaded reloaded( start );
   std::set<std::string> out;
   for ( const auto &requests : portSets ) {
      if ( !reloaded.add( *requests.front() ) ) {
         for ( const auto *request : requests ) {
            out.insert( ruleOf( *request ) );
         }
      }
   }
   std::vector<std::string> rules;
   for ( const auto &request : wanted ) {
      if ( out.contains( ruleOf( request ) ) ) {
         rules.push_back( ruleOf( request ) );
      }
   }
   return byTable( rules, wanted );
}

} // namespace

std::string verdictName( PlanVerdict verdict ) {
   switch ( verdict ) {
   case PlanVerdict::fits:
      return "fits";
   case PlanVerdict::fitsWithAGap:
      return "fitsWithAGap";
   case PlanVerdict::needsReload:
      return "needsReload";
   case PlanVerdict::doesNotFit:
      return "doesNotFit";
   case PlanVerdict::doesNotMatch:
      return "doesNotMatch";
   }
   return ""; // no enumerator
}

std::size_t Plan::count( RuleFate fate ) const {
   return static_cast<std::size_t>( std::ranges::count( rules, fate, &PlannedRule::fate ) );
}

U64 Plan::sdkWrites() const {
   U64 writes = 0;
   for ( const auto &step : steps ) {
      writes += step.sdkWrites;
   }
   return writes;
}

PlanVerdict Plan::verdict() const {
   const bool allFit = count( RuleFate::refused ) == 0;
   if ( allFit && mismatches.empty() ) {
      return wrong.empty() ? PlanVerdict::fits : PlanVerdict::fitsWithAGap;
   }
   if ( reload && reload->good() ) {
      return PlanVerdict::needsReload;
   }
   return allFit ? PlanVerdict::doesNotMatch : PlanVerdict::doesNotFit;
}

Plan makePlan( std::unique_ptr<Switch> copy, const WantedEntries &wanted, const PlanOptions &options ) {
   detachFromStore( *copy );
   Plan plan;
   plan.variant = &copy->agent().variant();
   plan.stateBefore = stateDigest( *copy );
   for ( const auto &port : copy->agent().chip().ports ) {
      plan.portNames.emplace( port.port, port.intf );
   }
   const auto start = startOf( *copy, options.change );
   if ( options.show ) {
      options.show( *copy, "before", plan );
   }
   PlanRun( *copy, wanted, plan, options.change ).run();
   plan.stateAfter = stateDigest( *copy );
   if ( options.show ) {
      options.show( *copy, "after", plan );
   }
   std::vector<std::string> first;
   for ( const auto &rule : plan.rules ) {
      if ( rule.goesFirst ) {
         first.push_back( rule.rule );
      }
   }
   plan.goFirst = byTable( first, wanted );
   const auto verdict = plan.verdict();
   if ( verdict != PlanVerdict::fits && verdict != PlanVerdict::fitsWithAGap ) {
      copy.reset(); // there is one chip at a time
      plan.reload = reload( start, wanted );
      if ( plan.reload->refused ) {
         plan.leaveOut = leaveOut( start, wanted );
      }
   }
   return plan;
}

} // namespace QuarraLab
