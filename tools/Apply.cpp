#include "tools/Apply.h"

#include <algorithm>
#include <set>
#include <tuple>

#include <fmt/format.h>

#include "agent/RequestChecks.h"
#include "lab/CostModel.h"
#include "lab/SwitchDir.h"
#include "lab/TextFile.h"
#include "lab/Who.h"

namespace QuarraTool {

using namespace QuarraTcam;

std::vector<QuarraAgent::ChipPort> chipPortsOf( const AclConfig &config ) {
   std::vector<QuarraAgent::ChipPort> ports;
   for ( std::size_t i = 0; i < config.ports.size(); ++i ) {
      ports.push_back( { config.ports[ i ], QuarraModPort( 0, static_cast<U32>( i + 1 ) ) } );
   }
   return ports;
}

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
   map_.merge( defaultGroupMap( switch_->agent().variant().generation ) );
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
   for ( const auto &port : config_.ports ) {
      if ( !portOf.contains( port ) ) {
         throw QuarraAgent::RequestRefused( "unknownPort",
                                            fmt::format( "{}: the switch {} has no port {}", config_.file,
                                                         switch_->dir()->path(), shortName( port ) ) );
      }
   }
   std::map<const void *, std::vector<QuarraModPort>> chipPorts; // by the list of names that rules share
   for ( const auto &table : config_.tables ) {
      if ( !table.leftOut.empty() ) {
         continue;
      }
      for ( const auto &rule : table.rules ) {
         PlannedEntry entry{ &table, &rule, {} };
         entry.request.group = groupOf( table );
         entry.request.label = table.name + "|" + rule.name;
         entry.request.rule = RuleId( FeatureGroupType::acl, entry.request.label );
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

// What is wrong with a rule may be a slip of the pen: what was there of it is not taken away for that.
bool Applied::isComplainedAbout( const std::string &label ) const {
   return std::any_of( complaints_.begin(), complaints_.end(), [ & ]( const auto &complaint ) {
      const auto &table = complaint.table;
      return !table.empty() && ( complaint.rule.empty() ? label.starts_with( table + "|" )
                                                        : label == table + "|" + complaint.rule );
   } );
}

void Applied::install() {
   std::vector<WantedEntry> wanted;
   wanted.reserve( entries_.size() );
   for ( const auto &entry : entries_ ) {
      wanted.push_back( { entry.request } );
   }
   std::set<std::pair<TcamGroupId, std::vector<QuarraModPort>>> portSets;
   PortWrites writes( *switch_ );
   ReconcileOptions options;
   options.keeps = [ this ]( const std::string &label ) { return isComplainedAbout( label ); };
   options.installed = [ & ]( const WantedEntry &entry ) {
      // An entry of a port set that is programmed already writes no port words.
      if ( portSets.emplace( entry.request.group, entry.request.ports ).second ) {
         writes.step();
      }
   };
   reconciled_ = reconcile( switch_->agent(), wanted, options );
   costs_.portWords = writes.count();
   for ( std::size_t i = 0; i < wanted.size(); ++i ) {
      auto &entry = entries_[ i ];
      entry.request.entry = wanted[ i ].request.entry;
      entry.change = wanted[ i ].change;
      entry.refusedCode = std::move( wanted[ i ].refusedCode );
      entry.refusedMessage = std::move( wanted[ i ].refusedMessage );
      if ( entry.refusedCode.empty() ) {
         placeOf_.emplace( entry.request.entry, i );
      }
   }
}

std::string Applied::nameOf( U32 entry ) const {
   if ( const auto place = placeOf_.find( entry ); place != placeOf_.end() ) {
      const auto &planned = entries_[ place->second ];
      return shortName( planned.table->name ) + "|" + shortName( planned.rule->name );
   }
   const auto name = ruleOf( switch_->agent().entries().at( entry ).request );
   return name.empty() ? fmt::format( "entry {}", entry ) : shortName( name );
}

std::string Applied::tableOf( U32 entry ) const {
   if ( const auto place = placeOf_.find( entry ); place != placeOf_.end() ) {
      return entries_[ place->second ].table->name;
   }
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
