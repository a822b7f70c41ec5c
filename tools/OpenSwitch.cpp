#include "tools/OpenSwitch.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <iterator>

#include <fmt/format.h>

#include "lab/Switch.h"
#include "lab/TextFile.h"
#include "tools/TextTable.h"

namespace QuarraTool {
namespace {

using namespace QuarraAgent;

[[noreturn]] void refuse( const std::string &path, const std::string &what ) {
   throw RequestRefused( "storeOfAnother", fmt::format( "switch {}: {}", path, what ) );
}

// The shipped chip of that profile.
ChipConfig shippedChip( const ChipChoice &choice ) {
   for ( const auto &shipped : choice.variant->generation.chips ) {
      if ( shipped.profile == choice.chip.profile ) {
         return chipOf( shipped );
      }
   }
   return defaultChip( choice.variant->generation );
}

struct ChipNumber {
   const char *name;
   U32 ( *of )( const ChipConfig &chip );
};

// As a chip file names them.
constexpr ChipNumber chipNumbers[] = {
   { "flexibleBits", []( const ChipConfig &chip ) -> U32 { return chip.flexibleBits; } },
   { "fixedBits", []( const ChipConfig &chip ) -> U32 { return chip.fixedBits; } },
   { "sourceTrunkMapBits", []( const ChipConfig &chip ) -> U32 { return chip.sourceTrunkMapBits; } },
   { "portBits", []( const ChipConfig &chip ) -> U32 { return chip.portBits; } },
   { "tcamRowBits", []( const ChipConfig &chip ) -> U32 { return chip.tcamRowBits; } },
   { "ruleBits", []( const ChipConfig &chip ) -> U32 { return chip.ruleBits; } },
   { "portBitmapBits", []( const ChipConfig &chip ) -> U32 { return chip.portBitmapBits; } },
};

std::vector<QuarraCentral::QuarraModPort> portsOf( const ChipConfig &chip ) {
   std::vector<QuarraCentral::QuarraModPort> ports;
   for ( const auto &port : chip.ports ) {
      ports.push_back( port.port );
   }
   return ports;
}

// The ports of `of` that are not in the list.
std::vector<QuarraCentral::QuarraModPort> missing( std::vector<QuarraCentral::QuarraModPort> in,
                                                   std::vector<QuarraCentral::QuarraModPort> of ) {
   std::sort( in.begin(), in.end() );
   std::sort( of.begin(), of.end() );
   std::vector<QuarraCentral::QuarraModPort> ports;
   std::set_difference( of.begin(), of.end(), in.begin(), in.end(), std::back_inserter( ports ) );
   return ports;
}

// "; Port3, Port4 only on the switch", "" without ports.
std::string portsText( const std::vector<QuarraCentral::QuarraModPort> &ports, const char *where ) {
   std::vector<std::string> names;
   for ( const auto &port : ports ) {
      names.push_back( QuarraAgent::portName( port ) );
   }
   return names.empty() ? "" : fmt::format( "; {} only {}", shortened( names, 8 ), where );
}

// A chip that nobody gave ports has those of its profile.
void checkSame( const std::string &path, const ChipChoice &is, const ChipChoice &asked,
                const std::string &what, bool withPorts ) {
   if ( asked.variant != is.variant ) {
      refuse( path,
              fmt::format( "its variant is {}, {} says {}", is.variant->name, what, asked.variant->name ) );
   }
   if ( is.chip.profile != asked.chip.profile ) {
      refuse( path, fmt::format( "its chip is {}, {} says {}", is.chip.profile, what, asked.chip.profile ) );
   }
   for ( const auto &number : chipNumbers ) {
      if ( number.of( is.chip ) != number.of( asked.chip ) ) {
         refuse( path, fmt::format( "its {} is {}, {} says {}", number.name, number.of( is.chip ), what,
                                    number.of( asked.chip ) ) );
      }
   }
   const auto ports = portsOf( asked.chip );
   if ( withPorts && ports != portsOf( is.chip ) && ports != portsOf( shippedChip( asked ) ) ) {
      refuse( path, fmt::format( "its ports are not those that {} says{}", what,
                                 portsText( missing( ports, portsOf( is.chip ) ), "on the switch" ) +
                                    portsText( missing( portsOf( is.chip ), ports ), "there" ) ) );
   }
   if ( is.chip.cpuPorts != asked.chip.cpuPorts ) {
      refuse( path, "its CPU ports are not those that " + what + " says" );
   }
}

// What the options say of a switch that is there already.
void checkOptions( const GlobalOptions &global, const ChipChoice &is, bool withPorts ) {
   const auto &path = *global.switchDir;
   const auto asked =
      defaultChoice( global.variantChosen ? global.variant : std::string( is.variant->name ) );
   if ( global.variantChosen && asked.variant != is.variant ) {
      refuse( path,
              fmt::format( "its variant is {}, --variant says {}", is.variant->name, asked.variant->name ) );
   }
   if ( global.chipFile ) {
      checkSame( path, is, readChipFile( *global.chipFile, asked ), "--chip", withPorts );
   }
}

StoreOptions optionsOf( const GlobalOptions &global ) {
   StoreOptions options;
   options.sync = global.sync;
   return options;
}

std::unique_ptr<Switch> start( std::unique_ptr<SwitchDir> dir ) {
   auto theSwitch = std::make_unique<Switch>( std::move( dir ) );
   if ( const auto text = coldText( theSwitch->dir()->coldStarted() ); !text.empty() ) {
      std::cerr << fmt::format( "quarra-tcam: switch {}: {}\n", oneLine( theSwitch->dir()->path() ),
                                messageLine( text ) );
   }
   if ( const auto text = restartedText( theSwitch->dir()->restarted() ); !text.empty() ) {
      std::cerr << fmt::format( "quarra-tcam: switch {}: {}\n", oneLine( theSwitch->dir()->path() ),
                                messageLine( text ) );
   }
   return theSwitch;
}

bool holdsAnything( const std::string &path ) {
   std::error_code error;
   return std::filesystem::is_directory( path, error ) && !std::filesystem::is_empty( path, error );
}

// The options go before what the switch was; what they do not say is as it was, where that can be read.
ChipChoice coldChoice( const GlobalOptions &global, const std::vector<ChipPort> *ports,
                       const std::optional<StoreIdentity> &kept ) {
   const auto *variant = kept ? variantOf( kept->variant ) : nullptr;
   const bool sameVariant = variant && ( !global.variantChosen || global.variant == variant->name );
   auto choice = sameVariant ? ChipChoice{ variant, kept->chip } : defaultChoice( global.variant );
   if ( global.chipFile ) {
      choice = readChipFile( *global.chipFile, choice );
   }
   if ( kept ) {
      choice.chip.ports = kept->chip.ports;
   } else if ( ports ) {
      choice.chip.ports = *ports;
   }
   choice.failures = global.failures();
   return choice;
}

} // namespace

std::string coldText( const std::optional<ColdStarted> &cold ) {
   if ( !cold ) {
      return {};
   }
   auto text =
      fmt::format( "started cold: {} left the chip, {} {} back", counted( cold->taken, "entry", "entries" ),
                   cold->back, cold->back == 1 ? "is" : "are" );
   if ( cold->unreadable ) {
      text +=
         fmt::format( "; {} of the store could not be read", counted( cold->unreadable, "row", "rows" ) );
   }
   if ( cold->chipWasReset ) {
      text += "; the chip's tables were of no use, too, and were emptied";
   }
   if ( !cold->refused.empty() ) {
      const auto &first = cold->refused.front();
      text +=
         fmt::format( "; {} refused, the first: {}: {}",
                      counted( cold->refused.size(), "entry is", "entries are" ), first.code, first.message );
   }
   return cold->why.empty() ? text : text + "; the store was of no use: " + cold->why;
}

void mustBeThere( const std::string &path ) {
   if ( !SwitchDir::isThere( path ) ) {
      throw StoreRefused( "storeMissing", "switch " + path + ": there is none; apply and batch make one" );
   }
}

std::string restartedText( const Restarted &restarted ) {
   if ( restarted.outcome == Restarted::Outcome::nothingInFlight ) {
      return {};
   }
   const auto &request = restarted.request.request;
   return fmt::format( "the {} of entry {} of group {}{}, over which a process died, is {}",
                       restarted.request.removal ? "removal" : "installation", request.entry,
                       request.group.value(), request.label.empty() ? "" : " (" + request.label + ")",
                       restarted.outcome == Restarted::Outcome::undone ? "undone" : "done" );
}

void checkSameSwitch( const Switch &theSwitch, const ChipChoice &asked, const std::string &what ) {
   checkSame( theSwitch.dir()->path(), theSwitch.dir()->choice(), asked, what, true );
}

std::unique_ptr<Switch> openSwitch( const std::string &path, const StoreOptions &options ) {
   mustBeThere( path );
   const auto any = defaultChoice( std::string( variants().front().name ) );
   return start( std::make_unique<SwitchDir>( path, any, options ) );
}

std::unique_ptr<Switch> openSwitch( const GlobalOptions &global ) {
   if ( !global.switchDir ) {
      throw InputError( "which switch? --switch DIR is missing" );
   }
   if ( !global.cold || !holdsAnything( *global.switchDir ) ) {
      mustBeThere( *global.switchDir );
   }
   return openOrMakeSwitch( global );
}

bool isNotThereYet( const GlobalOptions &global ) {
   return global.cold ? !holdsAnything( *global.switchDir ) : !SwitchDir::isThere( *global.switchDir );
}

std::unique_ptr<Switch> openOrMakeSwitch( const GlobalOptions &global, const std::vector<ChipPort> *ports ) {
   if ( global.cold ) {
      const bool wasThere = holdsAnything( *global.switchDir );
      const SwitchDir::Chooser chooser = [ & ]( const auto &kept ) {
         if ( wasThere && !kept && !global.variantChosen ) {
            throw StoreRefused( "storeDamaged",
                                fmt::format( "switch {}: its store does not tell what it is: give "
                                             "--variant, and --chip where its chip is not the "
                                             "variant's default one",
                                             *global.switchDir ) );
         }
         return coldChoice( global, ports, kept );
      };
      return start( std::make_unique<SwitchDir>( *global.switchDir, chooser, optionsOf( global ) ) );
   }
   const bool isThere = SwitchDir::isThere( *global.switchDir );
   auto choice = isThere ? defaultChoice( global.variant ) : global.choice();
   if ( isThere ) {
      choice.failures = global.failures();
   } else if ( ports ) {
      choice.chip.ports = *ports;
   }
   auto dir = std::make_unique<SwitchDir>( *global.switchDir, choice, optionsOf( global ) );
   if ( !dir->isNew() ) {
      checkOptions( global, dir->choice(), !ports );
   }
   return start( std::move( dir ) );
}

std::unique_ptr<Switch> makeSwitch( const GlobalOptions &global, const ChipChoice &choice ) {
   return start( std::make_unique<SwitchDir>( *global.switchDir, choice, optionsOf( global ) ) );
}

} // namespace QuarraTool
