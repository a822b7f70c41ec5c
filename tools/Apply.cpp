#include "tools/Apply.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "agent/RequestChecks.h"
#include "lab/CostModel.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
// The chip's ports are the configuration's: port n is its n-th in natural order.
ChipChoice withPortsOf( const AclConfig &config, ChipChoice choice ) {
   choice.chip.ports.clear();
   for ( std::size_t i = 0; i < config.ports.size(); ++i ) {
      choice.chip.ports.push_back( { config.ports[ i ], QuarraModPort( 0, static_cast<U32>( i + 1 ) ) } );
   }
   return choice;
}

} // namespace

Applied::Applied( AclConfig config, const ChipChoice &choice, const GroupMap &map,
                  std::vector<AclComplaint> complaints )
   : config_( std::move( config ) ), complaints_( std::move( complaints ) ), map_( map ) {
   map_.merge( defaultGroupMap( choice.variant->generation ) );
   const auto chosen = withPortsOf( config_, choice );
   switch_ = std::make_unique<Switch>( chosen );
   for ( const auto &[ type, group ] : map_ ) {
      QuarraAgent::RequestChecks::knownGroup( group );
   }
   plan();
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

void Applied::plan() {
   std::map<std::string, QuarraModPort> portOf;
   for ( const auto &port : switch_->agent().chip().ports ) {
      portOf.emplace( port.intf, port.port );
   }
   std::map<const void *, std::vector<QuarraModPort>> chipPorts; // by the list of names that rules share
   for ( const auto &table : config_.tables ) {
      if ( !table.leftOut.empty() ) {
         continue;
      }
      for ( const auto &rule : table.rules ) {
         PlannedEntry entry{ &table, &rule, {}, {}, {} };
         entry.request.group = groupOf( table );
         entry.request.entry = static_cast<U32>( entries_.size() + 1 );
         entry.request.rule = RuleId( FeatureGroupType::acl, table.name + "|" + rule.name );
         auto &ports = chipPorts[ rule.ports.get() ];
         if ( ports.empty() ) {
            for ( const auto &name : *rule.ports ) {
               ports.push_back( portOf.at( name ) );
            }
         }
         entry.request.ports = ports;
         entries_.push_back( std::move( entry ) );
      }
   }
}

void Applied::installOne( PlannedEntry &entry ) {
   try {
      switch_->agent().install( entry.request );
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      entry.refusedCode = refused.code();
      entry.refusedMessage = refused.what();
   }
}

void Applied::install() {
   std::set<TcamGroupId> created;
   std::set<std::pair<TcamGroupId, std::vector<QuarraModPort>>> portSets;
   PortWrites writes( *switch_ );
   for ( auto &entry : entries_ ) {
      if ( created.insert( entry.request.group ).second ) {
         try {
            switch_->agent().createGroup( entry.request.group );
         } catch ( const QuarraAgent::RequestRefused & ) {
            // The group's entries are refused in turn, each with the reason.
         }
      }
      installOne( entry );
      // An entry of a port set that is programmed already writes no port words.
      if ( entry.refusedCode.empty() &&
           portSets.emplace( entry.request.group, entry.request.ports ).second ) {
         writes.step();
      }
   }
   costs_.portWords = writes.count();
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
