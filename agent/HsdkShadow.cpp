#include "agent/Shadow.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

// This one reads its shadow back from the chip, which is not asked now.
void restore( QuarraTcamPortsHelper &helper, const QuarraTcamPortsManager &manager ) {
   auto &twin = dynamic_cast<QuarraTcamTestHSDKPortsHelper &>( helper );
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

constinit const Shadow hsdkShadow = { .values = shadowValuesOf<QuarraTcamTestHSDKPortsHelper>,
                                      .restore = restore };

} // namespace QuarraAgent
