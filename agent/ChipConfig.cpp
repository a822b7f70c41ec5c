#include "agent/ChipConfig.h"

#include <algorithm>
#include <map>

#include "Nodra/Text.h"
#include "agent/RequestRefused.h"

namespace QuarraAgent {
namespace {

using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

// Positions in the ACL-group value that a union of requests tells apart.
constexpr U32 unionBits = 64;

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
   if ( config.fixedBits && config.flexibleBits > unionBits - widestPool &&
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

ChipConfig chipOf( const ShippedChip &shipped ) {
   ChipConfig config;
   config.profile = shipped.profile;
   config.flexibleBits = shipped.flexibleBits;
   config.fixedBits = shipped.fixedBits;
   config.sourceTrunkMapBits = shipped.sourceTrunkMapBits;
   config.portBits = shipped.portBits;
   config.tcamRowBits = 192;
   config.ruleBits = 128;
   config.portBitmapBits = U32{ shipped.lastPort } + 2; // every port, and port 0
   for ( U16 port = 1; port <= shipped.lastPort; ++port ) {
      const QuarraModPort modPort( 0, port );
      config.ports.push_back( { portName( modPort ), modPort } );
   }
   config.cpuPorts.emplace_back( 0, 0 );
   return config;
}

ChipConfig defaultChip( const Generation &generation ) {
   return chipOf( generation.chips.front() );
}

U32 portNumbers( const Generation &generation, const ChipConfig &config ) {
   const auto &limits = generation.limits;
   return limits.systemPortBits ? std::min( U32{ 1 } << config.portBits, limits.ports ) : limits.ports;
}

// Per-port words are kept by port number alone, so no two ports of the chip may share one.
void checkChip( const Variant &variant, const ChipConfig &config ) {
   const auto &limits = variant.generation.limits;
   checkBits( config, limits );
   checkFixedUnion( config );
   if ( limits.systemPortBits && ( config.portBits == 0 || config.portBits > limits.systemPortBits ) ) {
      bad( config,
           ( Nodra::Text() << "portBits " << config.portBits << ": expected 1 to " << limits.systemPortBits )
              .string() );
   }
   if ( config.tcamRowBits == 0 ) {
      bad( config, "tcamRowBits 0: expected at least 1" );
   }
   const U32 numbers = portNumbers( variant.generation, config );
   std::map<U16, QuarraModPort> seen;
   auto check = [ & ]( const QuarraModPort &port ) {
      if ( port.modId() == ModId( ModId::null ) || port.port() >= numbers ) {
         bad( config, ( Nodra::Text() << "port " << port << ": expected a module below " << ModId::null
                                      << " and a port below " << numbers )
                         .string() );
      }
      if ( port.modId().value() > limits.lastModule ) {
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
