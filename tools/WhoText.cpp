#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using enum QuarraTcam::ClassIdType;
using Align = TextTable::Align;

} // namespace

std::string bitText( const Switch &theSwitch, const BitReport &report ) {
   const PortNames names( theSwitch );
   auto text = fmt::format( "bit {} of {}{}\n", report.bit, stringValue( report.space.type ),
                            report.space.firstBit ? fmt::format( ", bit {} of the port's ACL-group value",
                                                                 report.space.firstBit + report.bit )
                                                  : std::string() );
   if ( report.pools.empty() ) {
      text += report.taken ? "  reserved, and in no pool: a fault\n" : "  free\n";
   }
   for ( const auto &[ group, pool ] : report.pools ) {
      text += fmt::format( "  pool {} of group {}: {}, {} free\n", pool->poolId(), group.value(),
                           pool->size() == 1 ? fmt::format( "bit {}", pool->baseOffset() )
                                             : fmt::format( "bits {} to {}", pool->baseOffset(),
                                                            pool->baseOffset() + pool->size() - 1 ),
                           counted( pool->classIdPools(), "class ID", "class IDs" ) );
   }
   if ( !report.holders.empty() ) {
      TextTable table( { { "group", Align::right },
                         { "class ID", Align::right },
                         { "bits" },
                         { "used by" },
                         { "ports" } } );
      for ( const auto &holder : report.holders ) {
         table.row( { fmt::format( "{}", holder.group.value() ),
                      fmt::format( "{}", holder.request->classId() ), numbersText( holder.bits() ),
                      usersText( theSwitch, holder ), names.list( *holder.request->intfGroup() ) } );
      }
      text += "\nClass IDs that set it\n" + table.text();
   }
   return text + fmt::format( "\nPorts that carry it: {}\n", names.list( report.carriers ) );
}

std::string tableText( const Switch &theSwitch, const TableReport &report ) {
   const PortNames names( theSwitch );
   TextTable table( { { "group", Align::right },
                      { "space" },
                      { "pool", Align::right },
                      { "class ID", Align::right },
                      { "bits" },
                      { "entries of it" },
                      { "used by" },
                      { "ports" } } );
   for ( const auto &[ holder, entries ] : report.shares ) {
      table.row( { fmt::format( "{}", holder.group.value() ),
                   std::string( stringValue( classIdTcamGroupsInfo.at( holder.group )->classIdType() ) ),
                   fmt::format( "{}", holder.pool->poolId() ), fmt::format( "{}", holder.request->classId() ),
                   numbersText( holder.bits() ), numbersText( entries ), usersText( theSwitch, holder ),
                   names.list( *holder.request->intfGroup() ) } );
   }
   return fmt::format( "table {} uses {}\n", oneLine( report.table ),
                       counted( report.shares.size(), "class ID", "class IDs" ) ) +
          table.text();
}

} // namespace QuarraTool
