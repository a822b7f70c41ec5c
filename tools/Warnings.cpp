#include "tools/Warnings.h"

#include <iostream>
#include <set>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/TextTable.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;

void warnOfUnusedTypes( const GroupMap &map, const GroupMap &defaults, const std::string &place,
                        AclConfig &config, const AclConfig *before ) {
   std::set<std::string> types;
   for ( const auto *one : { static_cast<const AclConfig *>( &config ), before } ) {
      for ( std::size_t i = 0; one && i < one->tables.size(); ++i ) {
         const auto &type = one->tables[ i ].type;
         types.insert( map.contains( type ) || defaults.contains( type ) ? type : otherTypes );
      }
   }
   for ( const auto &[ type, group ] : map ) {
      if ( !types.contains( type ) ) {
         config.warnings.push_back( fmt::format( "{}{}={}: {}", place, type, group.value(),
                                                 type == otherTypes
                                                    ? "the type of every table has a group of its own"
                                                    : "no table has this type" ) );
      }
   }
}

std::string leftOutText( const AclTable &table ) {
   return fmt::format( "{} ({}, {}): {}", shortName( table.name ), shortName( table.type ),
                       counted( table.rules.size(), "rule", "rules" ), table.leftOut );
}

void tellLeftOut( const AclConfig &config ) {
   constexpr std::size_t most = 100;
   std::size_t told = 0;
   for ( const auto &table : config.tables ) {
      if ( !table.leftOut.empty() && told++ < most ) {
         std::cerr << fmt::format( "quarra-tcam: {}\n",
                                   messageLine( config.file + ": left out: " + leftOutText( table ) ) );
      }
   }
   if ( told > most ) {
      std::cerr << fmt::format( "quarra-tcam: {}: and {} left out\n", messageLine( config.file ),
                                counted( told - most, "more table is", "more tables are" ) );
   }
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
