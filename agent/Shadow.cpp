#include "agent/Shadow.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

// This twin programs its shadow and nothing else.
void restore( QuarraTcamTestSdk6PortsHelper &twin, const QuarraTcamPortsManager &manager ) {
   twin.aclGroupShadowDelAll();
   for ( const auto &[ bit, intfGroup ] : manager.programmedBit() ) {
      twin.setAclGroupClassId( bit, intfGroup );
   }
}

// This one reads its shadow back from the chip, which is not asked now.
void restore( QuarraTcamTestHSDKPortsHelper &twin, const QuarraTcamPortsManager &manager ) {
   const auto cpuPorts = intfGroupInfoFactory();
   twin.populateCpuIntfGroup( cpuPorts );
   std::vector<bool> isCpuPort( U10::max + 1 );
   for ( const auto &port : cpuPorts->portId() ) {
      isCpuPort[ port.port() ] = true;
   }
   for ( const auto &[ port, bitmap ] : twin.aclGroupShadow() ) {
      bitmap->rangeClear( 0, bitmap->size() - 1 );
   }
   for ( const auto &[ bit, intfGroup ] : manager.programmedBit() ) {
      for ( const auto &port : intfGroup->portId() ) {
         if ( const auto &bitmap = twin.aclGroupShadow( port.port() ) ) {
            bitmap->set( bit );
         }
      }
      for ( const auto &[ port, bitmap ] : twin.aclGroupShadow() ) {
         if ( intfGroup->ethernet() && !isCpuPort[ port ] ) {
            bitmap->set( bit );
         }
      }
   }
}

} // namespace

void restoreShadow( QuarraTcamPortsManager &manager ) {
   auto *const helper = manager.portsHelper().get();
   if ( auto *const sdk6 = dynamic_cast<QuarraTcamTestSdk6PortsHelper *>( helper ) ) {
      restore( *sdk6, manager );
   } else if ( auto *const hsdk = dynamic_cast<QuarraTcamTestHSDKPortsHelper *>( helper ) ) {
      restore( *hsdk, manager );
   }
}

} // namespace QuarraAgent
