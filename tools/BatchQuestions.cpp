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

std::vector<U32> entriesAskedFor( JsonFields &fields, const Switch &theSwitch ) {
   if ( fields.has( "entry" ) && fields.has( "of" ) ) {
      throw RequestRefused( "badField", fields.place() + ": expected \"entry\" or \"of\", got both" );
   }
   if ( fields.has( "entry" ) ) {
      return { fields.number( "entry", 1, maxEntry ) };
   }
   const auto of = fields.optionalText( "of" ).value_or( "" );
   try {
      return entriesNamed( theSwitch, of );
   } catch ( const RequestRefused &refused ) {
      throw RequestRefused( refused.code(), fmt::format( "{}.of: {}", fields.place(), refused.what() ) );
   }
}

} // namespace

JsonOut Batch::why( JsonFields &fields ) {
   const auto port = portOf( fields, theSwitch() );
   const auto entries = entriesAskedFor( fields, theSwitch() );
   fields.finish();
   return portReportJson( theSwitch(), explainPort( theSwitch(), port, entries ) );
}

JsonOut Batch::who( JsonFields &fields ) {
   if ( fields.has( "space" ) || fields.has( "bit" ) ) {
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
   if ( !fields.has( "port" ) ) {
      throw RequestRefused( "missingField",
                            fields.place() + R"(: expected "space" and "bit", "table", or "port")" );
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
