#pragma once

#include "acl/ReadAcl.h"
#include "lab/ChangeRun.h"
#include "lab/ChipFile.h"
#include "lab/MatchCheck.h"
#include "tools/GroupMap.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;

// One rule of a configuration as a TCAM entry.
struct PlannedEntry {
   const AclTable *table;
   const AclRule *rule;
   QuarraAgent::InstallRequest request;
   RuleFate change = RuleFate::comes; // of one that is refused: as if it were not
   std::string refusedCode = {};      // empty when it is installed
   std::string refusedMessage = {};
};

// What was done to the switch's entries.
struct Changes {
   std::vector<QuarraAgent::InstallRequest> gone; // what nobody wants any more, by entry
   std::size_t stayed = 0;
   std::size_t came = 0; // refused ones are not counted
   std::size_t changed = 0;
};

// What the port sets cost, by the three ways to tell an entry its ports.
struct Cost {
   U64 rows = 0;   // TCAM rows
   U64 writes = 0; // chip writes: rows, and words of per-port tables
   U64 join = 0;   // writes when one port joins the port set that most entries share
};

struct Costs {
   U32 qualifierBits = 0; // the widest class-ID qualifier in use
   U64 portWords = 0;     // words of per-port tables written for the class IDs
   Cost classIds;
   Cost portBitmaps;
   Cost entryPerPort;
};

// A configuration on a simulated switch: the switch holds what the configuration says, as far as it fits.
class Applied {
 public:
   // Installs every rule of the tables that are not left out, on an empty switch with the configuration's
   // ports. `map` overrides the default map. Throws RequestRefused for a group that the variant does not have
   // ("unknownGroup") and for a chip that cannot be ("badChip", ...). `complaints` tell what was wrong with
   // the files and is not in `config`.
   Applied( AclConfig config, const ChipChoice &choice, const GroupMap &map,
            std::vector<AclComplaint> complaints = {} );

   // Makes a switch that lasts hold what the configuration says. Entries of an earlier configuration that
   // this one does not have are removed, but for those that complaints are about; entries without a label
   // stay as they are. Throws InputError for ports that the switch does not have, and StoreRefused.
   Applied( AclConfig config, std::unique_ptr<Switch> lasting, const GroupMap &map,
            std::vector<AclComplaint> complaints = {} );

   const AclConfig &config() const { return config_; }
   const Switch &theSwitch() const { return *switch_; }
   TcamGroupId groupOf( const AclTable &table ) const;
   const std::vector<PlannedEntry> &entries() const { return entries_; }
   const Changes &changes() const { return changes_; }
   bool lasts() const { return switch_->dir(); }

   // Of any entry on the switch, by number: its table, or "entry 7" where nobody named it.
   std::string tableOf( U32 entry ) const;
   const std::vector<Mismatch> &mismatches() const { return mismatches_; }
   const Costs &costs() const { return costs_; }
   const std::vector<AclComplaint> &complaints() const { return complaints_; }
   std::size_t refused() const;
   bool allFitAndMatch() const { return refused() == 0 && mismatches_.empty() && complaints_.empty(); }

 private:
   void start();
   void install();
   void tellOutcome( std::size_t place, const RuleChange &rule );
   void count();

   AclConfig config_;
   std::vector<AclComplaint> complaints_;
   GroupMap map_;
   std::unique_ptr<Switch> switch_;
   std::vector<PlannedEntry> entries_;
   Changes changes_;
   std::vector<Mismatch> mismatches_;
   Costs costs_;
};

// The chip's ports are the configuration's: port n is its n-th in natural order.
std::vector<QuarraAgent::ChipPort> chipPortsOf( const AclConfig &config );

} // namespace QuarraTool
