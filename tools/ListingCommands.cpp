#include <fmt/format.h>
#include <fmt/ranges.h>

#include "lab/Dump.h"
#include "tools/Command.h"
#include "tools/TextTable.h"

// What there is: the TCAM groups of a variant, the chips shipped.
namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using Align = TextTable::Align;

template <typename Number>
std::string text( Number number ) {
   return fmt::format( "{}", number );
}

std::vector<std::string> rulesOf( const ClassIdTcamGroupConfig &config ) {
   std::vector<std::string> rules;
   for ( const auto &[ key, flag ] : config.requestKey() ) {
      rules.push_back( key.name() );
   }
   return rules;
}

void print( const GlobalOptions &global, Output &out, const JsonOut &json, const TextTable &table ) {
   out.print( global.json ? jsonText( json, global.pretty ) + "\n" : table.text() );
}

int runGroups( const GlobalOptions &global, Output &out ) {
   const Switch theSwitch( global.choice() );
   TextTable table( { { "group", Align::right },
                      { "type" },
                      { "width", Align::right },
                      { "pool bits", Align::right },
                      { "pools", Align::right },
                      { "strategy" },
                      { "system" },
                      { "rules reserved at start-up" } } );
   auto groups = JsonOut::array();
   for ( const auto group : getTcamGroups() ) {
      const auto &config = *classIdTcamGroupsInfo.at( group );
      table.row( { text( group.value() ), std::string( stringValue( config.classIdType() ) ),
                   text( config.classIdPoolWidth() ), text( config.classIdPoolBits() ),
                   text( config.classIdNumPools() ), std::string( stringValue( config.allocationType() ) ),
                   isSystemAclGroup( group ) ? "yes" : "",
                   fmt::format( "{}", fmt::join( rulesOf( config ), "; " ) ) } );
      auto json = configJson( config );
      json[ "group" ] = group.value();
      groups.push_back( std::move( json ) );
   }
   auto json = document( true );
   json[ "variant" ] = theSwitch.agent().variant().name;
   json[ "groups" ] = std::move( groups );
   print( global, out, json, table );
   return exitGood;
}

int runChips( const GlobalOptions &global, Output &out ) {
   TextTable table( { { "chip" },
                      { "variants" },
                      { "flexible", Align::right },
                      { "fixed", Align::right },
                      { "source trunk map", Align::right },
                      { "ports", Align::right },
                      { "" } } );
   auto chips = JsonOut::array();
   std::vector<std::pair<const QuarraAgent::ShippedChip *, std::vector<std::string_view>>> variantsOfChips;
   for ( const auto &variant : QuarraAgent::variants() ) {
      for ( const auto &chip : variant.generation.chips ) {
         auto row =
            std::ranges::find( variantsOfChips, &chip, []( const auto &item ) { return item.first; } );
         if ( row == variantsOfChips.end() ) {
            row = variantsOfChips.insert( row, { &chip, {} } );
         }
         row->second.push_back( variant.name );
      }
   }
   for ( const auto &[ shipped, names ] : variantsOfChips ) {
      const auto chip = QuarraAgent::chipOf( *shipped );
      table.row( { chip.profile, fmt::format( "{}", fmt::join( names, ", " ) ), text( chip.flexibleBits ),
                   text( chip.fixedBits ), text( chip.sourceTrunkMapBits ), text( chip.ports.size() ),
                   std::string( shipped->description ) } );
      chips.push_back( { { "profile", chip.profile },
                         { "variants", names },
                         { "flexibleBits", chip.flexibleBits },
                         { "fixedBits", chip.fixedBits },
                         { "sourceTrunkMapBits", chip.sourceTrunkMapBits },
                         { "portBits", chip.portBits },
                         { "portCount", chip.ports.size() } } );
   }
   auto json = document( true );
   json[ "chips" ] = std::move( chips );
   print( global, out, json, table );
   return exitGood;
}

} // namespace

const Command groupsCommand = { "groups",
                                "List the TCAM groups of a variant and how they use class IDs",
                                { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                  CommonOption::chip, CommonOption::trace },
                                []( CLI::App & ) -> Command::Run { return runGroups; } };

const Command chipsCommand = { "chips",
                               "List the chips shipped",
                               { CommonOption::json, CommonOption::pretty },
                               []( CLI::App & ) -> Command::Run { return runChips; } };

} // namespace QuarraTool
