#include <algorithm>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/TextTable.h"

namespace QuarraTool {

using namespace QuarraTcam;
using enum QuarraTcam::ClassIdType;
using Align = TextTable::Align;

std::string numbersText( const std::vector<U32> &rising, std::size_t most ) {
   std::string text;
   std::size_t runs = 0;
   for ( auto first = rising.begin(); first != rising.end(); ) {
      auto last = first;
      while ( std::next( last ) != rising.end() && *std::next( last ) == *last + 1 ) {
         ++last;
      }
      if ( runs++ == most ) {
         return fmt::format( "{} and {} more", text, rising.end() - first );
      }
      text += text.empty() ? "" : ", ";
      text += last == first ? fmt::format( "{}", *first ) : fmt::format( "{}-{}", *first, *last );
      first = std::next( last );
   }
   return text;
}

std::string usersText( const Switch &theSwitch, const Holder &holder ) {
   std::map<std::string, U32> tables;
   std::vector<U32> others;
   for ( const U32 id :
         std::set<U32>( holder.request->entryRef().begin(), holder.request->entryRef().end() ) ) {
      if ( id == INVALID_ENTRY_ID ) {
         continue;
      }
      const auto table = tableOf( ruleOf( theSwitch.agent().entries().at( id ).request ) );
      if ( table.empty() ) {
         others.push_back( id );
      } else {
         ++tables[ table ];
      }
   }
   std::string text;
   for ( const auto &[ table, number ] : tables ) {
      text += fmt::format( "{}{} of {}", text.empty() ? "" : ", ", number, oneLine( table ) );
   }
   if ( !others.empty() ) {
      text += fmt::format( "{}{} {}", text.empty() ? "" : ", ", others.size() == 1 ? "entry" : "entries",
                           numbersText( others ) );
   }
   if ( holder.request->entryRefHas( INVALID_ENTRY_ID ) ) {
      text += fmt::format( "{}rule \"{}\", reserved at start-up", text.empty() ? "" : ", ",
                           oneLine( holder.request->requestKey().name() ) );
   }
   return text;
}

namespace {

std::string bitRange( const PoolStatus &pool ) {
   return pool.size() == 1 ? fmt::format( "{}", pool.baseOffset() )
                           : fmt::format( "{}-{}", pool.baseOffset(), pool.baseOffset() + pool.size() - 1 );
}

std::string binary( U32 value, U32 width ) {
   return fmt::format( "{:0{}b}", value, width );
}

std::string carriesPart( const Switch &theSwitch, const std::vector<SpaceReading> &readings ) {
   TextTable table( { { "space" },
                      { "bits" },
                      { "read" },
                      { "group", Align::right },
                      { "pool", Align::right },
                      { "class ID", Align::right },
                      { "of" } } );
   std::string nothing;
   for ( const auto &reading : readings ) {
      const auto name = std::string( stringValue( reading.space.type ) );
      for ( const auto &item : reading.pools ) {
         const auto &pool = *item.pool.pool;
         table.row( { name, bitRange( pool ), binary( item.value, pool.size() ),
                      fmt::format( "{}", item.pool.group.value() ), fmt::format( "{}", pool.poolId() ),
                      fmt::format( "{}", item.value ),
                      item.holder ? usersText( theSwitch, *item.holder ) : "nobody: it is not lent" } );
      }
      for ( const U32 bit : reading.strayBits ) {
         table.row( { name, fmt::format( "{}", bit ), "1", "", "", "", "nobody: no pool lies there" } );
      }
      if ( reading.pools.empty() && reading.strayBits.empty() ) {
         nothing += ( nothing.empty() ? "" : ", " ) + name;
      }
   }
   return ( table.empty() ? std::string() : table.text() ) +
          ( nothing.empty() ? std::string() : fmt::format( "  nothing in {}\n", nothing ) );
}

// Answers that say the same: of one class ID, asked alike.
struct Alike {
   const MatchAnswer *first = nullptr;
   std::vector<U32> entries;
};

std::vector<Alike> alike( const PortReport &report ) {
   std::vector<Alike> groups;
   std::map<std::tuple<const ClassIdRequestStatus *, bool, bool>, std::size_t> places;
   for ( const auto &answer : report.answers ) {
      const auto key = std::tuple( answer.holder.request, answer.asked, answer.matches );
      const auto place = places.emplace( key, groups.size() ).first->second;
      if ( place == groups.size() ) {
         groups.push_back( { &answer, {} } );
      }
      groups[ place ].entries.push_back( answer.entry );
   }
   return groups;
}

// "OFFICE|ALLOW_DNS (entry 1)", "3 rules of OFFICE (entries 1-3)".
std::string entriesText( const Switch &theSwitch, const std::vector<U32> &entries ) {
   std::set<std::string> tables;
   for ( const U32 entry : entries ) {
      tables.insert( tableOf( ruleOf( theSwitch.agent().entries().at( entry ).request ) ) );
   }
   if ( entries.size() == 1 ) {
      const auto rule = ruleOf( theSwitch.agent().entries().at( entries.front() ).request );
      return rule.empty() ? fmt::format( "entry {}", entries.front() )
                          : fmt::format( "{} (entry {})", oneLine( rule ), entries.front() );
   }
   std::string names;
   for ( const auto &table : tables ) {
      names += ( names.empty() ? "" : ", " ) + oneLine( table );
   }
   return names.empty() || tables.contains( "" )
             ? fmt::format( "entries {}", numbersText( entries ) )
             : fmt::format( "{} rules of {} (entries {})", entries.size(), names, numbersText( entries ) );
}

std::string firstDifference( const MatchAnswer &answer ) {
   const auto bit = std::ranges::find_if( answer.bits, &ComparedBit::differs );
   return bit == answer.bits.end() ? std::string()
                                   : fmt::format( "bit {}: wants {}, port has {}", bit->bit,
                                                  int{ bit->wanted }, int{ bit->carried } );
}

std::string reasonOf( const Switch &theSwitch, const PortReport &report, U32 entry ) {
   const auto item = report.mismatches.find( entry );
   if ( item == report.mismatches.end() ) {
      return {};
   }
   const auto text = reasonText( theSwitch.agent().variant(), item->second );
   const auto behaviour = knownBehaviour( item->second.reason );
   return behaviour.empty() ? text : fmt::format( "{} (known behaviour {})", text, behaviour );
}

std::string overviewPart( const Switch &theSwitch, const PortReport &report ) {
   TextTable table( { { "asked" },
                      { "matches" },
                      { "entries" },
                      { "group", Align::right },
                      { "class ID", Align::right },
                      { "first bit that differs" } } );
   std::size_t silent = 0;
   std::set<const ClassIdRequestStatus *> silentClassIds;
   std::string reasons;
   for ( const auto &[ first, entries ] : alike( report ) ) {
      if ( !first->asked && !first->matches ) {
         silent += entries.size();
         silentClassIds.insert( first->holder.request );
         continue;
      }
      table.row( { first->asked ? "yes" : "no",
                   first->asAsked() ? ( first->matches ? "yes" : "no" )
                   : first->matches ? "YES"
                                    : "NO",
                   entriesText( theSwitch, entries ), fmt::format( "{}", first->holder.group.value() ),
                   fmt::format( "{}", first->holder.request->classId() ), firstDifference( *first ) } );
      if ( !first->asAsked() ) {
         reasons += fmt::format( "  {}: {}\n", entriesText( theSwitch, entries ),
                                 reasonOf( theSwitch, report, first->entry ) );
      }
   }
   std::string text =
      table.empty() ? std::string( "  none was asked for this port, and none matches it\n" ) : table.text();
   if ( silent ) {
      text += fmt::format( "  {} of {} {} not asked for, and {} not match\n",
                           counted( silent, "entry", "entries" ),
                           counted( silentClassIds.size(), "other class ID", "other class IDs" ),
                           silent == 1 ? "was" : "were", silent == 1 ? "does" : "do" );
   }
   return reasons.empty() ? text : text + "\nNot as asked\n" + reasons;
}

std::string bitRows( const MatchAnswer &answer ) {
   std::string positions = "    bit         ";
   std::string wanted = "    entry wants ";
   std::string carried = "    port has    ";
   std::string marks = "                ";
   for ( auto bit = answer.bits.rbegin(); bit != answer.bits.rend(); ++bit ) {
      positions += fmt::format( " {:>3}", bit->bit );
      wanted += fmt::format( " {:>3}", int{ bit->wanted } );
      carried += fmt::format( " {:>3}", int{ bit->carried } );
      marks += fmt::format( " {:>3}", bit->differs() ? "^" : "" );
   }
   marks.erase( marks.find_last_not_of( ' ' ) + 1 );
   return positions + "\n" + wanted + "\n" + carried + "\n" + ( marks.empty() ? "" : marks + "\n" );
}

std::string verdictText( const MatchAnswer &answer, bool several ) {
   const char *match = several ? "match" : "matches";
   const char *doNot = several ? "do not match" : "does not match";
   if ( answer.asked ) {
      return answer.matches ? fmt::format( "{} it, as asked", match )
                            : fmt::format( "{} it, though asked to", doNot );
   }
   return answer.matches ? fmt::format( "{} it, though not asked to", match )
                         : fmt::format( "{} it, and {} not asked to", doNot, several ? "were" : "was" );
}

// Who has the pool's bits of the port now, when it is not the entry's own class ID.
std::string holderNow( const Switch &theSwitch, const PortReport &report, const MatchAnswer &answer ) {
   for ( const auto &reading : report.carries ) {
      for ( const auto &item : reading.pools ) {
         if ( item.pool.pool == answer.holder.pool && item.holder &&
              item.holder->request != answer.holder.request ) {
            return fmt::format( "    The port carries class ID {} of the pool instead: {}.\n", item.value,
                                usersText( theSwitch, *item.holder ) );
         }
      }
   }
   return answer.matches ? "" : fmt::format( "    The port carries no class ID of this pool.\n" );
}

std::string detailsPart( const Switch &theSwitch, const PortReport &report,
                         const std::map<U32, std::string> &ruleTexts ) {
   std::string text;
   for ( const auto &[ first, entries ] : alike( report ) ) {
      const auto &pool = *first->holder.pool;
      text += fmt::format( "  {} {}.\n", entriesText( theSwitch, entries ),
                           verdictText( *first, entries.size() > 1 ) );
      if ( const auto rule = ruleTexts.find( first->entry );
           entries.size() == 1 && rule != ruleTexts.end() && !rule->second.empty() ) {
         text += fmt::format( "    Rule: {}\n", oneLine( rule->second ) );
      }
      text += fmt::format( "    Group {}, pool {}: {} {} of {}. Class ID {}.\n", first->holder.group.value(),
                           pool.poolId(), pool.size() == 1 ? "bit" : "bits", bitRange( pool ),
                           stringValue( first->space.type ), first->holder.request->classId() );
      text += bitRows( *first );
      const auto differing = first->differingBits();
      text += differing.empty()
                 ? "    Every bit compared is equal.\n"
                 : fmt::format( "    {} differ{}: {}.\n", counted( differing.size(), "bit", "bits" ),
                                differing.size() == 1 ? "s" : "", numbersText( differing ) );
      if ( !differing.empty() ) {
         text += holderNow( theSwitch, report, *first );
      }
      if ( !first->asAsked() ) {
         text += fmt::format( "    Why: {}\n", reasonOf( theSwitch, report, first->entry ) );
      }
   }
   return text;
}

} // namespace

std::string whyText( const Switch &theSwitch, const PortReport &report, bool inDetail,
                     const std::map<U32, std::string> &ruleTexts ) {
   const PortNames names( theSwitch );
   auto text = fmt::format( "{} on variant {}, chip {}\n\nThe port carries\n", names.full( report.port ),
                            theSwitch.agent().variant().name, theSwitch.agent().chip().profile );
   text += carriesPart( theSwitch, report.carries );
   text += "\nEntries\n";
   return text +
          ( inDetail ? detailsPart( theSwitch, report, ruleTexts ) : overviewPart( theSwitch, report ) );
}

std::string portText( const Switch &theSwitch, const QuarraModPort &port ) {
   return fmt::format( "{} carries\n", PortNames( theSwitch ).full( port ) ) +
          carriesPart( theSwitch, readPort( theSwitch, port ) );
}

} // namespace QuarraTool
