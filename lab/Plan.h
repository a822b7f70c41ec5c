// What a change does to a switch: carried out step by step on a copy of it, and watched.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lab/ChangeRun.h"
#include "lab/Diff.h"
#include "lab/MatchCheck.h"
#include "lab/Who.h"

namespace QuarraLab {

struct PlanStep : ChangeStep {
   std::optional<ClassIdPlace> place = {};   // the class ID that the entry uses, or used
   std::map<std::string, U64> sdkCalls = {}; // of the step, by function
   U64 sdkWrites = 0;                        // those that write to the chip
   bool changesPorts = false;                // a class ID was lent or given back, or got other ports
};

struct PlannedRule : RuleChange {
   std::optional<ClassIdPlace> placeBefore = {};
   std::optional<ClassIdPlace> placeAfter = {};
   GainedAndLost<QuarraModPort> ports = {}; // that carry its class ID; of one that is there before and after
   std::vector<std::string> fields = {};    // what else it says, as its author wrote it; where somebody tells

   bool moves() const { return placeBefore && placeAfter && placeBefore != placeAfter; }
};

// A space, in bits; or a fixed-width group ("group 16"), in class IDs.
struct PeakOfSpace {
   std::string name;
   U32 size = 0;
   U32 before = 0;
   U32 peak = 0;
   U32 after = 0;
   U32 largestFreeRun = 0; // afterwards; 0 for a group
};

// Ports on which a rule is wrong while the steps are carried out, though it is right before and after.
struct WrongOnTheWay {
   std::string rule;
   std::optional<U32> entry; // the old one, unless the new one is installed by the step `ends`
   bool lost = false;        // it does not match them; else it matches them and should not
   std::size_t begins = 0;   // steps, counted from 1; the same one twice: between two SDK calls of it
   std::size_t ends = 0;
   std::set<QuarraModPort> ports = {};
};

// The switch that starts from empty and gets the same.
struct Reload {
   std::size_t refused = 0;
   std::size_t mismatches = 0;
   std::vector<PeakOfSpace> spaces = {};
   U64 sdkWrites = 0;
   bool good() const { return !refused && !mismatches; }
};

struct RulesOfTable {
   std::string table;
   std::vector<std::string> rules; // "TABLE|RULE"
   bool all = false;               // the table has no other ones

   bool operator==( const RulesOfTable & ) const = default;
};

enum class PlanVerdict {
   fits,         // in place, and at no time is a match wrong
   fitsWithAGap, // in place, with wrong matches on the way
   needsReload,  // not in place, but on a switch that starts from empty
   doesNotFit,
   doesNotMatch, // everything fits, but not everything matches as it should
};

std::string verdictName( PlanVerdict verdict ); // "fits", ...

struct Plan {
   std::vector<PlannedRule> rules; // in the order of ChangeRun::rules()
   std::vector<PlanStep> steps;
   std::vector<PeakOfSpace> spaces;
   std::vector<WrongOnTheWay> wrong;
   std::vector<Mismatch> mismatches;  // afterwards
   std::vector<RulesOfTable> goFirst; // whose entries go before their new ones come
   std::optional<Reload> reload;      // where the switch cannot be changed in place as it should
   std::vector<RulesOfTable>
      leaveOut;             // where a reload does not help: the smallest set without which the rest fits
   std::string stateBefore; // stateDigest() of the switch that it is for, and of that switch afterwards
   std::string stateAfter;
   const QuarraAgent::Variant *variant = nullptr;
   std::map<QuarraModPort, std::string> portNames;

   PlanVerdict verdict() const;
   std::size_t count( RuleFate fate ) const;
   U64 sdkWrites() const;
};

struct PlanOptions {
   ChangeOptions change = {};

   // Told of the copy, "before" the first step and "after" the last one.
   std::function<void( const Switch &copy, const char *when, const Plan &plan )> show = {};
};

// Makes the plan by carrying the change out on `copy`, which is of no use afterwards: what ChangeRun does
// there, it does on the switch itself.
Plan makePlan( std::unique_ptr<Switch> copy, const WantedEntries &wanted, const PlanOptions &options = {} );

// Makes a switch that only this process knows of one that lasts: nothing it does from now on is kept.
void detachFromStore( Switch &theSwitch );

// A short text that is equal for switches that hold the same: entries as they were asked for, class IDs,
// pools, what the chip holds. Names of keys do not count.
std::string stateDigest( const Switch &theSwitch );

// ---- As JSON

JsonOut planJson( const Plan &plan );

} // namespace QuarraLab
