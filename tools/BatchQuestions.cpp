#include <algorithm>

#include <fmt/format.h>

#include "lab/Diff.h"
#include "lab/Usage.h"
#include "lab/Why.h"
#include "tools/Batch.h"

// The operations that ask and change nothing.
namespace QuarraTool {
namespace {

using QuarraAgent::RequestRefused;

constexpr U32 maxEntry = 0xffffffff;

QuarraModPort portOf( JsonFields &fields, const Switch &theSwitch ) {
   const PortNames names( theSwitch );
   const auto port = fields.port( "port", [ & ]( const std::string &name ) { return names.find( name ); } );
   if ( std::ranges::find( theSwitch.ports(), port ) == theSwitch.ports().end() ) {
      throw RequestRefused( "unknownPort", fmt::format( "{}: there is no port {} of module {} on the switch",
                                                        fields.place(), port.port(), port.modId().value() ) );
   }
   return port;
}

} // namespace

JsonOut Batch::why( JsonFields &fields ) {
   const auto port = portOf( fields, theSwitch() );
   std::vector<U32> entries;
   if ( fields.has( "entry" ) ) {
      entries = { fields.number( "entry", 1, maxEntry ) };
   } else {
      entries = entriesNamed( theSwitch(), fields.optionalText( "of" ).value_or( "" ) );
   }
   fields.finish();
   return portReportJson( theSwitch(), explainPort( theSwitch(), port, entries ) );
}

JsonOut Batch::who( JsonFields &fields ) {
   if ( fields.has( "space" ) ) {
      const auto name = fields.text( "space" );
      const U32 bit = fields.number( "bit", 0, 255 );
      fields.finish();
      return bitReportJson( theSwitch(), whoHoldsBit( theSwitch(), spaceNamed( theSwitch(), name ), bit ) );
   }
   if ( fields.has( "table" ) ) {
      const auto table = fields.text( "table" );
      fields.finish();
      return tableReportJson( theSwitch(), whoHoldsForTable( theSwitch(), table ) );
   }
   const auto port = portOf( fields, theSwitch() );
   fields.finish();
   return portReportJson( theSwitch(), explainPort( theSwitch(), port, {} ) );
}

JsonOut Batch::usage( JsonFields &fields ) {
   fields.finish();
   return usageJson( usageOf( theSwitch() ) );
}

JsonOut Batch::diff( JsonFields &fields ) {
   const auto &before = fields.value( "before" );
   fields.finish();
   try {
      return differenceJson( difference( stateOfDump( before ), stateOf( theSwitch() ) ) );
   } catch ( const Complaint &complaint ) {
      throw RequestRefused( "badField", fields.place() + ".before" + complaint.what() );
   }
}

} // namespace QuarraTool
