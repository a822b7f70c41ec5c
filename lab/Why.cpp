#include "lab/Why.h"

#include <algorithm>

#include <fmt/format.h>

#include "Nodra/Assert.h"

namespace QuarraLab {

using namespace QuarraTcam;

namespace {

const QuarraAgent::Entry &installed( const Switch &theSwitch, U32 entry ) {
   const auto item = theSwitch.agent().entries().find( entry );
   if ( item == theSwitch.agent().entries().end() ) {
      throw QuarraAgent::RequestRefused( "unknownEntry",
                                         fmt::format( "there is no entry {} on the switch", entry ) );
   }
   return item->second;
}

std::optional<Holder> lentAs( const std::vector<Holder> &holders, const GroupPool &pool, U32 value ) {
   for ( const auto &holder : holders ) {
      if ( holder.pool == pool.pool && holder.request->classId() == value ) {
         return holder;
      }
   }
   return std::nullopt;
}

SpaceReading readSpace( const Switch &theSwitch, const Space &space, const QuarraModPort &port,
                        const std::vector<Holder> &holders ) {
   SpaceReading reading{ space, carriedValue( theSwitch, space, port ), {}, {} };
   const auto pools = poolsOf( theSwitch, space.type );
   for ( const auto &pool : pools ) {
      if ( const U32 value = valueIn( reading.value, *pool.pool ) ) {
         reading.pools.push_back( { pool, value, lentAs( holders, pool, value ) } );
      }
   }
   for ( const U32 bit : reading.value.setBits() ) {
      if ( std::ranges::none_of( pools, [ & ]( const auto &pool ) { return pool.covers( bit ); } ) ) {
         reading.strayBits.push_back( bit );
      }
   }
   return reading;
}

// The entry's mask and data on the chip, as bits of the space.
struct Qualifier {
   std::vector<U32> mask;
   std::vector<U32> data;
};

Qualifier qualifierOnChip( const Switch &theSwitch, U32 entry, const Space &space ) {
   using Kind = QuarraSimulator::TcamEntry::Kind;
   const auto &entries = theSwitch.chip().tcamEntries();
   const auto item = entries.find( entry );
   Qualifier qualifier;
   if ( item == entries.end() ) {
      return qualifier;
   }
   if ( item->second.kind == Kind::aclGroup ) {
      const auto ofSpace = [ & ]( std::vector<U32> bits ) {
         for ( U32 &bit : bits ) {
            bit -= space.firstBit;
         }
         return bits;
      };
      return { ofSpace( item->second.maskBits ), ofSpace( item->second.dataBits ) };
   }
   if ( item->second.kind == Kind::interfaceClassPort ) {
      for ( U32 bit = 0; bit < space.size; ++bit ) {
         if ( item->second.mask >> bit & 1 ) {
            qualifier.mask.push_back( bit );
         }
         if ( item->second.data >> bit & 1 ) {
            qualifier.data.push_back( bit );
         }
      }
   }
   return qualifier;
}

} // namespace

std::vector<SpaceReading> readPort( const Switch &theSwitch, const QuarraModPort &port ) {
   const auto holders = holdersOf( theSwitch );
   std::vector<SpaceReading> readings;
   for ( const auto &space : spacesOf( theSwitch ) ) {
      readings.push_back( readSpace( theSwitch, space, port, holders ) );
   }
   return readings;
}

std::vector<U32> MatchAnswer::differingBits() const {
   std::vector<U32> differing;
   for ( const auto &bit : bits ) {
      if ( bit.differs() ) {
         differing.push_back( bit.bit );
      }
   }
   return differing;
}

MatchAnswer whyMatches( const Switch &theSwitch, U32 entry, const QuarraModPort &port ) {
   const auto &record = installed( theSwitch, entry );
   const auto space = spaceOf( theSwitch, record.request.group );
   NODRA_ASSERT( space.has_value() ); // an installed entry has a class ID in it
   MatchAnswer answer;
   answer.entry = entry;
   answer.port = port;
   answer.space = *space;
   answer.holder = holderOf( theSwitch.agent(), record );
   answer.compared = !( record.request.ethernet && theSwitch.isCpuPort( port ) );
   answer.asked = record.request.ethernet
                     ? answer.compared
                     : std::ranges::find( record.request.ports, port ) != record.request.ports.end();
   const auto value = carriedValue( theSwitch, *space, port );
   const auto qualifier = qualifierOnChip( theSwitch, entry, *space );
   for ( const U32 bit : qualifier.mask ) {
      answer.bits.push_back( { bit, std::ranges::binary_search( qualifier.data, bit ), value.test( bit ) } );
   }
   answer.matches = theSwitch.chip().matches( entry, port );
   return answer;
}

std::vector<QuarraModPort> matchedPorts( const Switch &theSwitch, U32 entry ) {
   std::vector<QuarraModPort> ports;
   std::ranges::copy_if( theSwitch.ports(), std::back_inserter( ports ),
                         [ & ]( const auto &port ) { return whyMatches( theSwitch, entry, port ).matches; } );
   return ports;
}

std::vector<U32> entriesNamed( const Switch &theSwitch, const std::string &what ) {
   std::vector<U32> entries;
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      const auto rule = ruleOf( entry.request );
      const auto table = tableOf( rule );
      const bool named = what.empty() || fmt::format( "{}", id ) == what || rule == what || table == what ||
                         ( !table.empty() && rule.substr( table.size() + 1 ) == what );
      if ( named ) {
         entries.push_back( id );
      }
   }
   if ( entries.empty() && !what.empty() ) {
      throw QuarraAgent::RequestRefused(
         "unknownEntry",
         fmt::format(
            "\"{}\" is no number of an installed entry, no table, TABLE|RULE or rule; the switch has "
            "{} {}",
            what, theSwitch.agent().entries().size(),
            theSwitch.agent().entries().size() == 1 ? "entry" : "entries" ) );
   }
   return entries;
}

PortReport explainPort( const Switch &theSwitch, const QuarraModPort &port, std::span<const U32> entries ) {
   PortReport report{ port, readPort( theSwitch, port ), {}, {} };
   bool allAsAsked = true;
   for ( const U32 entry : entries ) {
      report.answers.push_back( whyMatches( theSwitch, entry, port ) );
      allAsAsked = allAsAsked && report.answers.back().asAsked();
   }
   if ( !allAsAsked ) {
      for ( const auto &mismatch : checkMatches( theSwitch ) ) {
         if ( mismatch.port == port ) {
            report.mismatches.emplace( mismatch.entry, mismatch );
         }
      }
   }
   return report;
}

// ---- As JSON

JsonOut spaceReadingJson( const Switch &theSwitch, const PortsJson &ports, const SpaceReading &reading ) {
   auto pools = JsonOut::array();
   for ( const auto &item : reading.pools ) {
      const auto &pool = *item.pool.pool;
      pools.push_back(
         { { "group", item.pool.group.value() },
           { "pool", pool.poolId() },
           { "offset", pool.baseOffset() },
           { "width", pool.size() },
           { "value", item.value },
           { "holder", item.holder ? holderJson( theSwitch, ports, *item.holder ) : JsonOut() } } );
   }
   return { { "space", stringValue( reading.space.type ) },
            { "size", reading.space.size },
            { "firstBitOfValue", reading.space.firstBit },
            { "value", reading.value.hex() },
            { "setBits", reading.value.setBits() },
            { "pools", std::move( pools ) },
            { "strayBits", reading.strayBits } };
}

JsonOut matchAnswerJson( const Switch &theSwitch, const MatchAnswer &answer ) {
   auto bits = JsonOut::array();
   for ( const auto &bit : answer.bits ) {
      bits.push_back( { { "bit", bit.bit }, { "wanted", bit.wanted }, { "carried", bit.carried } } );
   }
   return { { "entry", answer.entry },
            { "rule", ruleOf( installed( theSwitch, answer.entry ).request ) },
            { "group", answer.holder.group.value() },
            { "space", stringValue( answer.space.type ) },
            { "pool", answer.holder.pool->poolId() },
            { "classId", answer.holder.request->classId() },
            { "bits", std::move( bits ) },
            { "differingBits", answer.differingBits() },
            { "asked", answer.asked },
            { "matches", answer.matches },
            { "asAsked", answer.asAsked() } };
}

JsonOut portReportJson( const Switch &theSwitch, const PortReport &report,
                        const std::map<U32, std::string> &ruleTexts ) {
   const PortsJson ports( theSwitch );
   JsonOut json = { { "port", ports.port( report.port ) } };
   auto carries = JsonOut::array();
   for ( const auto &reading : report.carries ) {
      carries.push_back( spaceReadingJson( theSwitch, ports, reading ) );
   }
   auto answers = JsonOut::array();
   for ( const auto &answer : report.answers ) {
      auto one = matchAnswerJson( theSwitch, answer );
      const auto mismatch = report.mismatches.find( answer.entry );
      const bool asAsked = mismatch == report.mismatches.end();
      const auto behaviour = asAsked ? "" : knownBehaviour( mismatch->second.reason );
      one[ "cause" ] = asAsked ? JsonOut() : JsonOut( reasonName( mismatch->second.reason ) );
      one[ "knownBehaviour" ] = behaviour.empty() ? JsonOut() : JsonOut( behaviour );
      one[ "reason" ] =
         asAsked ? JsonOut() : JsonOut( reasonText( theSwitch.agent().variant(), mismatch->second ) );
      if ( const auto text = ruleTexts.find( answer.entry );
           text != ruleTexts.end() && !text->second.empty() ) {
         one[ "text" ] = text->second;
      }
      answers.push_back( std::move( one ) );
   }
   json[ "carries" ] = std::move( carries );
   json[ "entries" ] = std::move( answers );
   return json;
}

} // namespace QuarraLab
