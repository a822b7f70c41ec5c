#include "agent/Shadow.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

// This twin programs its shadow and nothing else.
void restore( QuarraTcamPortsHelper &helper, const QuarraTcamPortsManager &manager ) {
   auto &twin = dynamic_cast<QuarraTcamTestSdk6PortsHelper &>( helper );
   twin.aclGroupShadowDelAll();
   for ( const auto &[ bit, intfGroup ] : manager.programmedBit() ) {
      twin.setAclGroupClassId( bit, intfGroup );
   }
}

} // namespace

constinit const Shadow sdk6Shadow = { .values = shadowValuesOf<QuarraTcamTestSdk6PortsHelper>,
                                      .restore = restore };

} // namespace QuarraAgent
