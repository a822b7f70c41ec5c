// A small agent on the installed library: brings a chip up, installs two entries with equal ports, removes
// them.
#include <cstdio>

#include "QuarraCentral/ChipProfile.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "shim.h"

using namespace QuarraTcam;
using QuarraCentral::QuarraModPort;

namespace {

constexpr TcamGroupId aclGroup = 13;
const QuarraCentral::ChipInfo chipInfo{ 6, 1 };

// The chip: 64 flexible bits, a 16-bit source trunk map, four ports of module 0.
Scsd bringUp() {
   const auto tcam = std::make_shared<QuarraTcamFeatureAttributes>();
   tcam->aclGroupFlexibleWidthSizeIs( 64 );
   tcam->sourceTrunkMapClassIdSizeIs( 16 );
   const auto profile = std::make_shared<QuarraCentral::ChipProfile>();
   profile->nameIs( "example" );
   profile->tcamFeatureAttributesIs( tcam );
   QuarraCentral::activeChipProfileIs( chipInfo, profile );
   QuarraCentral::quarraAttributes()->chipAttributesIs( chipInfo,
                                                        std::make_shared<QuarraCentral::ChipAttributes>() );
   getQuarraTcamCommonData()->chipInfoIs( chipInfo );

   const auto scsd = std::make_shared<Quarra::QuarraCommonSmData>();
   scsd->quarraModIdIs( 0, { chipInfo, 0 } );
   scsd->quarraModIdToUnitIs( 0, 0 );
   return scsd;
}

IntfGroupInfo::PtrConst ports( QuarraTcamPortsManager &manager, std::initializer_list<unsigned> numbers ) {
   const auto profile = std::make_shared<IntfProfile>();
   for ( const unsigned number : numbers ) {
      profile->portIdIs( QuarraModPort( 0, number ) );
   }
   return manager.getIntfGroupFromIntfProfile( profile );
}

bool install( QuarraTcamPortsManager &manager, unsigned entry, const IntfGroupInfo::PtrConst &intfGroup ) {
   const auto key = manager.getRequestKey( aclGroup, entry, RuleId(), intfGroup );
   if ( !manager.reserveClassIdForIntfGroup( aclGroup, key, entry, intfGroup ) ) {
      std::printf( "no room for entry %u\n", entry );
      return false;
   }
   manager.programClassIdForIntfGroup( aclGroup, key, entry, intfGroup );
   const auto hint = manager.createAclGroupBitmapHint( aclGroup );
   SdkShim->fieldEntryCreate( 0, entry, { .startBit = hint.startBit, .endBit = hint.endBit } );
   manager.programClassIdQualifierInHw( 0, aclGroup, entry, manager.getClassId( aclGroup, key, entry ) );
   SdkShim->fieldEntryInstall( 0, entry );
   return true;
}

void remove( QuarraTcamPortsManager &manager, unsigned entry ) {
   const auto key = manager.getRequestKeyForEntryId( aclGroup, entry, RuleId() );
   SdkShim->fieldEntryDestroy( 0, entry );
   manager.clearClassIdAndIntfGroup( aclGroup, key, entry );
}

} // namespace

int main() {
   installShim();
   const auto scsd = bringUp();
   auto &manager = *getQuarraTcamPortsManager();
   manager.scsdIs( scsd );
   manager.portsHelperIs( quarraTcamSdk6PortsHelperFactory( scsd ) );
   manager.sourceTrunkMapConfigIs( std::make_shared<QuarraCentral::PortTabWriteRequestDir>() );
   manager.doSetup();

   const bool installed = install( manager, 1, ports( manager, { 1, 2, 3 } ) ) &&
                          install( manager, 2, ports( manager, { 3, 2, 1 } ) ); // shares the class ID
   if ( installed ) {
      remove( manager, 1 );
      remove( manager, 2 );
   }
   return installed ? 0 : 1;
}
