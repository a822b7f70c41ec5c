// Makes a switch hold the entries that somebody wants, from whatever it holds now.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "agent/TcamAgent.h"

namespace QuarraLab {

using namespace Nodra::Types;

// What becomes of a wanted entry.
enum class EntryFate {
   stays,   // it is there as it is wanted: not touched
   comes,   // nothing of its label was there
   changes, // it was there in another group, on other ports, or as another rule
};
std::string_view stringValue( EntryFate fate );

// An entry that is wanted. Entries are the same when their labels are.
struct WantedEntry {
   QuarraAgent::InstallRequest request; // `entry` is chosen by reconcile(), whatever it is
   EntryFate change = EntryFate::comes;
   std::string refusedCode = {}; // empty when it is on the switch
   std::string refusedMessage = {};
};

struct Reconciled {
   std::vector<QuarraAgent::InstallRequest> gone; // what nobody wants any more, by entry
   std::size_t stayed = 0;
   std::size_t came = 0; // refused ones are not counted
   std::size_t changed = 0;
};

struct ReconcileOptions {
   std::function<bool( const std::string &label )> keeps = {};     // entries of that label stay as they are
   std::function<void( const WantedEntry &entry )> installed = {}; // told of each that came or changed
};

// Entries without a label are not looked at, nor are those that `keeps` names; of the others, those that are
// not wanted are removed first. Entries that change and share their pool's bits with nobody are installed
// before what was there is removed, where there is room; others are all removed before the first is
// installed, because in a pool that is wider than a bit a port carries one class ID only. One that is refused
// leaves what was there, if that still fits. Throws StoreRefused; what was done until then is done.
Reconciled reconcile( QuarraAgent::TcamAgent &agent, std::vector<WantedEntry> &wanted,
                      const ReconcileOptions &options = {} );

} // namespace QuarraLab
