#pragma once

#include <span>
#include <string_view>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"

namespace QuarraAgent {

enum class SdkGeneration { sdk6, hsdk };

// A chip variant: the helper that drives it.
struct Variant {
   std::string_view name;
   SdkGeneration generation;
   bool twin; // a simulated switch's helper, with a shadow of the ports' ACL-group bits
   QuarraTcam::QuarraTcamPortsHelper::Ptr ( *factory )( const QuarraTcam::Scsd &scsd );
};

// All variants, in the order in which tools and tests walk them.
std::span<const Variant> variants();

// The variant of that name, or null.
const Variant *variantOf( std::string_view name );

} // namespace QuarraAgent
