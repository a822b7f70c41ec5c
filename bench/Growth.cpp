#include "bench/Growth.h"

#include <algorithm>
#include <bit>
#include <chrono>

#include <benchmark/benchmark.h>

#include "lab/MatchCheck.h"

namespace QuarraBench {
namespace {

using namespace QuarraLab;
using namespace QuarraTcam;
using enum ClassIdType;
using enum ClassIdAllocationStrategy;
using Clock = std::chrono::steady_clock;
using JsonOut = nlohmann::ordered_json;

// Where it is measured: in a group with one pool of eight bits, so of up to 255 requests. No SDK6 chip has
// one: there a number that the helper does not know is registered as one. On the HSDK chip each bit of a
// class ID is rewritten on every system port: a small chip, so that the chip calls do not drown the rest.
struct Place {
   const char *variant;
   U16 group;
   bool registered; // by the measurement itself
   U8 portBits;     // of the chip, with a port less than there are system ports; 0: the default chip
};

constexpr Place places[] = {
   { "sdk6", 500, true, 0 },
   { "hsdk", 16, false, 4 },
};
constexpr U32 repetitions = 2001;
constexpr U32 lookUpsAtOnce = 64;

ChipChoice choiceOf( const Place &place ) {
   auto choice = defaultChoice( place.variant );
   if ( place.portBits ) {
      const U32 systemPorts = U32{ 1 } << place.portBits;
      choice.chip.profile = std::to_string( systemPorts ) + " system ports";
      choice.chip.portBits = place.portBits;
      choice.chip.ports.resize( systemPorts - 1 );
   }
   return choice;
}

// A set of ports 1 to 8 that no other request has. In this group a port carries one class ID, and the newest
// request takes it: the newest has all of its ports, older ones may be left without any.
std::vector<QuarraModPort> portsOf( U32 request ) {
   std::vector<QuarraModPort> ports;
   for ( U32 bit = 0; bit < 8; ++bit ) {
      if ( request >> bit & 1 ) {
         ports.emplace_back( 0, bit + 1 );
      }
   }
   return ports;
}

const std::vector<QuarraModPort> portsOfNobody = { QuarraModPort( 0, 15 ) };

double nanoseconds( Clock::duration time ) {
   return std::chrono::duration<double, std::nano>( time ).count();
}

double median( std::vector<double> values ) {
   std::sort( values.begin(), values.end() );
   return values[ values.size() / 2 ];
}

// What reading the clock twice takes, which every time below holds.
double clockItself() {
   std::vector<double> times;
   for ( U32 i = 0; i < repetitions; ++i ) {
      const auto start = Clock::now();
      times.push_back( nanoseconds( Clock::now() - start ) );
   }
   return median( times );
}

// A group with so many entries, spread over so many requests, the entries of each installed in a row.
class Scene {
 public:
   Scene( const Place &place, U32 entries, U32 requests )
      : switch_( choiceOf( place ) ), group_( place.group ), entries_( entries ), requests_( requests ) {
      if ( place.registered ) {
         addClassIdInfoToMap(
            group_, getGroupConfigType( group_, aclGroupFlexibleWidth, 0, 8, 1, allocateOnDemand ) );
      }
      switch_.agent().createGroup( group_ );
      for ( U32 n = 0; n < entries; ++n ) {
         const auto request = static_cast<U32>( U64{ n } * requests / entries + 1 );
         switch_.agent().install( { group_, entryOf( n ), portsOf( request ), false, {} } );
      }
   }

   JsonOut measure( bool newRequest ) {
      const auto ports = newRequest ? portsOfNobody : portsOf( requests_ );
      std::vector<double> installs;
      std::vector<double> removes;
      std::vector<double> lookUps;
      double bits = 0;
      auto &agent = switch_.agent();
      const auto calls = switch_.chip().calls();
      for ( U32 i = 0; i < repetitions; ++i ) {
         const U32 entry = entryOf( somewhere() ) + 1; // between the others
         const auto start = Clock::now();
         const auto installed = agent.install( { group_, entry, ports, false, {} } );
         const auto between = Clock::now();
         agent.remove( group_, entry );
         const auto end = Clock::now();
         installs.push_back( nanoseconds( between - start ) );
         removes.push_back( nanoseconds( end - between ) );
         bits += std::popcount( installed.classId );
      }
      const auto callsMade = switch_.chip().calls() - calls;
      for ( U32 i = 0; i < repetitions; ++i ) {
         lookUps.push_back( lookUp() );
      }
      const double clock = clockItself();
      return { { "entries", entries_ },
               { "requests", requests_ },
               { "ports", newRequest ? "new" : "known" },
               { "installNanoseconds", median( installs ) - clock },
               { "removeNanoseconds", median( removes ) - clock },
               { "lookUpNanoseconds", ( median( lookUps ) - clock ) / lookUpsAtOnce },
               { "bitsOfClassId", bits / repetitions },
               { "sdkCalls", static_cast<double>( callsMade ) / repetitions } };
   }

 private:
   static U32 entryOf( U32 n ) { return 2 * n + 2; }

   U32 somewhere() {
      state_ = state_ * 1664525u + 1013904223u;
      return ( state_ >> 8 ) % entries_;
   }

   double lookUp() {
      auto &manager = switch_.agent().manager();
      const auto start = Clock::now();
      for ( U32 i = 0; i < lookUpsAtOnce; ++i ) {
         benchmark::DoNotOptimize( manager.getRequestKeyForEntryId( group_, entryOf( somewhere() ), rule_ ) );
      }
      return nanoseconds( Clock::now() - start );
   }

   Switch switch_;
   TcamGroupId group_;
   U32 entries_;
   U32 requests_;
   U32 state_ = 1;
   const RuleId rule_;
};

// One point of the curves.
struct Point {
   const char *by;
   const Place *place;
   U32 entries;
   U32 requests;
   bool newRequest;
};

std::vector<Point> points() {
   std::vector<Point> all;
   for ( const auto &place : places ) {
      for ( const U32 entries : { 10u, 100u, 1000u, 10000u } ) {
         all.push_back( { "entries", &place, entries, 8, false } );
      }
      for ( const U32 requests : { 1u, 32u, 64u, 128u, 192u, 255u } ) {
         all.push_back( { "requests", &place, 4 * requests, requests, false } );
      }
      for ( const U32 requests : { 1u, 32u, 64u, 128u, 192u, 254u } ) { // and the new one
         all.push_back( { "requests", &place, 4 * requests, requests, true } );
      }
   }
   return all;
}

// The median of what the rounds say, with the least and the most.
JsonOut merged( const Point &point, const std::vector<JsonOut> &ofRounds ) {
   JsonOut row = { { "by", point.by },
                   { "variant", point.place->variant },
                   { "chip", choiceOf( *point.place ).chip.profile } };
   row.update( ofRounds.front() );
   for ( const char *field : { "installNanoseconds", "removeNanoseconds", "lookUpNanoseconds" } ) {
      std::vector<double> values;
      for ( const auto &round : ofRounds ) {
         values.push_back( round.at( field ).get<double>() );
      }
      const auto [ least, most ] = std::minmax_element( values.begin(), values.end() );
      row[ field ] = median( values );
      row[ std::string( field ) + "Spread" ] = { *least, *most };
   }
   return row;
}

} // namespace

// In rounds, so that another process that disturbs does not disturb all of a point's measurements.
JsonOut growth() {
   constexpr U32 rounds = 7;
   const auto all = points();
   std::vector<std::vector<JsonOut>> ofRounds( all.size() );
   for ( U32 round = 0; round < rounds; ++round ) {
      for ( std::size_t i = 0; i < all.size(); ++i ) {
         const auto &point = all[ i ];
         ofRounds[ i ].push_back(
            Scene( *point.place, point.entries, point.requests ).measure( point.newRequest ) );
      }
   }
   auto result = JsonOut::array();
   for ( std::size_t i = 0; i < all.size(); ++i ) {
      result.push_back( merged( all[ i ], ofRounds[ i ] ) );
   }
   return result;
}

// Two tables of group 16 over the ports of the default HSDK chip, all of them and all but the last: the
// second table takes the ports from the first.
JsonOut growthOfMatchCheck() {
   constexpr U32 rounds = 5;
   auto result = JsonOut::array();
   for ( const U32 rules : { 500u, 1000u, 2000u, 4000u } ) {
      Switch theSwitch( defaultChoice( "hsdk" ) );
      auto &agent = theSwitch.agent();
      std::vector<QuarraModPort> ports( theSwitch.ports().begin() + 1, theSwitch.ports().end() );
      agent.createGroup( 16 );
      for ( U32 entry = 1; entry <= 2 * rules; ++entry ) {
         if ( entry == rules + 1 ) {
            ports.pop_back();
         }
         agent.install( { 16, entry, ports, false, {} } );
      }
      std::vector<double> times;
      std::size_t mismatches = 0;
      for ( U32 round = 0; round < rounds; ++round ) {
         const auto start = Clock::now();
         mismatches = checkMatches( theSwitch ).size();
         times.push_back( nanoseconds( Clock::now() - start ) );
      }
      result.push_back( { { "rules", 2 * rules },
                          { "ports", theSwitch.ports().size() },
                          { "mismatches", mismatches },
                          { "milliseconds", median( times ) / 1e6 } } );
   }
   return result;
}

} // namespace QuarraBench
