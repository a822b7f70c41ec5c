#include <set>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/GroupMap.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using enum QuarraTcam::ClassIdType;
using Align = TextTable::Align;

template <typename Number>
std::string text( Number number ) {
   return fmt::format( "{}", number );
}

std::string spacesPart( const Usage &usage ) {
   TextTable table( { { "space" },
                      { "bits", Align::right },
                      { "used", Align::right },
                      { "", Align::right },
                      { "free", Align::right },
                      { "largest free run", Align::right } } );
   for ( const auto &space : usage.spaces ) {
      table.row( { std::string( stringValue( space.space.type ) ), text( space.space.size ),
                   text( space.used ), fmt::format( "{:.0f}%", space.percent() ), text( space.free() ),
                   space.freeRuns > 1 ? fmt::format( "{} (of {} runs)", space.largestFreeRun, space.freeRuns )
                                      : text( space.largestFreeRun ) } );
   }
   return table.text();
}

std::string groupsPart( const Switch &theSwitch, const Usage &usage ) {
   std::set<TcamGroupId> byDefault;
   for ( const auto &[ type, group ] : defaultGroupMap( theSwitch.agent().variant().generation ) ) {
      byDefault.insert( group );
   }
   TextTable table( { { "group", Align::right },
                      { "space" },
                      { "width", Align::right },
                      { "pools", Align::right },
                      { "bits", Align::right },
                      { "class IDs", Align::right },
                      { "entries", Align::right },
                      { "further port sets", Align::right } } );
   std::size_t idle = 0;
   for ( const auto &group : usage.groups ) {
      if ( !group.pools && !byDefault.contains( group.group ) ) {
         ++idle;
         continue;
      }
      table.row( { text( group.group.value() ), std::string( stringValue( group.type ) ),
                   text( group.poolWidth ), text( group.pools ), text( group.bits ),
                   group.classIdsReserved
                      ? fmt::format( "{} ({} reserved)", group.classIdsLent, group.classIdsReserved )
                      : text( group.classIdsLent ),
                   text( group.entries ), text( group.furtherPortSets ) } );
   }
   return table.text() +
          fmt::format( "  {} not listed; -j lists all\n", counted( idle, "other group holds nothing and is",
                                                                   "other groups hold nothing and are" ) );
}

std::string tablesPart( const Usage &usage ) {
   TextTable table( { { "table" },
                      { "group", Align::right },
                      { "entries", Align::right },
                      { "class IDs", Align::right },
                      { "shared with other tables", Align::right } } );
   for ( const auto &item : usage.tables ) {
      table.row( { item.table.empty() ? "(entries without a table)" : item.table, text( item.group.value() ),
                   text( item.entries ), text( item.classIds ), text( item.shared ) } );
   }
   return table.empty() ? "  no entries\n" : table.text();
}

} // namespace

std::string usageText( const Switch &theSwitch, const Usage &usage ) {
   return fmt::format( "variant {}, chip {}\n\nClass-ID spaces\n", theSwitch.agent().variant().name,
                       theSwitch.agent().chip().profile ) +
          spacesPart( usage ) + "\nTCAM groups\n" + groupsPart( theSwitch, usage ) +
          "  Further port sets: how many different new ones the group alone could still take.\n\nTables\n" +
          tablesPart( usage );
}

} // namespace QuarraTool
