#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/PlaceText.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

std::string_view signOf( Change change ) {
   switch ( change ) {
   case Change::came:
      return "+";
   case Change::gone:
      return "-";
   case Change::changed:
      return "~";
   }
   return ""; // no enumerator
}

// What became of an entry.
std::string fateOf( const EntryChange &entry, const ChangedPorts &names ) {
   if ( entry.change != Change::changed ) {
      return placeText( entry.change == Change::came ? *entry.placeAfter : *entry.placeBefore );
   }
   const auto moved =
      entry.placeBefore == entry.placeAfter ? "" : moveText( *entry.placeBefore, *entry.placeAfter );
   const auto ports = names.gainsAndLosses( entry.ports );
   return moved + ( moved.empty() || ports.empty() ? "" : "; " ) + ports;
}

// "OFFICE|DNS (entry 1)", "3 rules of OFFICE (entries 1-3)".
std::string entriesName( const std::vector<const EntryChange *> &entries ) {
   const auto &first = *entries.front();
   std::vector<U32> ids;
   for ( const auto *entry : entries ) {
      ids.push_back( entry->after ? *entry->after : *entry->before );
   }
   if ( entries.size() == 1 ) {
      return first.rule.empty() ? fmt::format( "entry {}", ids[ 0 ] )
                                : fmt::format( "{} (entry {})", oneLine( first.rule ), ids[ 0 ] );
   }
   const auto table = tableOf( first.rule );
   return table.empty()
             ? fmt::format( "entries {}", numbersText( ids ) )
             : fmt::format( "{} rules of {} (entries {})", ids.size(), oneLine( table ), numbersText( ids ) );
}

// One line for the entries of a table to which the same happened.
std::string entriesPart( const Difference &difference, const ChangedPorts &names ) {
   using Key = std::tuple<Change, std::string, std::string>;
   std::map<Key, std::vector<const EntryChange *>> alike;
   std::vector<Key> order;
   for ( const auto &entry : difference.entries ) {
      const Key key( entry.change, tableOf( entry.rule ), fateOf( entry, names ) );
      auto &entries = alike[ key ];
      if ( entries.empty() ) {
         order.push_back( key );
      }
      entries.push_back( &entry );
   }
   std::string text;
   for ( const auto &key : order ) {
      text += fmt::format( "  {} {}: {}\n", signOf( std::get<Change>( key ) ), entriesName( alike.at( key ) ),
                           std::get<2>( key ) );
   }
   return text;
}

std::string classIdsPart( const Difference &difference, const ChangedPorts &names ) {
   std::string text;
   for ( const auto &classId : difference.classIds ) {
      text += fmt::format( "  {} {}: ", signOf( classId.change ), placeText( classId.place ) );
      text += classId.entriesBefore == classId.entriesAfter
                 ? counted( classId.entriesAfter, "entry", "entries" )
                 : fmt::format( "{}, then {}", counted( classId.entriesBefore, "entry", "entries" ),
                                classId.entriesAfter );
      const auto ports = names.gainsAndLosses( classId.ports );
      text += ports.empty() ? "" : "; " + ports;
      if ( classId.ethernetBefore != classId.ethernetAfter ) {
         text += classId.ethernetAfter ? "; now of all ethernet ports" : "; no longer of all ethernet ports";
      }
      text += "\n";
   }
   return text;
}

std::string portsPart( const Difference &difference, const ChangedPorts &names ) {
   TextTable table( { { "port" }, { "value" }, { "bits gained" }, { "bits lost" } } );
   for ( const auto &port : difference.ports ) {
      table.row( { names.name( port.port ), port.value,
                   numbersText( { port.bits.gained.begin(), port.bits.gained.end() } ),
                   numbersText( { port.bits.lost.begin(), port.bits.lost.end() } ) } );
   }
   return table.empty() ? "" : table.text();
}

std::string part( const std::string &heading, const std::string &lines ) {
   return lines.empty() ? "" : heading + "\n" + lines + "\n";
}

} // namespace

std::string differenceText( const Difference &difference ) {
   if ( !difference.any() ) {
      return "no difference\n";
   }
   const ChangedPorts names( difference.portNames );
   auto text = part( "Entries (+ came, - gone, ~ changed)", entriesPart( difference, names ) ) +
               part( "Class IDs", classIdsPart( difference, names ) ) +
               part( "Ports", portsPart( difference, names ) );
   text.pop_back();
   return text;
}

} // namespace QuarraTool
