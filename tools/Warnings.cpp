#include "tools/Warnings.h"

#include <set>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/TextTable.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;

void warnOfUnusedTypes( const GroupMap &map, const std::string &place, AclConfig &config,
                        const AclConfig *before ) {
   std::set<std::string> types;
   for ( const auto *one : { static_cast<const AclConfig *>( &config ), before } ) {
      for ( std::size_t i = 0; one && i < one->tables.size(); ++i ) {
         types.insert( one->tables[ i ].type );
      }
   }
   for ( const auto &[ type, group ] : map ) {
      if ( !types.contains( type ) ) {
         config.warnings.push_back(
            fmt::format( "{}{}={}: no table has this type", place, type, group.value() ) );
      }
   }
}

std::string leftOutText( const AclTable &table ) {
   return fmt::format( "{} ({}, {}): {}", shortName( table.name ), shortName( table.type ),
                       counted( table.rules.size(), "rule", "rules" ), table.leftOut );
}

std::string warningsText( const AclConfig &config ) {
   std::string leftOut;
   for ( const auto &table : config.tables ) {
      leftOut += table.leftOut.empty() ? "" : fmt::format( "  {}\n", leftOutText( table ) );
   }
   std::string warnings;
   for ( const auto &warning : config.warnings ) {
      warnings += fmt::format( "  {}\n", messageLine( warning ) );
   }
   return ( leftOut.empty() ? "" : "Tables left out\n" + leftOut + "\n" ) +
          ( warnings.empty() ? "" : "Warnings\n" + warnings + "\n" );
}

JsonOut warningsJson( const AclConfig &config ) {
   auto leftOut = JsonOut::array();
   for ( const auto &table : config.tables ) {
      if ( !table.leftOut.empty() ) {
         leftOut.push_back( { { "table", table.name },
                              { "type", table.type },
                              { "rules", table.rules.size() },
                              { "why", table.leftOut } } );
      }
   }
   return { { "warnings", config.warnings }, { "leftOut", std::move( leftOut ) } };
}

} // namespace QuarraTool
