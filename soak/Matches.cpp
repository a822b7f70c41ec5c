#include "soak/Matches.h"

#include <fmt/format.h>

#include "lab/Why.h"

namespace QuarraSoak {

using QuarraLab::Reason;

namespace {

// None where the model knows no rule: it fails no SDK calls.
std::optional<Rule> ruleOf( Reason reason ) {
   switch ( reason ) {
   case Reason::sameRule:
      return Rule::sameRule;
   case Reason::portTaken:
      return Rule::portTaken;
   case Reason::sharedOffset:
      return Rule::sharedOffset;
   case Reason::coveredOffset:
      return Rule::coveredOffset;
   case Reason::offsetCleared:
      return Rule::offsetCleared;
   case Reason::bitWithoutOthers:
      return Rule::bitWithoutOthers;
   case Reason::ethernetPorts:
      return Rule::ethernetPorts;
   case Reason::failedLookUp:
   case Reason::fault:
      break;
   }
   return std::nullopt;
}

std::string placeOf( U32 entry, const Port &port ) {
   return fmt::format( "entry {} on port {}/{}", entry, port.modId().value(), port.port() );
}

// What is asked at most of one switch: a look at each pair of a large one would take longer than all else.
constexpr std::size_t mostAsked = 300;

using Places = std::set<std::pair<U32, Port>>;

std::string compareAnswer( const Model &model, const Switch &theSwitch, const QuarraLab::MatchAnswer &answer,
                           const Places &mismatches ) {
   const bool matches = theSwitch.chip().matches( answer.entry, answer.port );
   const auto &wanted = model.entries().at( answer.entry ).wanted;
   const auto &qualifier = model.qualifiers().at( answer.entry );
   const bool asked =
      wanted.ethernet ? !model.chip().cpuPorts.contains( answer.port ) : wanted.ports.contains( answer.port );
   std::set<U32> mask;
   std::set<U32> data;
   for ( const auto &bit : answer.bits ) {
      mask.insert( bit.bit );
      if ( bit.wanted ) {
         data.insert( bit.bit );
      }
   }
   const std::pair<const char *, bool> claims[] = {
      { "the chip's answer", answer.matches == matches },
      { "the bits that differ", answer.differingBits().empty() == matches },
      { "the bits compared", mask == qualifier.mask && data == qualifier.data },
      { "what was asked", answer.asked == asked },
      { "who holds the class ID", answer.holder.request->entryRefHas( answer.entry ) },
      { "whether it is as asked", answer.asAsked() != mismatches.contains( { answer.entry, answer.port } ) },
   };
   for ( const auto &[ what, holds ] : claims ) {
      if ( !holds ) {
         return fmt::format( "why {}: {} is wrong", placeOf( answer.entry, answer.port ), what );
      }
   }
   return "";
}

// The report of one port must name the mismatches of the port, for the same reasons.
std::string compareReport( const Switch &theSwitch, const Port &port,
                           const std::vector<QuarraLab::Mismatch> &found ) {
   const auto entries = QuarraLab::entriesNamed( theSwitch, "" );
   const auto report = QuarraLab::explainPort( theSwitch, port, entries );
   std::map<U32, Reason> expected;
   for ( const auto &mismatch : found ) {
      if ( mismatch.port == port ) {
         expected.emplace( mismatch.entry, mismatch.reason );
      }
   }
   std::map<U32, Reason> named;
   for ( const auto &[ entry, mismatch ] : report.mismatches ) {
      named.emplace( entry, mismatch.reason );
   }
   return named == expected && report.answers.size() == entries.size()
             ? ""
             : fmt::format( "the report of port {}/{} is not the match check's", port.modId().value(),
                            port.port() );
}

// What `why` says of entries and ports, against the chip and the model.
std::string compareExplanations( const Model &model, const Switch &theSwitch,
                                 const std::vector<QuarraLab::Mismatch> &found ) {
   Places mismatches;
   for ( const auto &mismatch : found ) {
      mismatches.emplace( mismatch.entry, mismatch.port );
   }
   const auto &ports = theSwitch.ports();
   const std::size_t pairs = model.entries().size() * ports.size();
   const std::size_t stride = pairs / mostAsked + 1;
   std::size_t next = 0; // of the pairs left out, before the next one that is asked
   for ( const auto &[ entry, request ] : model.entries() ) {
      for ( ; next < ports.size(); next += stride ) {
         const auto answer = QuarraLab::whyMatches( theSwitch, entry, ports[ next ] );
         if ( auto difference = compareAnswer( model, theSwitch, answer, mismatches ); !difference.empty() ) {
            return difference;
         }
      }
      next -= ports.size();
   }
   return model.entries().empty() ? "" : compareReport( theSwitch, ports[ next % ports.size() ], found );
}

} // namespace

std::string compareMatches( const Model &model, const Switch &theSwitch ) {
   const auto found = checkMatches( theSwitch );
   const auto expected = model.mismatches();
   auto next = expected.begin();
   for ( const auto &mismatch : found ) {
      const auto place = placeOf( mismatch.entry, mismatch.port );
      if ( next == expected.end() || next->entry != mismatch.entry || next->port != mismatch.port ) {
         return "the match check, not the model, names " + place;
      }
      if ( const auto rule = ruleOf( mismatch.reason ); !rule || !next->rules.contains( *rule ) ) {
         return fmt::format( "{}: {} is not the reason", place, reasonName( mismatch.reason ) );
      }
      if ( mismatch.reason == Reason::portTaken && !next->takers.contains( mismatch.taker.value_or( 0 ) ) ) {
         return fmt::format( "{}: entry {} did not take the port", place, mismatch.taker.value_or( 0 ) );
      }
      ++next;
   }
   if ( next != expected.end() ) {
      return "the model, not the match check, names " + placeOf( next->entry, next->port );
   }
   return compareExplanations( model, theSwitch, found );
}

} // namespace QuarraSoak
