#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Sdk6Functions.h"
#include "Sdk/SdkCall.h"
#include "agent/ChipBits.h"

static Nodra::TraceHandle unitTrace( "TcamAgent" );

// SDK6: the members of a bit, one call for all of them.
namespace QuarraAgent {
namespace {

std::optional<PortBits> readGroups( const TcamAgent &agent ) {
   const auto *const readBack = SdkShim->readBack();
   if ( !readBack ) {
      return std::nullopt;
   }
   PortBits found( U10::max + 1 );
   for ( U32 bit = 0; bit < aclGroupBits( agent.chip() ); ++bit ) {
      for ( const U32 port : readBack->subportPortGroupMembers( SdkShim->vmSingleUnit(), bit ) ) {
         found.at( port ).set( bit );
      }
   }
   return found;
}

void writeGroups( const TcamAgent &agent, const PortBits &expected, const PortBits &found ) {
   const int unit = SdkShim->vmSingleUnit();
   for ( U32 bitToSet = 0; bitToSet < aclGroupBits( agent.chip() ); ++bitToSet ) {
      std::vector<U32> sdkPorts;
      bool differs = false;
      for ( U32 port = 0; port < expected.size(); ++port ) {
         differs = differs || expected[ port ].test( bitToSet ) != found[ port ].test( bitToSet );
         if ( expected[ port ].test( bitToSet ) ) {
            sdkPorts.push_back( port );
         }
      }
      const auto size = static_cast<U32>( sdkPorts.size() );
      if ( differs ) {
         SDK_CALL( bcm_subport_port_group_subport_multi_set( unit, bitToSet, size, sdkPorts.data() ) );
      }
   }
}

} // namespace

constinit const BitsOnChip sdk6BitsOnChip = { .read = readGroups, .write = writeGroups };

} // namespace QuarraAgent
