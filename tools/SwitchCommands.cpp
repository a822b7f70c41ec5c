#include <algorithm>
#include <charconv>
#include <filesystem>
#include <memory>

#include <fmt/format.h>

#include "lab/SwitchDir.h"
#include "lab/TextFile.h"
#include "tools/Answers.h"
#include "tools/Command.h"
#include "tools/OpenSwitch.h"
#include "tools/OutputFiles.h"
#include "tools/SdkCalls.h"
#include "tools/Subject.h"
#include "tools/TextTable.h"

// A switch that lasts as such: what it is, how it starts, and how it is damaged.
namespace QuarraTool {
namespace {

using namespace QuarraTcam;

// ---- switch

U64 bytesOf( const std::string &file ) {
   std::error_code error;
   const auto size = std::filesystem::file_size( file, error );
   return error ? 0 : size;
}

JsonOut switchJson( const Switch &theSwitch, const Usage &usage ) {
   const auto &agent = theSwitch.agent();
   const auto &chip = agent.chip();
   const auto &dir = *theSwitch.dir();
   const PortsJson names( theSwitch );
   auto ports = JsonOut::array();
   for ( const auto &port : chip.ports ) {
      ports.push_back( names.port( port.port ) );
   }
   auto json = document( true );
   json[ "switch" ] = dir.path();
   json[ "variant" ] = agent.variant().name;
   json[ "chip" ] = { { "profile", chip.profile },
                      { "flexibleBits", chip.flexibleBits },
                      { "fixedBits", chip.fixedBits },
                      { "sourceTrunkMapBits", chip.sourceTrunkMapBits },
                      { "portBits", chip.portBits },
                      { "ports", std::move( ports ) },
                      { "cpuPorts", names.list( chip.cpuPorts ) } };
   json[ "store" ] = { { "version", QuarraAgent::storeVersion },
                       { "commits", dir.store().commits() },
                       { "bytes", bytesOf( dir.store().path() ) },
                       { "chipBytes", bytesOf( dir.path() + "/chip" ) } };
   json[ "entries" ] = agent.entries().size();
   json.update( usageJson( usage ) );
   return json;
}

std::string switchText( const Switch &theSwitch, const Usage &usage ) {
   const auto &agent = theSwitch.agent();
   const auto &dir = *theSwitch.dir();
   std::vector<QuarraModPort> ports;
   for ( const auto &port : agent.chip().ports ) {
      ports.push_back( port.port );
   }
   std::sort( ports.begin(), ports.end() );
   return fmt::format( "switch {}: {}; {} ({})\n"
                       "  store: version {}, {}, {}; the chip's tables: {}\n",
                       oneLine( dir.path() ), counted( agent.entries().size(), "entry", "entries" ),
                       counted( ports.size(), "port", "ports" ), PortNames( theSwitch ).list( ports ),
                       QuarraAgent::storeVersion, counted( dir.store().commits(), "commit", "commits" ),
                       counted( bytesOf( dir.store().path() ), "byte", "bytes" ),
                       counted( bytesOf( dir.path() + "/chip" ), "byte", "bytes" ) ) +
          usageText( theSwitch, usage );
}

int runSwitch( const GlobalOptions &global, const std::string &html, Output &out ) {
   checkOutputs( "switch", { { "--html", html } }, filesRead( global, {} ) );
   const auto theSwitch = openSwitch( global );
   const auto usage = usageOf( *theSwitch );
   if ( !html.empty() ) {
      writePage( html, *theSwitch, *global.switchDir, {} );
   }
   out.print( global.json ? jsonText( switchJson( *theSwitch, usage ), global.pretty ) + "\n"
                          : switchText( *theSwitch, usage ) );
   return exitGood;
}

Command::Run addSwitchOptions( CLI::App &app ) {
   const auto html = std::make_shared<std::string>();
   app.add_option( "--html", *html, "Write a page that shows the switch, too" )->type_name( "FILE" );
   return [ html ]( const GlobalOptions &global, Output &out ) { return runSwitch( global, *html, out ); };
}

// ---- restart

JsonOut coldJson( const ColdStarted &cold ) {
   auto refused = JsonOut::array();
   for ( const auto &entry : cold.refused ) {
      refused.push_back( { { "entry", entry.request.entry },
                           { "group", entry.request.group.value() },
                           { "label", entry.request.label },
                           { "error", { { "code", entry.code }, { "message", entry.message } } } } );
   }
   return { { "why", cold.why.empty() ? JsonOut() : JsonOut( cold.why ) },
            { "chipWasReset", cold.chipWasReset },
            { "taken", cold.taken },
            { "back", cold.back },
            { "unreadable", cold.unreadable },
            { "refused", std::move( refused ) } };
}

JsonOut restartJson( const Switch &theSwitch ) {
   const auto &restarted = theSwitch.dir()->restarted();
   auto json = document( true );
   json[ "switch" ] = theSwitch.dir()->path();
   json[ "variant" ] = theSwitch.agent().variant().name;
   json[ "chip" ] = theSwitch.agent().chip().profile;
   json[ "entries" ] = theSwitch.agent().entries().size();
   json[ "inFlight" ] = nullptr;
   if ( restarted.outcome != QuarraAgent::Restarted::Outcome::nothingInFlight ) {
      const auto &request = restarted.request;
      json[ "inFlight" ] = {
         { "request", request.removal ? "remove" : "install" },
         { "outcome", restarted.outcome == QuarraAgent::Restarted::Outcome::done ? "done" : "undone" },
         { "group", request.request.group.value() },
         { "entry", request.request.entry },
         { "label", request.request.label }
      };
   }
   json[ "cold" ] = nullptr;
   if ( const auto &cold = theSwitch.dir()->coldStarted() ) {
      json[ "cold" ] = coldJson( *cold );
   }
   json[ "sdkWrites" ] = sdkWrites( theSwitch );
   json[ "sdkCalls" ] = theSwitch.chip().callCounts();
   return json;
}

std::string restartText( const Switch &theSwitch ) {
   const auto &agent = theSwitch.agent();
   const auto inFlight = restartedText( theSwitch.dir()->restarted() );
   return fmt::format( "switch {}: variant {}, chip {}; {}\n  in "
                       "flight: {}\n  {}, {} of them {}\n",
                       oneLine( theSwitch.dir()->path() ), agent.variant().name, agent.chip().profile,
                       counted( agent.entries().size(), "entry", "entries" ),
                       inFlight.empty() ? "nothing" : messageLine( inFlight ),
                       counted( theSwitch.chip().calls(), "SDK call", "SDK calls" ), sdkWrites( theSwitch ),
                       sdkWrites( theSwitch ) == 1 ? "a write" : "writes" ) +
          ( theSwitch.chip().calls() ? sdkCallsText( theSwitch ) : std::string() );
}

int runRestart( const GlobalOptions &global, Output &out ) {
   const auto theSwitch = openSwitch( global );
   out.print( global.json ? jsonText( restartJson( *theSwitch ), global.pretty ) + "\n"
                          : restartText( *theSwitch ) );
   const auto &cold = theSwitch->dir()->coldStarted();
   const bool lostEntries = cold && !cold->why.empty() && cold->back < cold->taken;
   const bool all = !cold || ( cold->refused.empty() && cold->unreadable == 0 && !lostEntries );
   return withFailuresChecked( global, theSwitch.get(), all ? exitGood : exitDoesNotFit );
}

Command::Run addRestartOptions( CLI::App &app ) {
   app.footer( "Starts an agent on the switch, as after the death of the one "
               "before, and tells what became of the\n"
               "request that was in flight and which SDK calls that took: none "
               "for what was finished." );
   return runRestart;
}

// ---- damage

U32 numberOf( const std::string &word, U32 most ) {
   U32 number = 0;
   const auto *const end = word.data() + word.size();
   if ( const auto [ rest, error ] = std::from_chars( word.data(), end, number );
        error != std::errc() || rest != end || number > most ) {
      throw InputError( fmt::format( "damage: expected a number up to {}, got \"{}\"", most, word ) );
   }
   return number;
}

// Each turns something on the chip into something else, and says what.
std::string damageEntry( Switch &theSwitch, const std::vector<std::string> &words ) {
   const U32 entry = numberOf( words[ 1 ], 0xffffffff );
   if ( !theSwitch.chip().tcamEntries().contains( entry ) ) {
      throw InputError( fmt::format( "damage: there is no entry {} on the chip", entry ) );
   }
   theSwitch.chip().tcamEntryDel( entry );
   theSwitch.dir()->image().entryChanged( entry );
   return fmt::format( "entry {} is off the chip", entry );
}

std::string damageBit( Switch &theSwitch, const std::vector<std::string> &words ) {
   const auto &variant = theSwitch.agent().variant();
   if ( variant.aclGroupOf ) {
      throw InputError( fmt::format( "damage: the agent of variant {} keeps the ports' values itself: there "
                                     "is no bit of them on the chip",
                                     variant.name ) );
   }
   const auto port = PortNames( theSwitch ).find( words[ 1 ] );
   auto value = theSwitch.chip().aclGroup( port.port() );
   const U32 bit = numberOf( words[ 2 ], value.size() - 1 );
   const bool set = value.test( bit );
   if ( set ) {
      value.clear( bit );
   } else {
      value.set( bit );
   }
   theSwitch.chip().aclGroupIs( port.port(), value );
   theSwitch.dir()->image().portChanged( port.port() );
   return fmt::format( "bit {} of {} is {}", bit, PortNames( theSwitch ).full( port ),
                       set ? "clear" : "set" );
}

std::string damageWord( Switch &theSwitch, const std::vector<std::string> &words ) {
   const auto &agent = theSwitch.agent();
   if ( agent.chip().sourceTrunkMapBits == 0 ) {
      throw InputError( fmt::format( "damage: the chip {} of variant {} has no words in tables 9 and 10",
                                     agent.chip().profile, agent.variant().name ) );
   }
   const auto port = PortNames( theSwitch ).find( words[ 1 ] );
   const U32 table = numberOf( words[ 2 ], 0xff );
   if ( table != QuarraCentral::ifpSourceTrunkMapTable && table != QuarraCentral::vfpSourceTrunkMapTable ) {
      throw InputError(
         fmt::format( "damage: table {}: expected 9 or 10, the tables of ports' words", table ) );
   }
   const U32 value = numberOf( words[ 3 ], 0xffffffff );
   if ( theSwitch.chip().sourceTrunkMapWord( static_cast<U8>( table ), port ) == value ) {
      throw InputError( fmt::format( "damage: the word of {} in table {} is {} already",
                                     PortNames( theSwitch ).full( port ), table, value ) );
   }
   theSwitch.chip().sourceTrunkMapWordIs( static_cast<U8>( table ), port, value );
   theSwitch.dir()->image().portChanged( port.port() );
   return fmt::format( "the word of {} in table {} is {}", PortNames( theSwitch ).full( port ), table,
                       value );
}

struct Damage {
   const char *name;
   std::size_t words;
   std::string ( *make )( Switch &theSwitch, const std::vector<std::string> &words );
};

constexpr Damage damages[] = {
   { "entry", 2, damageEntry },
   { "bit", 3, damageBit },
   { "word", 4, damageWord },
};

int runDamage( const GlobalOptions &global, const std::vector<std::string> &words, Output &out ) {
   const auto *const damage =
      std::find_if( std::begin( damages ), std::end( damages ), [ & ]( const auto &row ) {
         return words[ 0 ] == row.name && words.size() == row.words;
      } );
   if ( damage == std::end( damages ) ) {
      throw InputError( "damage: expected entry ENTRY, bit PORT BIT or word PORT TABLE VALUE" );
   }
   const auto theSwitch = openSwitch( global );
   out.print( damage->make( *theSwitch, words ) + "\n" );
   return exitGood;
}

Command::Run addDamageOptions( CLI::App &app ) {
   const auto words = std::make_shared<std::vector<std::string>>();
   app.footer(
      "damage entry ENTRY             the entry, a number, is off the chip\n"
      "damage bit PORT BIT            the bit of the port's ACL-group value, from 0, is the other way "
      "round\n"
      "                               (not on testSdk6, whose agent keeps these values)\n"
      "damage word PORT TABLE VALUE   the port's word of table 9 (ingress) or 10 (VLAN) is VALUE (on "
      "chips with a\n"
      "                               source-trunk map only: the shipped SDK6 one)\n"
      "The agent does not know of it: audit finds it, repair mends it." );
   app.add_option( "WHAT", *words, "What to damage, as below" )->required()->expected( 2, 4 );
   return [ words ]( const GlobalOptions &global, Output &out ) { return runDamage( global, *words, out ); };
}

} // namespace

const Command switchCommand = { "switch",
                                "Tell what a switch that lasts is, and how full",
                                { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                  CommonOption::chip, CommonOption::switchDir, CommonOption::trace },
                                addSwitchOptions };

const Command restartCommand = { "restart",
                                 "Restart the agent of a switch that lasts, and count its SDK calls",
                                 { CommonOption::json, CommonOption::pretty, CommonOption::variant,
                                   CommonOption::chip, CommonOption::switchDir, CommonOption::sync,
                                   CommonOption::cold, CommonOption::failSdkCall, CommonOption::trace },
                                 addRestartOptions };

const Command damageCommand = { "damage",
                                "Damage what the chip of a switch that lasts "
                                "holds, to try audit and repair",
                                { CommonOption::variant, CommonOption::chip, CommonOption::switchDir,
                                  CommonOption::trace },
                                addDamageOptions };

} // namespace QuarraTool
