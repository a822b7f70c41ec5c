#include <algorithm>
#include <memory>

#include <fmt/format.h>

#include "agent/Audit.h"
#include "lab/PortNames.h"
#include "lab/SwitchDir.h"
#include "lab/TextFile.h"
#include "lab/Who.h"
#include "tools/Command.h"
#include "tools/OpenSwitch.h"
#include "tools/SdkCalls.h"
#include "tools/TextTable.h"

// What the chip holds against what the agent put there.
namespace QuarraTool {
namespace {

using QuarraAgent::Audited;
using QuarraAgent::Drift;

constexpr std::size_t mostDrifts = 50; // listed, unless all are asked for

std::string whereOf( const Switch &theSwitch, const PortNames &names, const Drift &drift ) {
   switch ( drift.kind ) {
   case Drift::Kind::entryMissing:
   case Drift::Kind::entryUnknown:
   case Drift::Kind::qualifier: {
      const auto &entries = theSwitch.agent().entries();
      const auto item = entries.find( drift.entry );
      const auto name = item == entries.end() ? std::string() : ruleOf( item->second.request );
      return fmt::format( "entry {}{}", drift.entry, name.empty() ? "" : " (" + shortName( name ) + ")" );
   }
   case Drift::Kind::portBit:
      return fmt::format( "{} bit {}", names.name( { drift.module, drift.port } ), drift.bit );
   case Drift::Kind::portWord:
      return fmt::format( "{} table {}", names.name( { drift.module, drift.port } ), drift.table );
   }
   return {};
}

JsonOut driftJson( const PortsJson &ports, const Drift &drift ) {
   JsonOut json = { { "kind", stringValue( drift.kind ) } };
   if ( drift.kind == Drift::Kind::portBit || drift.kind == Drift::Kind::portWord ) {
      json[ "port" ] = ports.port( { drift.module, drift.port } );
      if ( drift.kind == Drift::Kind::portBit ) {
         json[ "bit" ] = drift.bit;
      } else {
         json[ "table" ] = drift.table;
      }
   } else {
      json[ "entry" ] = drift.entry;
   }
   json[ "expected" ] = drift.expected;
   json[ "found" ] = drift.found;
   return json;
}

std::string driftsText( const Switch &theSwitch, const Audited &audited, bool all ) {
   if ( audited.drifts.empty() ) {
      return {};
   }
   const PortNames names( theSwitch );
   TextTable table( { { "drift" }, { "where" }, { "expected" }, { "found" } } );
   const auto shown = all ? audited.drifts.size() : std::min( audited.drifts.size(), mostDrifts );
   for ( std::size_t i = 0; i < shown; ++i ) {
      const auto &drift = audited.drifts[ i ];
      table.row( { std::string( stringValue( drift.kind ) ), whereOf( theSwitch, names, drift ),
                   drift.expected, drift.found } );
   }
   const auto more = audited.drifts.size() - shown;
   return table.text() + ( more ? fmt::format( "  and {} more; --all lists them\n", more ) : std::string() );
}

std::string comparedText( const Switch &theSwitch, const Audited &audited ) {
   auto text =
      fmt::format( "switch {}: {}, {} of port tables and {} of ports' values compared; {}\n",
                   oneLine( theSwitch.dir()->path() ), counted( audited.entries, "entry", "entries" ),
                   counted( audited.words, "word", "words" ), counted( audited.bits, "bit", "bits" ),
                   counted( audited.drifts.size(), "drift", "drifts" ) );
   if ( !audited.readsEntries ) {
      text += "  not compared: entries and words, which the SDK does not read back\n";
   }
   if ( !audited.readsBits ) {
      text += "  not compared: the ports' values, which are not on the chip of "
              "this variant\n";
   }
   return text;
}

JsonOut auditJson( const Switch &theSwitch, const Audited &audited, bool good ) {
   const PortsJson ports( theSwitch );
   auto json = document( good );
   json[ "variant" ] = theSwitch.agent().variant().name;
   json[ "chip" ] = theSwitch.agent().chip().profile;
   json[ "compared" ] = { { "entries", audited.readsEntries ? JsonOut( audited.entries ) : JsonOut() },
                          { "words", audited.readsEntries ? JsonOut( audited.words ) : JsonOut() },
                          { "bits", audited.readsBits ? JsonOut( audited.bits ) : JsonOut() } };
   json[ "drifts" ] = JsonOut::array();
   for ( const auto &drift : audited.drifts ) {
      json[ "drifts" ].push_back( driftJson( ports, drift ) );
   }
   return json;
}

int runAudit( const GlobalOptions &global, bool all, Output &out ) {
   const auto theSwitch = openSwitch( global );
   const auto audited = audit( theSwitch->agent() );
   if ( global.json ) {
      out.print( jsonText( auditJson( *theSwitch, audited, audited.drifts.empty() ), global.pretty ) + "\n" );
   } else {
      out.print( comparedText( *theSwitch, audited ) + driftsText( *theSwitch, audited, all ) );
   }
   return audited.drifts.empty() ? exitGood : exitDoesNotFit;
}

int runRepair( const GlobalOptions &global, bool all, Output &out ) {
   const auto theSwitch = openSwitch( global );
   const auto audited = repair( theSwitch->agent() );
   const U64 writes = sdkWrites( *theSwitch );
   const auto left = audit( theSwitch->agent() ).drifts.size();
   if ( global.json ) {
      auto json = auditJson( *theSwitch, audited, left == 0 );
      json[ "sdkWrites" ] = writes;
      json[ "left" ] = left;
      out.print( jsonText( json, global.pretty ) + "\n" );
   } else {
      out.print( comparedText( *theSwitch, audited ) + driftsText( *theSwitch, audited, all ) );
      if ( !audited.drifts.empty() ) {
         out.print( fmt::format( "  {} repaired by {}, {} left\n",
                                 audited.drifts.size() - std::min( left, audited.drifts.size() ),
                                 counted( writes, "SDK write", "SDK writes" ), left ) );
      }
      if ( global.statistics ) {
         out.print( "\n" + sdkCallsText( *theSwitch ) );
      }
   }
   return withFailuresChecked( global, theSwitch.get(), left ? exitDoesNotFit : exitGood );
}

template <int ( *run )( const GlobalOptions &global, bool all, Output &out )>
Command::Run addOptions( CLI::App &app ) {
   const auto all = std::make_shared<bool>( false );
   app.add_flag( "--all", *all, "List every drift (the document always does)" );
   return [ all ]( const GlobalOptions &global, Output &out ) { return run( global, *all, out ); };
}

} // namespace

const Command auditCommand = { "audit",
                               "Compare what the chip of a switch that lasts "
                               "holds with what was put there",
                               { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                 CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                               addOptions<runAudit> };

const Command repairCommand = { "repair",
                                "Write what the chip should hold where it holds something else",
                                { CommonOption::json, CommonOption::pretty, CommonOption::statistics,
                                  CommonOption::variant, CommonOption::chip, CommonOption::switchDir,
                                  CommonOption::failSdkCall, CommonOption::trace },
                                addOptions<runRepair> };

} // namespace QuarraTool
