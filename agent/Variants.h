#pragma once

#include <span>
#include <string>
#include <string_view>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "agent/Generation.h"

namespace QuarraAgent {

struct Shadow; // agent/Shadow.h

// A chip variant: the helper that drives it.
struct Variant {
   std::string_view name;
   const Generation &generation;
   bool twin; // a simulated switch's helper, with a shadow of the ports' ACL-group bits
   QuarraTcam::QuarraTcamPortsHelper::Ptr ( *factory )( const QuarraTcam::Scsd &scsd );
   bool ( *made )( const QuarraTcam::QuarraTcamPortsHelper &helper ); // whether it is one of this variant

   // Where the helper keeps the ports' ACL-group values itself and leaves the chip alone: a port's value, or
   // null when it is all clear. Null where the chip has them.
   const Vesk::Bitmap *( *aclGroupOf )( const QuarraTcam::QuarraTcamPortsHelper &helper, U16 port );

   const Shadow *shadow; // every twin's; null on the others
};

// The ports that "all ethernet ports" puts a bit on.
inline const EthernetPorts &ethernetPortsOf( const Variant &variant ) {
   return variant.twin ? variant.generation.twinEthernetPorts : variant.generation.ethernetPorts;
}

// All variants, in the order in which tools and tests walk them.
std::span<const Variant> variants();

// Their names: "sdk6, hsdk, testSdk6, testHsdk".
std::string variantNames();

// The variant of that name, or null.
const Variant *variantOf( std::string_view name );

} // namespace QuarraAgent
