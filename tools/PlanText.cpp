#include "tools/PlanText.h"

#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/PlaceText.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using Fate = RuleFate;
using Kind = ChangeStep::Kind;
using Align = TextTable::Align;

constexpr std::size_t someLines = 40; // of steps, of wrong matches

std::string_view signOf( Fate fate ) {
   switch ( fate ) {
   case Fate::stays:
      return "=";
   case Fate::changes:
      return "~";
   case Fate::comes:
      return "+";
   case Fate::goes:
      return "-";
   case Fate::refused:
      return "!";
   }
   return ""; // no enumerator
}

// "OFFICE|DNS (entry 1)", "3 rules of OFFICE (entries 1-3)".
std::string entriesName( const std::string &rule, const std::vector<U32> &entries, std::size_t rules ) {
   const auto table = tableOf( rule );
   auto what = rules > 1 ? ( table.empty() ? "" : fmt::format( "{} rules of {}", rules, oneLine( table ) ) )
                         : oneLine( rule );
   if ( entries.empty() ) {
      return what;
   }
   auto rising = entries;
   std::ranges::sort( rising );
   const auto numbers =
      fmt::format( "{} {}", entries.size() > 1 ? "entries" : "entry", numbersText( rising ) );
   return what.empty() ? numbers : fmt::format( "{} ({})", what, numbers );
}

// ---- What becomes of the entries

std::string fateText( const PlannedRule &rule, const ChangedPorts &names ) {
   std::vector<std::string> parts;
   if ( rule.fate == Fate::refused ) {
      parts.push_back( rule.code + ": " + messageLine( rule.message ) );
   } else if ( rule.fate == Fate::comes ) {
      parts.push_back( placeText( *rule.placeAfter ) );
   } else if ( rule.fate == Fate::goes ) {
      parts.push_back( placeText( *rule.placeBefore ) );
   } else if ( rule.moves() ) {
      parts.push_back( moveText( *rule.placeBefore, *rule.placeAfter ) );
   } else {
      parts.push_back( "stays" +
                       ( rule.fate == Fate::changes ? " at " + placeText( *rule.placeAfter ) : "" ) );
   }
   if ( const auto ports = names.gainsAndLosses( rule.ports ); !ports.empty() ) {
      parts.push_back( ports );
   }
   if ( rule.goesFirst ) {
      parts.push_back( "goes before it comes again" );
   }
   return fmt::format( "{}", fmt::join( parts, "; " ) );
}

// What the rules of a line say, a line each; one rule alone needs no name.
std::string saidPart( const std::vector<const PlannedRule *> &rules, std::size_t inLine, bool all ) {
   constexpr std::size_t someRules = 3;
   constexpr std::size_t someFields = 8;
   std::string text;
   for ( std::size_t i = 0; i < rules.size(); ++i ) {
      if ( !all && i == someRules ) {
         return text + fmt::format( "      and {} (--all)\n",
                                    counted( rules.size() - i, "more rule", "more rules" ) );
      }
      const auto &[ rule, fields ] = std::tie( rules[ i ]->rule, rules[ i ]->fields );
      std::vector<std::string> shown;
      std::ranges::transform( fields, std::back_inserter( shown ), all ? oneLine : shortName );
      text += fmt::format( "      {}{}\n",
                           inLine > 1 ? shortName( rule.substr( tableOf( rule ).size() + 1 ) ) + ": " : "",
                           shortened( shown, all ? shown.size() : someFields ) );
   }
   return text;
}

// One line for the rules of a table to which the same happens. What a rule that stays says, matters to
// nobody.
std::string entriesPart( const Plan &plan, bool all ) {
   struct Alike {
      std::string rule;
      std::size_t rules = 0;
      std::vector<U32> before;
      std::vector<U32> after;
      std::vector<const PlannedRule *> said;
   };
   const ChangedPorts names( plan.portNames );
   using Key = std::tuple<Fate, std::string, std::string>;
   std::map<Key, Alike> lines;
   std::vector<Key> order;
   for ( const auto &rule : plan.rules ) {
      // Refusals of one cause tell different entries apart in their messages.
      const Key key( rule.fate, tableOf( rule.rule ),
                     rule.fate == Fate::refused ? rule.code + ( rule.entryAfter ? "; stays" : "" )
                                                : fateText( rule, names ) );
      auto &line = lines[ key ];
      if ( !line.rules++ ) {
         order.push_back( key );
         line.rule = rule.rule;
      }
      if ( rule.entryBefore ) {
         line.before.push_back( *rule.entryBefore );
      }
      if ( rule.entryAfter && rule.entryAfter != rule.entryBefore ) {
         line.after.push_back( *rule.entryAfter );
      }
      if ( rule.fate != Fate::stays && !rule.fields.empty() ) {
         line.said.push_back( &rule );
      }
   }
   std::string text;
   for ( const auto &key : order ) {
      const auto &[ fate, table, what ] = key;
      const auto &line = lines.at( key );
      const auto first = std::ranges::find_if( plan.rules, [ &, found = line.rule ]( const auto &rule ) {
         return rule.fate == std::get<Fate>( key ) && rule.rule == found;
      } );
      text +=
         fmt::format( "  {} {}{}: {}\n", signOf( fate ),
                      entriesName( line.rule, line.before.empty() ? line.after : line.before, line.rules ),
                      !line.before.empty() && !line.after.empty()
                         ? fmt::format( ", then {} {}", line.after.size() > 1 ? "entries" : "entry",
                                        numbersText( line.after ) )
                         : "",
                      fate == Fate::refused ? fateText( *first, names ) : what ) +
         saidPart( line.said, line.rules, all );
   }
   return text.empty() ? "  none\n" : text;
}

// ---- The steps

std::string_view verbOf( ChangeStep::Kind kind ) {
   switch ( kind ) {
   case ChangeStep::Kind::createGroup:
      return "create";
   case ChangeStep::Kind::deleteGroup:
      return "delete";
   case ChangeStep::Kind::install:
      return "install";
   case ChangeStep::Kind::remove:
      return "remove";
   }
   return ""; // no enumerator
}

// Steps of one kind one after the other, of one table and one class ID.
struct Run {
   std::size_t first;
   std::size_t last;
   U64 writes = 0;
   std::vector<U32> entries;
};

bool alike( const PlanStep &one, const PlanStep &other ) {
   return one.kind == other.kind && one.request.group == other.request.group && one.place == other.place &&
          tableOf( ruleOf( one.request ) ) == tableOf( ruleOf( other.request ) );
}

std::string stepsPart( const Plan &plan, bool all ) {
   std::vector<Run> runs;
   for ( std::size_t i = 0; i < plan.steps.size(); ++i ) {
      if ( runs.empty() || !alike( plan.steps[ runs.back().first ], plan.steps[ i ] ) ) {
         runs.push_back( { i, i, 0, {} } );
      }
      runs.back().last = i;
      runs.back().writes += plan.steps[ i ].sdkWrites;
      runs.back().entries.push_back( plan.steps[ i ].request.entry );
   }
   TextTable table(
      { { "steps", Align::right }, { "what" }, { "class ID" }, { "SDK writes", Align::right } } );
   for ( std::size_t i = 0; i < runs.size() && ( all || i < someLines ); ++i ) {
      const auto &run = runs[ i ];
      const auto &step = plan.steps[ run.first ];
      const auto what = step.place ? entriesName( ruleOf( step.request ), run.entries, run.entries.size() )
                                   : fmt::format( "group {}", step.request.group.value() );
      table.row( { run.first == run.last ? fmt::format( "{}", run.first + 1 )
                                         : fmt::format( "{}-{}", run.first + 1, run.last + 1 ),
                   fmt::format( "{} {}", verbOf( step.kind ), what ),
                   step.place ? placeText( *step.place ) : "", fmt::format( "{}", run.writes ) } );
   }
   auto text = table.empty() ? "  none\n" : table.text();
   if ( !all && runs.size() > someLines ) {
      text +=
         fmt::format( "  and {} (--all)\n", counted( runs.size() - someLines, "more line", "more lines" ) );
   }
   return text;
}

// ---- The rest

std::string spacesPart( const std::vector<PeakOfSpace> &spaces ) {
   TextTable table( { { "space" },
                      { "bits", Align::right },
                      { "before", Align::right },
                      { "peak", Align::right },
                      { "after", Align::right },
                      { "largest free run", Align::right } } );
   for ( const auto &space : spaces ) {
      const bool isGroup = space.name.starts_with( "group " );
      table.row( { isGroup ? space.name + " (class IDs)" : space.name, fmt::format( "{}", space.size ),
                   fmt::format( "{}", space.before ), fmt::format( "{}", space.peak ),
                   fmt::format( "{}", space.after ),
                   isGroup ? "" : fmt::format( "{}", space.largestFreeRun ) } );
   }
   return table.text();
}

std::string wrongPart( const Plan &plan, bool all ) {
   if ( plan.wrong.empty() ) {
      return "  on the way: no rule stops matching a port that it matches before and after, and none matches "
             "another\n";
   }
   const ChangedPorts names( plan.portNames );
   struct Alike {
      const WrongOnTheWay *first;
      std::vector<U32> entries;
   };
   using Key = std::tuple<std::size_t, std::size_t, bool, std::string, std::set<QuarraModPort>>;
   std::map<Key, Alike> lines;
   for ( const auto &one : plan.wrong ) {
      auto &line = lines[ { one.begins, one.ends, one.lost, tableOf( one.rule ), one.ports } ];
      line.first = line.entries.empty() ? &one : line.first;
      line.entries.push_back( one.entry.value_or( 0 ) );
   }
   std::string text;
   std::size_t number = 0;
   for ( const auto &[ key, line ] : lines ) {
      if ( !all && number++ == someLines ) {
         text += fmt::format( "  and {} (--all)\n",
                              counted( lines.size() - someLines, "more line", "more lines" ) );
         break;
      }
      const auto &one = *line.first;
      const auto when = one.begins == one.ends
                           ? fmt::format( "within step {}", one.begins )
                           : fmt::format( "from step {} to step {}", one.begins, one.ends );
      text +=
         fmt::format( "  {}: {} {} {}\n", when, entriesName( one.rule, line.entries, line.entries.size() ),
                      one.lost ? ( line.entries.size() > 1 ? "do not match" : "does not match" )
                               : ( line.entries.size() > 1 ? "also match" : "also matches" ),
                      names.list( one.ports ) );
   }
   return text;
}

std::string afterwardsPart( const Plan &plan ) {
   if ( plan.mismatches.empty() ) {
      return plan.count( Fate::refused ) ? "  afterwards: every entry that fits matches exactly its ports\n"
                                         : "  afterwards: every entry matches exactly its ports\n";
   }
   std::string text;
   for ( const auto &cause : causesOf( plan.mismatches, 0 ) ) {
      text +=
         fmt::format( "  afterwards: {} of group {} {} on {}: {}\n",
                      counted( cause.entries, "entry", "entries" ), cause.first.group.value(),
                      cause.first.expected ? "not as asked: does not match" : "not as asked: matches",
                      counted( cause.ports, "port", "ports" ), reasonText( *plan.variant, cause.first ) );
   }
   return text;
}

std::string tablesText( const std::vector<RulesOfTable> &tables, bool all ) {
   constexpr std::size_t most = 20;
   constexpr std::size_t mostRules = 8;
   std::vector<std::string> texts;
   for ( const auto &table : tables ) {
      std::vector<std::string> names;
      std::ranges::transform( table.rules, std::back_inserter( names ),
                              []( const auto &rule ) { return oneLine( rule ); } );
      texts.push_back( table.all ? fmt::format( "{} ({})", oneLine( table.table ),
                                                counted( table.rules.size(), "rule", "rules" ) )
                                 : shortened( names, all ? names.size() : mostRules ) );
   }
   return shortened( texts, all ? texts.size() : most );
}

std::string reloadText( const Reload &reload ) {
   std::vector<std::string> spaces;
   for ( const auto &space : reload.spaces ) {
      if ( space.after ) {
         spaces.push_back( fmt::format( "{} of {} {}", space.after, space.size, space.name ) );
      }
   }
   const auto result =
      reload.good()    ? std::string( "everything fits and matches" )
      : reload.refused ? fmt::format( "{} not fit", counted( reload.refused, "rule does", "rules do" ) )
                       : fmt::format( "{} wrong", counted( reload.mismatches, "match is", "matches are" ) );
   return fmt::format( "  A reload, from an empty switch: {}; {}; {}.\n", result, fmt::join( spaces, ", " ),
                       counted( reload.sdkWrites, "SDK write", "SDK writes" ) );
}

std::string verdictPart( const Plan &plan, bool all ) {
   const auto refused = plan.count( Fate::refused );
   std::string text;
   switch ( plan.verdict() ) {
   case PlanVerdict::fits:
      text = plan.steps.empty() ? "Nothing to do.\n" : "It fits in place, and at no time is a match wrong.\n";
      break;
   case PlanVerdict::fitsWithAGap:
      text = "It fits in place, but not without wrong matches on the way.\n";
      break;
   case PlanVerdict::needsReload:
      text = "It does not fit in place as it should, but after a reload.\n";
      break;
   case PlanVerdict::doesNotFit:
      text = fmt::format( "It does not fit: {} no room or {} refused.\n",
                          counted( refused, "rule has", "rules have" ), refused == 1 ? "is" : "are" );
      break;
   case PlanVerdict::doesNotMatch:
      text = "It fits, but not everything matches as it should.\n";
      break;
   }
   if ( !plan.goFirst.empty() ) {
      text += fmt::format( "  What gives up its old entry before the new one comes: {}.\n",
                           tablesText( plan.goFirst, all ) );
   }
   if ( std::ranges::find( plan.mismatches, Reason::fault, &Mismatch::reason ) != plan.mismatches.end() ) {
      text += "  The chip does not hold what was put there: audit tells what, repair mends it.\n";
   }
   if ( plan.reload ) {
      text += reloadText( *plan.reload );
   }
   if ( !plan.leaveOut.empty() ) {
      text += fmt::format( "  Without these the rest fits on an empty switch: {}.\n",
                           tablesText( plan.leaveOut, all ) );
   }
   return text;
}

} // namespace

std::string planText( const Plan &plan, bool all ) {
   return fmt::format( "Entries (= stay, ~ change, + come, - go, ! do not fit)\n{}\nSteps\n{}\nSpaces\n{}\n"
                       "Matches\n{}{}\n{}",
                       entriesPart( plan, all ), stepsPart( plan, all ), spacesPart( plan.spaces ),
                       wrongPart( plan, all ), afterwardsPart( plan ), verdictPart( plan, all ) );
}

} // namespace QuarraTool
