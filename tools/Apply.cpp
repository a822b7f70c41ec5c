#include "tools/Apply.h"

#include <algorithm>
#include <set>
#include <tuple>

#include <fmt/format.h>

#include "agent/RequestChecks.h"
#include "agent/StoreRefused.h"
#include "lab/CostModel.h"
#include "lab/SwitchDir.h"
#include "lab/TextFile.h"
#include "lab/Who.h"
#include "tools/KeepGoing.h"
#include "tools/TextTable.h"
#include "tools/Wanted.h"
#include "tools/Warnings.h"

namespace QuarraTool {

using namespace QuarraTcam;

std::vector<QuarraAgent::ChipPort> chipPortsOf( const AclConfig &config ) {
   std::vector<QuarraAgent::ChipPort> ports;
   for ( std::size_t i = 0; i < config.ports.size(); ++i ) {
      ports.push_back( { config.ports[ i ], QuarraModPort( 0, static_cast<U32>( i + 1 ) ) } );
   }
   return ports;
}

namespace {

class Counter : public ChangeObserver {
 public:
   explicit Counter( const Switch &theSwitch ) : writes_( theSwitch ) {
      for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
         ++sharers_[ { entry.request.group, entry.request.ports } ];
      }
   }

   void ends( const ChangeStep &step ) override {
      ++steps_;
      if ( step.kind != ChangeStep::Kind::install && step.kind != ChangeStep::Kind::remove ) {
         return;
      }
      // Only the first entry of a port set and the last one change what ports carry.
      auto &sharers = sharers_[ { step.request.group, step.request.ports } ];
      const bool isInstall = step.kind == ChangeStep::Kind::install;
      if ( ( isInstall ? sharers++ : --sharers ) == 0 ) {
         writes_.step();
      }
   }
   U64 portWords() const { return writes_.count(); }
   std::size_t steps() const { return steps_; }

 private:
   PortWrites writes_;
   std::map<std::pair<TcamGroupId, std::vector<QuarraModPort>>, std::size_t> sharers_;
   std::size_t steps_ = 0;
};

} // namespace

Applied::Applied( AclConfig config, const ChipChoice &choice, const GroupMap &map,
                  std::vector<AclComplaint> complaints )
   : config_( std::move( config ) ), complaints_( std::move( complaints ) ), map_( map ) {
   auto chosen = choice;
   chosen.chip.ports = chipPortsOf( config_ );
   switch_ = std::make_unique<Switch>( chosen );
   start();
}

Applied::Applied( AclConfig config, std::unique_ptr<Switch> lasting, const GroupMap &map,
                  std::vector<AclComplaint> complaints )
   : config_( std::move( config ) ),
     complaints_( std::move( complaints ) ),
     map_( map ),
     switch_( std::move( lasting ) ) {
   start();
}

void Applied::start() {
   auto defaults = defaultGroupMap( switch_->agent().variant().generation );
   warnOfUnusedTypes( map_, defaults, "--map ", config_ );
   map_.merge( defaults );
   checkGroups( map_ );
   install();
   mismatches_ = checkMatches( *switch_ );
   count();
}

TcamGroupId Applied::groupOf( const AclTable &table ) const {
   const auto item = map_.find( table.type );
   return item == map_.end() ? map_.at( otherTypes ) : item->second;
}

std::size_t Applied::refused() const {
   return static_cast<std::size_t>( std::count_if(
      entries_.begin(), entries_.end(), []( const auto &entry ) { return !entry.refusedCode.empty(); } ) );
}

void Applied::install() {
   auto wanted = wantedOf( config_, map_, switch_->agent().chip().ports );
   ChangeRun change( switch_->agent(), wanted, keepingWhatIsWrong( complaints_ ) );
   for ( const auto &rule : change.rules() ) {
      if ( rule.fate == RuleFate::goes ) {
         changes_.gone.push_back( switch_->agent().entries().at( *rule.entryBefore ).request );
      }
   }
   Counter counter( *switch_ );
   try {
      change.run( counter );
   } catch ( const QuarraAgent::StoreRefused &refused ) {
      throw QuarraAgent::StoreRefused( refused.code(),
                                       fmt::format( "{}; {} carried out before, and what came of them stays",
                                                    refused.what(),
                                                    counted( counter.steps(), "step was", "steps were" ) ) );
   }
   costs_.portWords = counter.portWords();
   auto request = wanted.begin();
   for ( const auto &table : config_.tables ) {
      for ( std::size_t i = 0; table.leftOut.empty() && i < table.rules.size(); ++i, ++request ) {
         entries_.push_back( { &table, &table.rules[ i ], std::move( *request ) } );
      }
   }
   for ( const auto &rule : change.rules() ) {
      if ( rule.wanted ) {
         tellOutcome( *rule.wanted, rule );
      }
   }
}

void Applied::tellOutcome( std::size_t place, const RuleChange &rule ) {
   auto &entry = entries_[ place ];
   entry.request.entry = rule.entryAfter.value_or( 0 );
   entry.change = rule.fate;
   if ( rule.fate == RuleFate::refused ) {
      entry.change = rule.entryBefore ? RuleFate::changes : RuleFate::comes;
      entry.refusedCode = rule.code;
      entry.refusedMessage = rule.message;
      return;
   }
   ++( rule.fate == RuleFate::stays   ? changes_.stayed
       : rule.fate == RuleFate::comes ? changes_.came
                                      : changes_.changed );
}

std::string Applied::tableOf( U32 entry ) const {
   const auto name = QuarraLab::tableOf( ruleOf( switch_->agent().entries().at( entry ).request ) );
   return name.empty() ? fmt::format( "entry {}", entry ) : name;
}

void Applied::count() {
   const auto &chip = switch_->agent().chip();
   std::map<std::pair<TcamGroupId, std::vector<QuarraModPort>>, std::pair<U64, const QuarraAgent::Entry *>>
      sharers;
   for ( const auto &[ id, entry ] : switch_->agent().entries() ) {
      costs_.qualifierBits = std::max( costs_.qualifierBits, qualifierBits( *switch_, entry.request.group ) );
      costs_.classIds.rows += rowsFor( chip, qualifierBits( *switch_, entry.request.group ) );
      costs_.portBitmaps.rows += rowsFor( chip, chip.portBitmapBits );
      costs_.entryPerPort.rows += rowsFor( chip, portNumberBits ) * entry.request.ports.size();
      auto &[ number, sharer ] = sharers[ { entry.request.group, entry.request.ports } ];
      ++number;
      sharer = &entry;
   }
   U64 most = 0;
   const QuarraAgent::Entry *sharer = nullptr; // of the port set that most entries share
   for ( const auto &[ portSet, item ] : sharers ) {
      if ( item.first > most ) {
         std::tie( most, sharer ) = item;
      }
   }
   costs_.classIds.writes = costs_.classIds.rows + costs_.portWords;
   costs_.portBitmaps.writes = costs_.portBitmaps.rows;
   costs_.entryPerPort.writes = costs_.entryPerPort.rows;
   costs_.classIds.join = sharer ? writesOfAJoin( *switch_, *sharer ) : 0;
   costs_.portBitmaps.join = most * rowsFor( chip, chip.portBitmapBits );
   costs_.entryPerPort.join = most;
}

} // namespace QuarraTool
