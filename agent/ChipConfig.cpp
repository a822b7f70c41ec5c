#include "agent/ChipConfig.h"

#include <algorithm>
#include <map>

#include "Nodra/Text.h"
#include "agent/RequestRefused.h"

namespace QuarraAgent {
namespace {

using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

// Positions in the ACL-group value that a union of requests tells apart, and that a port's word has.
constexpr U32 unionBits = 64;

struct GenerationLimits {
   U32 flexibleBits;
   U32 aclGroupBits; // flexible and fixed together
   U32 ports;        // port numbers that carry an ACL-group value, from 0
};

// The SDK6 twin's shadow has 64 bits a port; the chip's own limit is what a bit position can count.
GenerationLimits limitsOf( const Variant &variant, const ChipConfig &config ) {
   if ( variant.generation == SdkGeneration::sdk6 ) {
      const U32 bits = config.beyondLimits && !variant.twin ? 255 : unionBits;
      return { bits, bits, U10::max };
   }
   return { config.beyondLimits ? 160 : unionBits, 160, U32{ 1 } << std::min<U32>( config.portBits, 10 ) };
}

ChipConfig chip( std::string name, U8 flexible, U8 fixed, U8 sourceTrunkMap, U8 portBits, U32 lastPort ) {
   ChipConfig config;
   config.profile = std::move( name );
   config.flexibleBits = flexible;
   config.fixedBits = fixed;
   config.sourceTrunkMapBits = sourceTrunkMap;
   config.portBits = portBits;
   config.tcamRowBits = 192;
   config.ruleBits = 128;
   config.portBitmapBits = lastPort + 2; // every port, and port 0
   for ( U32 port = 1; port <= lastPort; ++port ) {
      config.ports.push_back( { portName( QuarraModPort( 0, port ) ), QuarraModPort( 0, port ) } );
   }
   config.cpuPorts.emplace_back( 0, 0 );
   return config;
}

[[noreturn]] void bad( const ChipConfig &config, const std::string &what ) {
   throw RequestRefused( "badChip", "chip " + config.profile + ": " + what );
}

void checkBits( const ChipConfig &config, const GenerationLimits &limits ) {
   if ( config.flexibleBits > limits.flexibleBits ) {
      bad( config, ( Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits << ": expected 0 to "
                                   << limits.flexibleBits )
                      .string() );
   }
   if ( U32{ config.flexibleBits } + config.fixedBits > limits.aclGroupBits ) {
      bad( config, ( Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits
                                   << " and aclGroupFixedWidth " << config.fixedBits << ": expected at most "
                                   << limits.aclGroupBits << " together" )
                      .string() );
   }
   constexpr U32 sourceTrunkMapWordBits = 16;
   if ( config.sourceTrunkMapBits > sourceTrunkMapWordBits ) {
      bad( config, ( Nodra::Text() << "sourceTrunkMap " << config.sourceTrunkMapBits << ": expected 0 to "
                                   << sourceTrunkMapWordBits )
                      .string() );
   }
}

// A fixed-width union compares positions above the flexible bits with positions inside the fixed space,
// modulo 64. With a flexible space that ends in the last pool's width below 64, bits of one pool would stand
// for each other.
void checkFixedUnion( const ChipConfig &config ) {
   constexpr U32 widestPool = 8;
   if ( !config.beyondLimits && config.fixedBits && config.flexibleBits > unionBits - widestPool &&
        config.flexibleBits < unionBits ) {
      bad( config, ( Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits
                                   << ": beside a fixed-width space expected at most "
                                   << unionBits - widestPool << ", or " << unionBits )
                      .string() );
   }
}

} // namespace

std::string portName( const QuarraModPort &port ) {
   Nodra::Text name;
   name << "Port";
   if ( port.modId() != ModId( 0 ) ) {
      name << port.modId() << "/";
   }
   name << port.port();
   return name.string();
}

const std::vector<ChipProfileRow> &chipProfiles() {
   static const std::vector<ChipProfileRow> rows = {
      { SdkGeneration::sdk6, chip( "sdk6-64", 64, 0, 16, 9, 510 ),
        "64 flexible bits, a 16-bit source trunk map, 510 ports" },
      { SdkGeneration::hsdk, chip( "hsdk-256", 32, 128, 0, 8, 255 ),
        "32 flexible and 128 fixed bits, no source trunk map, 256 system ports" },
      { SdkGeneration::hsdk, chip( "hsdk-1024", 32, 128, 0, 10, 1023 ),
        "32 flexible and 128 fixed bits, no source trunk map, 1,024 system ports" },
   };
   return rows;
}

const ChipConfig &defaultChip( SdkGeneration generation ) {
   const auto &rows = chipProfiles();
   return std::find_if( rows.begin(), rows.end(),
                        [ & ]( const auto &row ) { return row.generation == generation; } )
      ->config;
}

// Per-port words are kept by port number alone, so no two ports of the chip may share one.
void checkChip( const Variant &variant, const ChipConfig &config ) {
   const auto generation = variant.generation;
   const auto limits = limitsOf( variant, config );
   checkBits( config, limits );
   checkFixedUnion( config );
   if ( generation == SdkGeneration::hsdk && ( config.portBits == 0 || config.portBits > 10 ) ) {
      bad( config, ( Nodra::Text() << "portBits " << config.portBits << ": expected 1 to 10" ).string() );
   }
   if ( config.tcamRowBits == 0 ) {
      bad( config, "tcamRowBits 0: expected at least 1" );
   }
   std::map<U16, QuarraModPort> seen;
   auto check = [ & ]( const QuarraModPort &port ) {
      if ( port.modId() == ModId( ModId::null ) || port.port() >= limits.ports ) {
         bad( config, ( Nodra::Text() << "port " << port << ": expected a module below " << ModId::null
                                      << " and a port below " << limits.ports )
                         .string() );
      }
      if ( generation == SdkGeneration::hsdk && port.modId() != ModId( 0 ) ) {
         bad( config, ( Nodra::Text() << "port " << port << ": system ports belong to module 0" ).string() );
      }
      if ( const auto [ item, added ] = seen.emplace( port.port(), port ); !added ) {
         bad( config, ( Nodra::Text() << "ports " << item->second << " and " << port
                                      << ": the chip keeps one ACL-group value for a port number" )
                         .string() );
      }
   };
   for ( const auto &port : config.ports ) {
      check( port.port );
   }
   for ( const auto &port : config.cpuPorts ) {
      check( port );
   }
}

} // namespace QuarraAgent
