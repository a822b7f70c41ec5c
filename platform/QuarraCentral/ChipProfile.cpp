#include "QuarraCentral/ChipProfile.h"

namespace QuarraCentral {
namespace {

class ActiveProfiles {
   ATTR_VALUES( profile, ChipInfo, Nodra::PtrConst<ChipProfile> );
};

ActiveProfiles &activeProfiles() {
   static ActiveProfiles profiles;
   return profiles;
}

} // namespace

const Nodra::PtrConst<ChipProfile> &activeChipProfile( const ChipInfo &chipInfo ) {
   return activeProfiles().profile( chipInfo );
}

void activeChipProfileIs( const ChipInfo &chipInfo, Nodra::PtrConst<ChipProfile> profile ) {
   activeProfiles().profileIs( chipInfo, std::move( profile ) );
}

const Nodra::Ptr<QuarraAttributes> &quarraAttributes() {
   static const auto attributes = std::make_shared<QuarraAttributes>();
   return attributes;
}

} // namespace QuarraCentral
