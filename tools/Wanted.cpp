#include "tools/Wanted.h"

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/TextTable.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraTcam;

namespace {

std::string ruleName( const AclTable &table, const AclRule &rule ) {
   return table.name + "|" + rule.name;
}

TcamGroupId groupOf( const AclTable &table, const GroupMap &map ) {
   const auto item = map.find( table.type );
   return item == map.end() ? map.at( otherTypes ) : item->second;
}

} // namespace

WantedEntries wantedOf( const AclConfig &config, const GroupMap &map,
                        const std::vector<QuarraAgent::ChipPort> &ports ) {
   std::map<std::string, QuarraModPort> portOf;
   for ( const auto &port : ports ) {
      portOf.emplace( port.intf, port.port );
   }
   std::vector<std::string> unknown;
   for ( const auto &name : config.ports ) {
      if ( !portOf.contains( name ) ) {
         unknown.push_back( fmt::format( "\"{}\"", name ) );
      }
   }
   if ( !unknown.empty() ) {
      throw InputError( fmt::format( "{}: {} not on the switch: {}", config.file,
                                     counted( unknown.size(), "port is", "ports are" ),
                                     shortened( unknown, 8 ) ) );
   }
   std::map<const void *, std::vector<QuarraModPort>> lists; // by the list of names that rules share
   WantedEntries wanted;
   for ( const auto &table : config.tables ) {
      if ( !table.leftOut.empty() ) {
         continue;
      }
      for ( const auto &rule : table.rules ) {
         auto [ item, isNew ] = lists.try_emplace( rule.ports.get() );
         for ( std::size_t i = 0; isNew && i < rule.ports->size(); ++i ) {
            item->second.push_back( portOf.at( ( *rule.ports )[ i ] ) );
         }
         wanted.push_back( { .group = groupOf( table, map ),
                             .ports = item->second,
                             .rule = RuleId( FeatureGroupType::acl, ruleName( table, rule ) ),
                             .label = ruleName( table, rule ) } );
      }
   }
   return wanted;
}

} // namespace QuarraTool
