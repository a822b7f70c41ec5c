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

// What is wrong with a chip, each a message.
class Problems {
 public:
   explicit Problems( const ChipConfig &config ) : chip_( "chip " + config.profile + ": " ) {}

   void expect( bool good, const Nodra::Text &otherwise ) {
      if ( !good ) {
         found_.push_back( chip_ + otherwise.string() );
      }
   }
   std::vector<std::string> take() { return std::move( found_ ); }

 private:
   std::string chip_;
   std::vector<std::string> found_;
};

void checkBits( const ChipConfig &config, const GenerationLimits &limits, Problems &problems ) {
   problems.expect( config.flexibleBits <= limits.flexibleBits,
                    Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits << ": expected 0 to "
                                  << limits.flexibleBits );
   problems.expect( U32{ config.flexibleBits } + config.fixedBits <= limits.aclGroupBits,
                    Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits
                                  << " and aclGroupFixedWidth " << config.fixedBits << ": expected at most "
                                  << limits.aclGroupBits << " together" );
   constexpr U32 sourceTrunkMapWordBits = 16;
   problems.expect( config.sourceTrunkMapBits <= sourceTrunkMapWordBits,
                    Nodra::Text() << "sourceTrunkMap " << config.sourceTrunkMapBits << ": expected 0 to "
                                  << sourceTrunkMapWordBits );
   problems.expect( config.tcamRowBits != 0, Nodra::Text() << "tcamRowBits 0: expected at least 1" );
}

// A fixed-width union compares positions above the flexible bits with positions inside the fixed space,
// modulo 64. With a flexible space that ends in the last pool's width below 64, bits of one pool would stand
// for each other.
void checkFixedUnion( const ChipConfig &config, Problems &problems ) {
   constexpr U32 widestPool = 8;
   problems.expect( !config.fixedBits || config.flexibleBits <= unionBits - widestPool ||
                       config.flexibleBits >= unionBits,
                    Nodra::Text() << "aclGroupFlexibleWidth " << config.flexibleBits
                                  << ": beside a fixed-width space expected at most "
                                  << unionBits - widestPool << ", or " << unionBits );
}

// Per-port words are kept by port number alone, so no two ports of the chip may share one.
void checkPorts( const Generation &generation, const ChipConfig &config, Problems &problems ) {
   const U32 numbers = portNumbers( generation, config );
   std::map<U16, QuarraModPort> seen;
   const auto check = [ & ]( const QuarraModPort &port ) {
      problems.expect( port.modId() != ModId( ModId::null ) && port.port() < numbers,
                       Nodra::Text() << "port " << port << ": expected a module below " << ModId::null
                                     << " and a port below " << numbers );
      problems.expect( port.modId().value() <= generation.limits.lastModule,
                       Nodra::Text() << "port " << port << ": system ports belong to module 0" );
      const auto [ item, added ] = seen.emplace( port.port(), port );
      problems.expect( added, Nodra::Text() << "ports " << item->second << " and " << port
                                            << ": the chip keeps one ACL-group value for a port number" );
   };
   for ( const auto &port : config.ports ) {
      check( port.port );
   }
   for ( const auto &port : config.cpuPorts ) {
      check( port );
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

std::vector<std::string> chipProblems( const Variant &variant, const ChipConfig &config ) {
   const auto &limits = variant.generation.limits;
   Problems problems( config );
   checkBits( config, limits, problems );
   checkFixedUnion( config, problems );
   if ( limits.systemPortBits && ( config.portBits == 0 || config.portBits > limits.systemPortBits ) ) {
      problems.expect( false, Nodra::Text() << "portBits " << config.portBits << ": expected 1 to "
                                            << limits.systemPortBits );
   } else {
      checkPorts( variant.generation, config, problems );
   }
   return problems.take();
}

void checkChip( const Variant &variant, const ChipConfig &config ) {
   if ( const auto problems = chipProblems( variant, config ); !problems.empty() ) {
      throw RequestRefused( badChip, problems.front() );
   }
}

} // namespace QuarraAgent
