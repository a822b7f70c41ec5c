#include "lab/ChangeRun.h"

#include <functional>
#include <queue>
#include <random>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "lab/Switch.h"

// In which order a change is made: against all orders of whole tables, and against the switch that it leaves.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using QuarraAgent::InstallRequest;
using QuarraAgent::RequestRefused;

constexpr U32 reservedBits = 14; // of the flexible ones, at start-up
const TcamGroupId singleBits( 13 );
const TcamGroupId pools( 16 );

// Rules of one name on the same ports.
struct Table {
   TcamGroupId group = singleBits;
   std::set<U32> ports;
   U32 rules = 1;
   bool operator==( const Table & ) const = default;
};
using Tables = std::map<std::string, Table>;

std::string textOf( const Tables &tables ) {
   std::string text;
   for ( const auto &[ name, table ] : tables ) {
      text += fmt::format( " {}: {} rules of group {} on", name, table.rules, table.group.value() );
      for ( const U32 port : table.ports ) {
         text += fmt::format( " {}", port );
      }
      text += ";";
   }
   return text;
}

WantedEntries wantedBy( const Tables &tables ) {
   WantedEntries wanted;
   for ( const auto &[ name, table ] : tables ) {
      for ( U32 rule = 1; rule <= table.rules; ++rule ) {
         auto &request = wanted.emplace_back();
         request.group = table.group;
         request.label = fmt::format( "{}|R{}", name, rule );
         request.rule = QuarraTcam::RuleId( QuarraTcam::FeatureGroupType::acl, request.label );
         for ( const U32 port : table.ports ) {
            request.ports.emplace_back( 0, port );
         }
      }
   }
   return wanted;
}

std::unique_ptr<Switch> switchWithBits( U32 bits ) {
   auto choice = defaultChoice( "sdk6" );
   choice.chip.flexibleBits = static_cast<U8>( reservedBits + bits );
   return std::make_unique<Switch>( choice );
}

std::vector<RuleChange> changeTo( const Tables &tables, Switch &theSwitch ) {
   const auto wanted = wantedBy( tables );
   ChangeRun run( theSwitch.agent(), wanted );
   ChangeObserver nobody;
   run.run( nobody );
   return run.rules();
}

// The smallest number of rules that must give up their old entries first, over all orders of whole tables.
// Each port set takes one bit. Empty when no order works.
std::optional<U32> fewestThatGoFirst( const Tables &before, const Tables &after, U32 bits ) {
   std::set<std::string> names;
   for ( const auto &tables : { before, after } ) {
      for ( const auto &[ name, table ] : tables ) {
         names.insert( name );
      }
   }
   // What stands of each table: its old entries, its new ones, or none.
   using State = std::map<std::string, std::optional<Table>>;
   const auto of = []( const Tables &tables, const std::string &name ) {
      return tables.contains( name ) ? std::optional( tables.at( name ) ) : std::nullopt;
   };
   const auto portSets = []( const State &state ) {
      std::set<std::set<U32>> sets;
      for ( const auto &[ name, table ] : state ) {
         if ( table ) {
            sets.insert( table->ports );
         }
      }
      return sets;
   };
   State start;
   State end;
   for ( const auto &name : names ) {
      start[ name ] = of( before, name );
      end[ name ] = of( after, name );
   }
   const auto costsMore = []( const auto &one, const auto &other ) { return one.first > other.first; };
   std::priority_queue<std::pair<U32, State>, std::vector<std::pair<U32, State>>, decltype( costsMore )> next(
      costsMore );
   std::vector<State> done;
   next.emplace( 0, start );
   while ( !next.empty() ) {
      const auto [ cost, state ] = next.top();
      next.pop();
      if ( state == end ) {
         return cost;
      }
      if ( std::ranges::find( done, state ) != done.end() ) {
         continue;
      }
      done.push_back( state );
      for ( const auto &name : names ) {
         const auto now = state.at( name );
         const auto wanted = end.at( name );
         if ( now == wanted ) {
            continue;
         }
         auto other = state;
         if ( wanted ) { // beside what is there
            auto sets = portSets( state );
            sets.insert( wanted->ports );
            if ( sets.size() <= bits ) {
               other[ name ] = wanted;
               next.emplace( cost, other );
            }
         }
         if ( now ) {
            other[ name ] = std::nullopt;
            next.emplace( cost + ( wanted ? now->rules : 0 ), other );
         }
      }
   }
   return std::nullopt;
}

struct Random {
   U32 below( U32 number ) { return static_cast<U32>( engine() % number ); }
   std::mt19937 engine{ 11 };
};

// Some tables stay as they were. `drawTable` is given the table that was.
Tables changed( const Tables &before, U32 number, Random &random,
                const std::function<Table( const Table *old )> &drawTable ) {
   Tables after;
   for ( U32 i = 0; i < number; ++i ) {
      const auto name = fmt::format( "T{}", i );
      const auto old = before.find( name );
      if ( old != before.end() && random.below( 3 ) == 0 ) {
         after.insert( *old );
      } else if ( random.below( 6 ) ) {
         after[ name ] = drawTable( old == before.end() ? nullptr : &old->second );
         after[ name ].rules = old == before.end() ? 1 + random.below( 3 ) : old->second.rules;
      }
   }
   return after;
}

constexpr U32 changes = 1000;

// Two cases are not drawn: tables that share a class ID before the change, since they leave it together; and
// tables that come on ports of tables that go.
TEST( ChangeOrderTest, NoOrderHasFewerRulesGoFirst ) {
   Random random;
   U32 tight = 0;
   for ( U32 i = 0; i < changes; ++i ) {
      const U32 bits = 2 + random.below( 4 );
      const U32 tables = 2 + random.below( 4 );
      U32 lastPort = 0;
      const auto before = changed( {}, tables, random, [ & ]( const Table * ) {
         return Table{ singleBits, { ++lastPort } };
      } );
      const auto after = changed( before, tables, random, [ & ]( const Table *old ) {
         return Table{ singleBits, { ( old ? 1 : 8 ) + random.below( 7 ) } };
      } );
      const auto fewest = fewestThatGoFirst( before, after, bits );
      if ( !fewestThatGoFirst( {}, before, bits ) || !fewest ) {
         continue;
      }
      const auto theSwitch = switchWithBits( bits );
      changeTo( before, *theSwitch );
      const auto rules = changeTo( after, *theSwitch );
      EXPECT_EQ( std::ranges::count( rules, RuleFate::refused, &RuleChange::fate ), 0 );
      EXPECT_EQ( std::ranges::count( rules, true, &RuleChange::goesFirst ), *fewest );
      ASSERT_FALSE( HasFailure() ) << bits << " bits, from" << textOf( before ) << "\nto" << textOf( after );
      tight += *fewest > 0;
   }
   EXPECT_GT( tight, changes / 40 );
}

// A refused rule has no room on the switch that is left. It keeps its old entry, unless there is no room for
// that either.
TEST( ChangeOrderTest, WhatIsRefusedHasNoRoomAndKeepsItsOldEntryWhereThatHas ) {
   Random random;
   U32 broughtBack = 0;
   for ( U32 i = 0; i < changes; ++i ) {
      const auto theSwitch = switchWithBits( 2 + random.below( 8 ) );
      auto &agent = theSwitch->agent();
      const U32 tables = 2 + random.below( 6 );
      const auto draw = [ & ]( const Table * ) {
         return Table{ random.below( 3 ) ? singleBits : pools,
                       { 1 + random.below( 7 ), 1 + random.below( 7 ) } };
      };
      const auto before = changed( {}, tables, random, draw );
      changeTo( before, *theSwitch );
      const auto entriesBefore = agent.entries();
      const auto after = changed( before, tables, random, draw );
      const auto wanted = wantedBy( after );
      const auto isRefused = [ & ]( InstallRequest request ) {
         request.entry = 1000000;
         try {
            agent.install( request );
         } catch ( const RequestRefused &refused ) {
            return refused.code() == "noRoom";
         }
         agent.remove( request.group, request.entry );
         return false;
      };
      for ( const auto &rule : changeTo( after, *theSwitch ) ) {
         if ( rule.fate != RuleFate::refused ) {
            continue;
         }
         EXPECT_TRUE( isRefused( wanted[ *rule.wanted ] ) ) << rule.rule;
         if ( !rule.entryBefore ) {
            continue;
         }
         const auto &old = entriesBefore.at( *rule.entryBefore ).request;
         if ( rule.entryAfter ) {
            EXPECT_EQ( agent.entries().at( *rule.entryAfter ).request.ports, old.ports );
            broughtBack += rule.goesFirst;
         } else {
            EXPECT_TRUE( isRefused( old ) ) << rule.rule;
         }
      }
      ASSERT_FALSE( HasFailure() ) << "from" << textOf( before ) << "\nto" << textOf( after );
   }
   EXPECT_GT( broughtBack, 0 );
}

} // namespace
} // namespace QuarraTest
