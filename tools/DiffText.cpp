#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

class Names {
 public:
   explicit Names( const std::map<QuarraModPort, std::string> &names ) : names_( names ) {}

   std::string name( const QuarraModPort &port ) const {
      const auto item = names_.find( port );
      return item == names_.end() ? QuarraAgent::portName( port ) : oneLine( item->second );
   }

   std::string list( const std::set<QuarraModPort> &ports ) const {
      constexpr std::size_t most = 12;
      std::string text;
      std::size_t listed = 0;
      for ( const auto &port : ports ) {
         if ( listed++ == most ) {
            return fmt::format( "{} and {} more", text, ports.size() - most );
         }
         text += ( text.empty() ? "" : ", " ) + name( port );
      }
      return text;
   }

   // ", gains A, B, loses C"
   std::string gainsAndLosses( const GainedAndLost<QuarraModPort> &ports ) const {
      return ( ports.gained.empty() ? "" : "gains " + list( ports.gained ) ) +
             ( ports.gained.empty() || ports.lost.empty() ? "" : "; " ) +
             ( ports.lost.empty() ? "" : "loses " + list( ports.lost ) );
   }

 private:
   const std::map<QuarraModPort, std::string> &names_;
};

std::string_view signOf( Change change ) {
   constexpr std::string_view signs[] = { "+", "-", "~" };
   return signs[ static_cast<std::size_t>( change ) ];
}

std::string placeText( const ClassIdPlace &place ) {
   return fmt::format( "group {}, {} bits {}, class ID {}", place.group, place.space,
                       place.width == 1
                          ? fmt::format( "{}", place.offset )
                          : fmt::format( "{}-{}", place.offset, place.offset + place.width - 1 ),
                       place.classId );
}

std::string entryName( const EntryChange &entry ) {
   const U32 id = entry.after ? *entry.after : *entry.before;
   return entry.rule.empty() ? fmt::format( "entry {}", id )
                             : fmt::format( "{} (entry {})", oneLine( entry.rule ), id );
}

std::string entriesPart( const Difference &difference, const Names &names ) {
   std::string text;
   for ( const auto &entry : difference.entries ) {
      text += fmt::format( "  {} {}", signOf( entry.change ), entryName( entry ) );
      if ( entry.change != Change::changed ) {
         text += ": " + placeText( entry.change == Change::came ? *entry.placeAfter : *entry.placeBefore );
      } else {
         const bool moved = entry.placeBefore != entry.placeAfter;
         text += moved ? fmt::format( ": moves from {} to {}", placeText( *entry.placeBefore ),
                                      placeText( *entry.placeAfter ) )
                       : "";
         const auto ports = names.gainsAndLosses( entry.ports );
         text += ports.empty() ? "" : ( moved ? "; " : ": " ) + ports;
      }
      text += "\n";
   }
   return text;
}

std::string classIdsPart( const Difference &difference, const Names &names ) {
   std::string text;
   for ( const auto &classId : difference.classIds ) {
      text += fmt::format( "  {} {}: ", signOf( classId.change ), placeText( classId.place ) );
      text += classId.entriesBefore == classId.entriesAfter
                 ? counted( classId.entriesAfter, "entry", "entries" )
                 : fmt::format( "{} entries, then {}", classId.entriesBefore, classId.entriesAfter );
      const auto ports = names.gainsAndLosses( classId.ports );
      text += ports.empty() ? "" : "; " + ports;
      if ( classId.ethernetBefore != classId.ethernetAfter ) {
         text += classId.ethernetAfter ? "; now of all ethernet ports" : "; no longer of all ethernet ports";
      }
      text += "\n";
   }
   return text;
}

std::string portsPart( const Difference &difference, const Names &names ) {
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
   const Names names( difference.portNames );
   auto text = part( "Entries (+ came, - gone, ~ changed)", entriesPart( difference, names ) ) +
               part( "Class IDs", classIdsPart( difference, names ) ) +
               part( "Ports", portsPart( difference, names ) );
   text.pop_back();
   return text;
}

} // namespace QuarraTool
