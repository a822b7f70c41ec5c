#include "agent/Variants.h"

#include <algorithm>
#include <typeinfo>

#include "agent/Shadow.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

template <typename Helper>
bool isExactly( const QuarraTcamPortsHelper &helper ) {
   return typeid( helper ) == typeid( Helper );
}

const Vesk::Bitmap *shadowOf( const QuarraTcamPortsHelper &helper, U16 port ) {
   return dynamic_cast<const QuarraTcamTestSdk6PortsHelper &>( helper ).aclGroupShadow( port ).get();
}

constexpr Variant allVariants[] = {
   { "sdk6", sdk6Generation, false, quarraTcamSdk6PortsHelperFactory, isExactly<QuarraTcamSdk6PortsHelper>,
     nullptr, nullptr },
   { "hsdk", hsdkGeneration, false, quarraTcamHSDKPortsHelperFactory, isExactly<QuarraTcamHSDKPortsHelper>,
     nullptr, nullptr },
   { "testSdk6", sdk6Generation, true, quarraTcamTestSdk6PortsHelperFactory,
     isExactly<QuarraTcamTestSdk6PortsHelper>, shadowOf, &sdk6Shadow },
   { "testHsdk", hsdkGeneration, true, quarraTcamTestHSDKPortsHelperFactory,
     isExactly<QuarraTcamTestHSDKPortsHelper>, nullptr, &hsdkShadow },
};

} // namespace

std::span<const Variant> variants() {
   return allVariants;
}

std::string variantNames() {
   std::string names;
   for ( const auto &variant : allVariants ) {
      names += ( names.empty() ? "" : ", " ) + std::string( variant.name );
   }
   return names;
}

const Variant *variantOf( std::string_view name ) {
   const auto all = variants();
   const auto found =
      std::find_if( all.begin(), all.end(), [ & ]( const auto &v ) { return v.name == name; } );
   return found == all.end() ? nullptr : &*found;
}

} // namespace QuarraAgent
