#include "agent/Variants.h"

#include <algorithm>

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

constexpr Variant allVariants[] = {
   { "sdk6", SdkGeneration::sdk6, false, quarraTcamSdk6PortsHelperFactory },
   { "hsdk", SdkGeneration::hsdk, false, quarraTcamHSDKPortsHelperFactory },
   { "testSdk6", SdkGeneration::sdk6, true, quarraTcamTestSdk6PortsHelperFactory },
   { "testHsdk", SdkGeneration::hsdk, true, quarraTcamTestHSDKPortsHelperFactory },
};

} // namespace

std::span<const Variant> variants() {
   return allVariants;
}

const Variant *variantOf( std::string_view name ) {
   const auto all = variants();
   const auto found =
      std::find_if( all.begin(), all.end(), [ & ]( const auto &v ) { return v.name == name; } );
   return found == all.end() ? nullptr : &*found;
}

} // namespace QuarraAgent
