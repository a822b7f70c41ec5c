#include "tools/ApplyReport.h"
#include "tools/KeepGoing.h"

namespace QuarraTool {
namespace {

JsonOut costJson( const Cost &cost ) {
   return { { "rows", cost.rows }, { "writes", cost.writes }, { "writesWhenAPortJoins", cost.join } };
}

JsonOut portsNamed( const std::vector<std::string> &names, const std::map<std::string, QuarraModPort> &portOf,
                    const PortsJson &ports ) {
   auto json = JsonOut::array();
   for ( const auto &name : names ) {
      json.push_back( ports.port( portOf.at( name ) ) );
   }
   return json;
}

JsonOut tablesJson( const Applied &applied, const PortsJson &ports ) {
   std::map<std::string, QuarraModPort> portOf;
   for ( const auto &port : applied.theSwitch().agent().chip().ports ) {
      portOf.emplace( port.intf, port.port );
   }
   auto tables = JsonOut::array();
   for ( const auto &table : applied.config().tables ) {
      JsonOut json = { { "name", table.name },
                       { "type", table.type },
                       { "group", nullptr },
                       { "rules", table.rules.size() },
                       { "ports", portsNamed( table.ports, portOf, ports ) },
                       { "leftOut", nullptr } };
      if ( table.leftOut.empty() ) {
         json[ "group" ] = applied.groupOf( table ).value();
      } else {
         json[ "leftOut" ] = table.leftOut;
      }
      tables.push_back( std::move( json ) );
   }
   return tables;
}

// The ports of a rule that has its table's are not said again: there may be many rules of many ports.
JsonOut entriesJson( const Applied &applied, const PortsJson &ports ) {
   auto entries = JsonOut::array();
   for ( const auto &entry : applied.entries() ) {
      JsonOut json = { { "entry", entry.request.entry ? JsonOut( entry.request.entry ) : JsonOut() },
                       { "table", entry.table->name },
                       { "rule", entry.rule->name },
                       { "group", entry.request.group.value() } };
      if ( *entry.rule->ports != entry.table->ports ) {
         json[ "ports" ] = ports.list( entry.request.ports );
      }
      json[ "installed" ] = entry.refusedCode.empty();
      if ( applied.lasts() ) {
         json[ "change" ] = stringValue( entry.change );
      }
      if ( !entry.refusedCode.empty() ) {
         json[ "error" ] = { { "code", entry.refusedCode }, { "message", entry.refusedMessage } };
      } else {
         json[ "key" ] = keyJson( applied.theSwitch().agent().entries().at( entry.request.entry ).key );
      }
      entries.push_back( std::move( json ) );
   }
   return entries;
}

JsonOut changesJson( const Applied &applied ) {
   const auto &done = applied.changes();
   auto gone = JsonOut::array();
   for ( const auto &request : done.gone ) {
      gone.push_back(
         { { "entry", request.entry }, { "group", request.group.value() }, { "label", request.label } } );
   }
   return { { "came", done.came },
            { "changed", done.changed },
            { "stayed", done.stayed },
            { "gone", std::move( gone ) },
            { "sdkCalls", applied.theSwitch().chip().calls() } };
}

} // namespace

JsonOut applyJson( const Applied &applied ) {
   const auto &agent = applied.theSwitch().agent();
   const PortsJson ports( applied.theSwitch() );
   auto chipPorts = JsonOut::array();
   for ( const auto &port : agent.chip().ports ) {
      chipPorts.push_back( ports.port( port.port ) );
   }
   auto mismatches = JsonOut::array();
   for ( const auto &mismatch : applied.mismatches() ) {
      mismatches.push_back( mismatchJson( applied.theSwitch(), ports, mismatch ) );
   }
   const auto &costs = applied.costs();
   auto json = document( applied.allFitAndMatch() );
   json[ "file" ] = applied.config().file;
   json[ "variant" ] = agent.variant().name;
   json[ "chip" ] = agent.chip().profile;
   json[ "ports" ] = std::move( chipPorts );
   json[ "complaints" ] = complaintsJson( applied.complaints() );
   json[ "warnings" ] = applied.config().warnings;
   json[ "tables" ] = tablesJson( applied, ports );
   json[ "entries" ] = entriesJson( applied, ports );
   json[ "refused" ] = applied.refused();
   if ( applied.lasts() ) {
      json[ "changes" ] = changesJson( applied );
   }
   json[ "spaces" ] = dumpSpaces( applied.theSwitch() );
   json[ "groups" ] = dumpGroups( applied.theSwitch() );
   json[ "cost" ] = {
      { "rowBits", agent.chip().tcamRowBits },          { "ruleBits", agent.chip().ruleBits },
      { "classIdBits", costs.qualifierBits },           { "portBitmapBits", agent.chip().portBitmapBits },
      { "perPortTableWrites", costs.portWords },        { "classIds", costJson( costs.classIds ) },
      { "portBitmaps", costJson( costs.portBitmaps ) }, { "entryPerPort", costJson( costs.entryPerPort ) }
   };
   json[ "mismatches" ] = std::move( mismatches );
   return json;
}

} // namespace QuarraTool
