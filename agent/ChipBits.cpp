#include "agent/ChipBits.h"

#include <algorithm>

namespace QuarraAgent {

using namespace QuarraTcam;

PortBits expectedBits( const TcamAgent &agent ) {
   const auto &variant = agent.variant();
   const auto &ethernet = ethernetPortsOf( variant );
   PortBits expected(
      std::max<std::size_t>( U10::max + 1, agent.manager().portsHelper()->systemPortMax() + 1u ) );
   std::vector<bool> isCpuPort( expected.size() );
   const auto cpuPorts = intfGroupInfoFactory();
   agent.manager().portsHelper()->populateCpuIntfGroup( cpuPorts );
   for ( const auto &port : cpuPorts->portId() ) {
      isCpuPort[ port.port() ] = true;
   }
   const U32 numbers = portNumbers( variant.generation, agent.chip() );
   for ( const auto &[ bit, intfGroup ] : agent.manager().programmedBit() ) {
      for ( const auto &port : intfGroup->portId() ) {
         expected[ port.port() ].set( bit );
      }
      for ( U32 port = ethernet.first; intfGroup->ethernet() && port <= ethernet.last && port < numbers;
            ++port ) {
         if ( ethernet.cpuPorts || !isCpuPort[ port ] ) {
            expected[ port ].set( bit );
         }
      }
   }
   return expected;
}

namespace {

// Not in the row: an agent that does not audit links without the other generation's SDK.
const BitsOnChip &bitsOnChip( const Generation &generation ) {
   switch ( generation.sdk ) {
   case Sdk::Generation::sdk6:
      return sdk6BitsOnChip;
   case Sdk::Generation::hsdk:
      break;
   }
   return hsdkBitsOnChip;
}

} // namespace

std::optional<PortBits> readBits( const TcamAgent &agent ) {
   const auto &variant = agent.variant();
   return variant.aclGroupOf ? std::nullopt : bitsOnChip( variant.generation ).read( agent );
}

void writeBits( const TcamAgent &agent, const PortBits &expected, const PortBits &found ) {
   bitsOnChip( agent.variant().generation ).write( agent, expected, found );
}

} // namespace QuarraAgent
