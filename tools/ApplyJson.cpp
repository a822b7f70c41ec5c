#include "tools/ApplyReport.h"

namespace QuarraTool {
namespace {

JsonOut costJson( const Cost &cost ) {
   return { { "rows", cost.rows }, { "writes", cost.writes }, { "writesWhenAPortJoins", cost.join } };
}

JsonOut tablesJson( const Applied &applied ) {
   auto tables = JsonOut::array();
   for ( const auto &table : applied.config().tables ) {
      JsonOut json = { { "name", table.name },          { "type", table.type },   { "group", nullptr },
                       { "rules", table.rules.size() }, { "ports", table.ports }, { "leftOut", nullptr } };
      if ( table.leftOut.empty() ) {
         json[ "group" ] = applied.groupOf( table ).value();
      } else {
         json[ "leftOut" ] = table.leftOut;
      }
      tables.push_back( std::move( json ) );
   }
   return tables;
}

JsonOut entriesJson( const Applied &applied ) {
   auto entries = JsonOut::array();
   for ( const auto &entry : applied.entries() ) {
      JsonOut json = { { "entry", entry.request.entry }, { "table", entry.table->name },
                       { "rule", entry.rule->name },     { "group", entry.request.group.value() },
                       { "ports", *entry.rule->ports },  { "installed", entry.refusedCode.empty() } };
      if ( !entry.refusedCode.empty() ) {
         json[ "error" ] = { { "code", entry.refusedCode }, { "message", entry.refusedMessage } };
      } else {
         json[ "key" ] = keyJson( applied.theSwitch().agent().entries().at( entry.request.entry ).key );
      }
      entries.push_back( std::move( json ) );
   }
   return entries;
}

} // namespace

JsonOut applyJson( const Applied &applied ) {
   const auto &agent = applied.theSwitch().agent();
   auto mismatches = JsonOut::array();
   for ( const auto &mismatch : applied.mismatches() ) {
      mismatches.push_back( mismatchJson( applied.theSwitch(), mismatch ) );
   }
   const auto &costs = applied.costs();
   return { { "ok", applied.allFitAndMatch() },
            { "file", applied.config().file },
            { "variant", agent.variant().name },
            { "chip", agent.chip().profile },
            { "ports", applied.config().ports },
            { "warnings", applied.config().warnings },
            { "tables", tablesJson( applied ) },
            { "entries", entriesJson( applied ) },
            { "refused", applied.refused() },
            { "spaces", dumpSpaces( applied.theSwitch() ) },
            { "groups", dumpGroups( applied.theSwitch() ) },
            { "cost",
              { { "rowBits", agent.chip().tcamRowBits },
                { "ruleBits", agent.chip().ruleBits },
                { "classIdBits", costs.qualifierBits },
                { "portBitmapBits", agent.chip().portBitmapBits },
                { "perPortTableWrites", costs.portWords },
                { "classIds", costJson( costs.classIds ) },
                { "portBitmaps", costJson( costs.portBitmaps ) },
                { "entryPerPort", costJson( costs.entryPerPort ) } } },
            { "mismatches", std::move( mismatches ) } };
}

} // namespace QuarraTool
