#include "tools/ApplyReport.h"

#include <algorithm>

#include <fmt/format.h>

#include "lab/CostModel.h"
#include "lab/PortNames.h"
#include "lab/TextFile.h"
#include "tools/KeepGoing.h"
#include "tools/MatchText.h"
#include "tools/TextTable.h"
#include "tools/Warnings.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using Align = TextTable::Align;

std::string heading( const std::string &text, bool colour ) {
   return colour ? fmt::format( "\n\033[1m{}\033[0m\n", text ) : fmt::format( "\n{}\n", text );
}

std::string tablesPart( const Applied &applied, const PortNames &names ) {
   TextTable table(
      { { "table" }, { "type" }, { "group", Align::right }, { "rules", Align::right }, { "ports" } } );
   std::string leftOut;
   for ( const auto &acl : applied.config().tables ) {
      if ( !acl.leftOut.empty() ) {
         leftOut += fmt::format( "  left out: {}\n", leftOutText( acl ) );
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
      const auto table = applied.tableOf( id );
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

std::string causeOf( const PlannedEntry &entry ) {
   return entry.refusedCode + ": " + entry.refusedMessage;
}

// Entries that are refused for one cause.
struct Refusals {
   const PlannedEntry *first;
   std::vector<std::pair<const AclTable *, std::size_t>> tables = {}; // with the number of their entries
};

// By group and code. The messages of the others differ at most in their rule, and in what was free at their
// time.
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

// The switch that lasts, before and after: what was done to its entries, and the calls that it took.
std::string changesPart( const Applied &applied, bool all ) {
   const auto &done = applied.changes();
   auto text = fmt::format( "  {} came, {} changed, {} gone, {} untouched; {}\n", done.came, done.changed,
                            done.gone.size(), done.stayed,
                            counted( applied.theSwitch().chip().calls(), "SDK call", "SDK calls" ) );
   const auto list = [ & ]( const char *what, const std::vector<std::string> &names ) {
      if ( !names.empty() ) {
         text += fmt::format( "  {}: {}\n", what, shortened( names, all ? names.size() : 8 ) );
      }
   };
   for ( const auto change : { RuleFate::comes, RuleFate::changes } ) {
      std::vector<std::string> names;
      for ( const auto &entry : applied.entries() ) {
         if ( entry.change == change && entry.refusedCode.empty() ) {
            names.push_back( ruleName( entry ) );
         }
      }
      list( change == RuleFate::comes ? "came" : "changed", names );
   }
   std::vector<std::string> gone;
   for ( const auto &request : done.gone ) {
      gone.push_back( shortName( request.label ) );
   }
   list( "gone", gone );
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
      text += heading( wrongHeading, colour );
      for ( const auto &line : wrongLines( applied.complaints(), all ) ) {
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
   if ( !applied.entries().empty() && !applied.lasts() ) {
      text += heading( "Cost", colour ) + costPart( applied );
   }
   if ( applied.lasts() ) {
      text += heading( "Changes", colour ) + changesPart( applied, all );
   }
   text +=
      heading( "Entries", colour ) +
      verdict( applied.refused() == 0,
               applied.entries().empty()
                  ? "there are no rules, so there is nothing to install (--bindings shows what the tables' "
                    "port sets would take)"
                  : fmt::format( "{} of {} {}", installed, applied.entries().size(),
                                 applied.lasts() ? "are on the switch as the file has them" : "installed" ),
               colour ) +
      refusedPart( applied, all, colour );
   if ( !agent.entries().empty() ) {
      text += heading( "Match check", colour ) +
              matchText( applied.theSwitch(), applied.mismatches(), all, colour );
   }
   return text;
}

} // namespace QuarraTool
