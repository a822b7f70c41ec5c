#include "tools/MatchText.h"

#include <fmt/format.h>

#include "lab/PortNames.h"
#include "lab/TextFile.h"
#include "lab/Who.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

constexpr std::size_t examplesOfACause = 3; // mismatches listed for each cause, unless all are asked for

// "USERS|WEB (entry 3)", "entry 7" where it has no name.
std::string entryName( const Switch &theSwitch, U32 entry ) {
   const auto rule = ruleOf( theSwitch.agent().entries().at( entry ).request );
   return rule.empty() ? fmt::format( "entry {}", entry )
                       : fmt::format( "{} (entry {})", shortName( rule ), entry );
}

} // namespace

std::string verdict( bool good, const std::string &text, bool colour ) {
   return colour ? fmt::format( "  \033[{}m{}\033[0m\n", good ? 32 : 31, text )
                 : fmt::format( "  {}\n", text );
}

std::string matchText( const Switch &theSwitch, const std::vector<Mismatch> &mismatches, bool all,
                       bool colour ) {
   const auto size =
      fmt::format( "{} x {}", counted( theSwitch.agent().entries().size(), "entry", "entries" ),
                   counted( theSwitch.ports().size(), "port", "ports" ) );
   if ( mismatches.empty() ) {
      return verdict( true, size + ": every entry matches exactly its ports", colour );
   }
   const PortNames names( theSwitch );
   std::string text = verdict(
      false, fmt::format( "{}: {}", size, counted( mismatches.size(), "mismatch", "mismatches" ) ), colour );
   for ( const auto &cause : causesOf( mismatches, all ? mismatches.size() : examplesOfACause ) ) {
      text += fmt::format(
         "  group {}: {}, {} ({}, {}): {}\n", cause.first.group.value(),
         cause.first.expected ? "an entry does not match its port"
                              : "an entry matches a port that is not its own",
         counted( cause.mismatches, "time", "times" ), counted( cause.entries, "entry", "entries" ),
         counted( cause.ports, "port", "ports" ), reasonText( theSwitch.agent().variant(), cause.first ) );
      for ( const auto &mismatch : cause.examples ) {
         text += fmt::format( "    {} on {}{}\n", entryName( theSwitch, mismatch.entry ),
                              shortName( names.name( mismatch.port ) ),
                              mismatch.taker
                                 ? fmt::format( ", which {} took", entryName( theSwitch, *mismatch.taker ) )
                                 : std::string() );
      }
      if ( cause.mismatches > cause.examples.size() ) {
         text += fmt::format( "    and {} more\n", cause.mismatches - cause.examples.size() );
      }
   }
   return text;
}

} // namespace QuarraTool
