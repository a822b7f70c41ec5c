#include "tools/ApplyReport.h"

#include <algorithm>

#include <fmt/format.h>

#include "lab/CostModel.h"
#include "lab/PortNames.h"
#include "lab/TextFile.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using Align = TextTable::Align;

constexpr std::size_t examplesOfACause = 3; // mismatches listed for each cause, unless all are asked for

std::string heading( const std::string &text, bool colour ) {
   return colour ? fmt::format( "\n\033[1m{}\033[0m\n", text ) : fmt::format( "\n{}\n", text );
}

std::string verdict( bool good, const std::string &text, bool colour ) {
   return colour ? fmt::format( "  \033[{}m{}\033[0m\n", good ? 32 : 31, text )
                 : fmt::format( "  {}\n", text );
}

// How many names of a long list to print, with the number of the rest.
std::string shortened( const std::vector<std::string> &names, std::size_t most ) {
   std::string text;
   for ( std::size_t i = 0; i < std::min( most, names.size() ); ++i ) {
      text += ( i ? ", " : "" ) + names[ i ];
   }
   return names.size() > most ? text + fmt::format( " and {} more", names.size() - most ) : text;
}

std::string tablesPart( const Applied &applied, const PortNames &names ) {
   TextTable table(
      { { "table" }, { "type" }, { "group", Align::right }, { "rules", Align::right }, { "ports" } } );
   std::string leftOut;
   for ( const auto &acl : applied.config().tables ) {
      if ( !acl.leftOut.empty() ) {
         leftOut +=
            fmt::format( "  left out: {} ({}, {}): {}\n", shortName( acl.name ), shortName( acl.type ),
                         counted( acl.rules.size(), "rule", "rules" ), acl.leftOut );
         continue;
      }
      std::vector<QuarraModPort> ports;
      for ( const auto &name : acl.ports ) {
         ports.push_back( names.find( name ) );
      }
      table.row( { acl.name, acl.type, fmt::format( "{}", applied.groupOf( acl ).value() ),
                   fmt::format( "{}", acl.rules.size() ), names.list( ports ) } );
   }
   return ( table.empty() ? std::string() : table.text() ) + leftOut;
}

// The hardware bits of a class ID: "7", "7,9" where the value sets several bits of its pool.
std::string bitsOf( const ClassIdRequestStatus &request, const PoolStatus &pool ) {
   std::string bits;
   for ( U32 bit = 0; bit < pool.size(); ++bit ) {
      if ( request.classId() >> bit & 1 ) {
         bits += fmt::format( "{}{}", bits.empty() ? "" : ",", pool.baseOffset() + bit );
      }
   }
   return bits;
}

// The tables whose rules use a request, each with the number of its entries.
std::string usersOf( const Applied &applied, const ClassIdRequestStatus &request ) {
   std::vector<std::pair<std::string, U32>> tables;
   for ( const U32 id : request.entryRef() ) {
      if ( id == INVALID_ENTRY_ID ) {
         continue;
      }
      const auto &table = applied.entries()[ id - 1 ].table->name;
      if ( tables.empty() || tables.back().first != table ) {
         tables.emplace_back( table, 0 );
      }
      ++tables.back().second;
   }
   std::vector<std::string> texts;
   for ( const auto &[ table, number ] : tables ) {
      texts.push_back( fmt::format( "{} of {}", number, shortName( table ) ) );
   }
   return shortened( texts, 4 );
}

std::string classIdsPart( const Applied &applied, const PortNames &names ) {
   TextTable table( { { "group", Align::right },
                      { "space" },
                      { "pool", Align::right },
                      { "class ID", Align::right },
                      { "bits" },
                      { "entries", Align::right },
                      { "shared by" },
                      { "ports" } } );
   const auto &manager = applied.theSwitch().agent().manager();
   for ( const auto group : getTcamGroups() ) {
      const auto &status = manager.classIdTcamGroupStatus( group );
      if ( !status ) {
         continue;
      }
      const auto type = classIdTcamGroupsInfo.at( group )->classIdType();
      for ( const auto &[ key, request ] : status->requestStatus() ) {
         const U32 entries = request->entryRefs() - ( request->entryRefHas( INVALID_ENTRY_ID ) ? 1 : 0 );
         if ( entries == 0 ) {
            continue;
         }
         table.row( { fmt::format( "{}", group.value() ), std::string( stringValue( type ) ),
                      fmt::format( "{}", request->poolId() ), fmt::format( "{}", request->classId() ),
                      bitsOf( *request, *status->poolStatus( request->poolId() ) ),
                      fmt::format( "{}", entries ), usersOf( applied, *request ),
                      names.list( *request->intfGroup() ) } );
      }
   }
   return table.empty() ? "  none in use\n" : table.text();
}

std::string spacesPart( const Applied &applied ) {
   TextTable table( { { "space" },
                      { "bits", Align::right },
                      { "used", Align::right },
                      { "free", Align::right },
                      { "0 .. (each bit: # used, . free)" } } );
   for ( const auto &[ type, bitmap ] : applied.theSwitch().agent().manager().classIdHwStatus() ) {
      std::string picture;
      for ( U32 bit = 0; bit < bitmap->size(); ++bit ) {
         picture += bit && bit % 16 == 0 ? " " : "";
         picture += bitmap->test( bit ) ? '#' : '.';
      }
      table.row( { std::string( stringValue( type ) ), fmt::format( "{}", bitmap->size() ),
                   fmt::format( "{}", bitmap->count() ),
                   fmt::format( "{}", bitmap->size() - bitmap->count() ), picture } );
   }
   std::vector<std::string> reserved;
   for ( const auto &[ group, config ] : classIdTcamGroupsInfo ) {
      if ( config->requestKeys() ) {
         reserved.push_back( fmt::format( "{} ({})", group.value(), config->requestKeys() ) );
      }
   }
   return table.text() + fmt::format( "  reserved at start-up, by group (and number of rules): {}\n",
                                      shortened( reserved, reserved.size() ) );
}

std::string costPart( const Applied &applied ) {
   const auto &costs = applied.costs();
   const auto &chip = applied.theSwitch().agent().chip();
   TextTable table( { { "" },
                      { "key bits", Align::right },
                      { "TCAM rows", Align::right },
                      { "chip writes", Align::right },
                      { "writes when a port joins", Align::right } } );
   const auto row = [ & ]( const char *name, U32 bits, const Cost &cost ) {
      table.row( { name, fmt::format( "{}+{}", chip.ruleBits, bits ), fmt::format( "{}", cost.rows ),
                   fmt::format( "{}", cost.writes ), fmt::format( "{}", cost.join ) } );
   };
   row( "class IDs", costs.qualifierBits, costs.classIds );
   row( "a port bitmap in each entry", chip.portBitmapBits, costs.portBitmaps );
   row( "an entry for each port", portNumberBits, costs.entryPerPort );
   return table.text() +
          fmt::format(
             "  A row holds {} key bits; {} are the rule's own fields. {} of the writes with class IDs go to "
             "per-port tables.\n",
             chip.tcamRowBits, chip.ruleBits, costs.portWords );
}

// "TABLE|RULE"; names may hold anything.
std::string ruleName( const PlannedEntry &entry ) {
   return shortName( entry.table->name ) + "|" + shortName( entry.rule->name );
}

// Why an entry is refused: the code, and the message without the entry that it begins with.
std::string causeOf( const PlannedEntry &entry ) {
   const auto who = fmt::format( "group {} entry {}: ", entry.request.group.value(), entry.request.entry );
   const auto &message = entry.refusedMessage;
   return entry.refusedCode + ": " + ( message.starts_with( who ) ? message.substr( who.size() ) : message );
}

// Entries that are refused for one cause.
struct Refusals {
   const PlannedEntry *first;
   std::vector<std::pair<const AclTable *, std::size_t>> tables = {}; // with the number of their entries
};

// By group and code. The messages of the others differ at most in their rule, and in what was free at their time.
std::vector<Refusals> refusalsByCause( const Applied &applied ) {
   std::vector<Refusals> causes;
   std::map<std::pair<TcamGroupId, std::string>, std::size_t> place; // in causes
   for ( const auto &entry : applied.entries() ) {
      if ( entry.refusedCode.empty() ) {
         continue;
      }
      const auto [ known, added ] =
         place.try_emplace( { entry.request.group, entry.refusedCode }, causes.size() );
      if ( added ) {
         causes.push_back( { &entry } );
      }
      auto &tables = causes[ known->second ].tables;
      if ( tables.empty() || tables.back().first != entry.table ) {
         tables.emplace_back( entry.table, 0 );
      }
      ++tables.back().second;
   }
   return causes;
}

// "72 of OFFICE, 1 of GUESTS"; a single entry by its name.
std::string refusedNames( const Refusals &refusals ) {
   if ( refusals.tables.size() == 1 && refusals.tables.front().second == 1 ) {
      return ruleName( *refusals.first );
   }
   std::vector<std::string> texts;
   for ( const auto &[ table, entries ] : refusals.tables ) {
      texts.push_back( fmt::format( "{} of {}", entries, shortName( table->name ) ) );
   }
   return shortened( texts, 4 );
}

// A line for each cause; `all`: for each entry.
std::string refusedPart( const Applied &applied, bool all, bool colour ) {
   std::string text;
   const auto line = [ & ]( const std::string &who, const PlannedEntry &entry ) {
      text += verdict( false,
                       messageLine( fmt::format( "{} (group {}): {}", who, entry.request.group.value(),
                                                 causeOf( entry ) ) ),
                       colour );
   };
   if ( all ) {
      for ( const auto &entry : applied.entries() ) {
         if ( !entry.refusedCode.empty() ) {
            line( ruleName( entry ), entry );
         }
      }
      return text;
   }
   for ( const auto &refusals : refusalsByCause( applied ) ) {
      line( refusedNames( refusals ), *refusals.first );
   }
   return text;
}

std::string takerOf( const Applied &applied, const Mismatch &mismatch ) {
   if ( !mismatch.taker.value_or( 0 ) ) {
      return "";
   }
   return fmt::format( ", which {} (entry {}) took", ruleName( applied.entries()[ *mismatch.taker - 1 ] ),
                       *mismatch.taker );
}

std::string matchPart( const Applied &applied, const PortNames &names, bool all, bool colour ) {
   const auto installed = applied.entries().size() - applied.refused();
   const auto size = fmt::format( "{} x {}", counted( installed, "entry", "entries" ),
                                  counted( applied.theSwitch().ports().size(), "port", "ports" ) );
   if ( applied.mismatches().empty() ) {
      return verdict( true, size + ": every entry matches exactly its ports", colour );
   }
   std::string text = verdict(
      false, fmt::format( "{}: {}", size, counted( applied.mismatches().size(), "mismatch", "mismatches" ) ),
      colour );
   const auto &variant = applied.theSwitch().agent().variant();
   for ( const auto &cause :
         causesOf( applied.mismatches(), all ? applied.mismatches().size() : examplesOfACause ) ) {
      text += fmt::format( "  group {}: {}, {} ({}, {}): {}\n", cause.first.group.value(),
                           cause.first.expected ? "an entry does not match its port"
                                                : "an entry matches a port that is not its own",
                           counted( cause.mismatches, "time", "times" ),
                           counted( cause.entries, "entry", "entries" ),
                           counted( cause.ports, "port", "ports" ), reasonText( variant, cause.first ) );
      for ( const auto &mismatch : cause.examples ) {
         text +=
            fmt::format( "    {} (entry {}) on {}{}\n", ruleName( applied.entries()[ mismatch.entry - 1 ] ),
                         mismatch.entry, names.name( mismatch.port ), takerOf( applied, mismatch ) );
      }
      if ( cause.mismatches > cause.examples.size() ) {
         text += fmt::format( "    and {} more\n", cause.mismatches - cause.examples.size() );
      }
   }
   return text;
}

} // namespace

std::string applyReport( const Applied &applied, bool colour, bool all ) {
   const PortNames names( applied.theSwitch() );
   const auto &agent = applied.theSwitch().agent();
   const auto installed = applied.entries().size() - applied.refused();
   std::string text =
      fmt::format( "{}: {} on variant {}, chip {} with {}\n", messageLine( applied.config().file ),
                   counted( applied.config().tables.size(), "ACL table", "ACL tables" ), agent.variant().name,
                   agent.chip().profile, counted( agent.chip().ports.size(), "port", "ports" ) );
   text += heading( "ACL tables", colour ) + tablesPart( applied, names );
   if ( !applied.complaints().empty() ) {
      text += heading( "Left out, for what is wrong with it", colour );
      const auto most = all ? applied.complaints().size() : std::size_t{ 100 };
      for ( const auto &line : complaintLines( applied.complaints(), most ) ) {
         text += verdict( false, line, colour );
      }
   }
   if ( !applied.config().warnings.empty() ) {
      text += heading( "Warnings", colour );
      for ( const auto &warning : applied.config().warnings ) {
         text += "  " + messageLine( warning ) + "\n";
      }
   }
   text += heading( "Class IDs", colour ) + classIdsPart( applied, names );
   text += heading( "Class-ID spaces", colour ) + spacesPart( applied );
   if ( !applied.entries().empty() ) {
      text += heading( "Cost", colour ) + costPart( applied );
   }
   text +=
      heading( "Entries", colour ) +
      verdict( applied.refused() == 0,
               applied.entries().empty()
                  ? "there are no rules, so there is nothing to install (--bindings shows what the tables' "
                    "port sets would take)"
                  : fmt::format( "{} of {} installed", installed, applied.entries().size() ),
               colour ) +
      refusedPart( applied, all, colour );
   if ( installed ) {
      text += heading( "Match check", colour ) + matchPart( applied, names, all, colour );
   }
   return text;
}

} // namespace QuarraTool
