#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

QuarraTcamPortsManager::Ptr quarraTcamPortsManagerFactory( const std::string &name ) {
   return std::make_shared<QuarraTcamPortsManager>( name );
}

const QuarraTcamPortsManager::Ptr &getQuarraTcamPortsManager() {
   static const auto manager = quarraTcamPortsManagerFactory( "QuarraTcamPortsManager" );
   return manager;
}

// The order matters: keys are registered before bitmaps exist, and class IDs are reserved in the bitmaps.
void QuarraTcamPortsManager::doSetup() {
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( !!portsHelper() );
   NODRA_ASSERT( !classIdHwStatuss() && "doSetup was called before" );
   initializeSourceTrunkMap();
   portsHelper()->initializeTcamGroupsInfo();
   initializeHwBitmaps();
   reserveClassIdsForSystemAcls();
}

QuarraCentral::ChipInfo QuarraTcamPortsManager::unitChipInfo() const {
   return scsd()->quarraModId( static_cast<U16>( SdkShim->vmSingleUnit() ) ).chipInfo;
}

// A space of no bits gets no bitmap: reserving in it aborts.
void QuarraTcamPortsManager::initializeHwBitmaps() {
   TRACE( 1, "initializeHwBitmaps" );
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( SdkShim );
   const auto chipInfo = unitChipInfo();
   for ( const auto type : Nodra::enumerators<ClassIdType>() ) {
      if ( !classIdSpace( type ) ) {
         continue;
      }
      NODRA_ASSERT( !classIdHwStatusHas( type ) );
      const U8 size = getClassIdSize( type, chipInfo );
      if ( size != 0 ) {
         classIdHwStatusIs( type, std::make_shared<Vesk::Bitmap>( static_cast<U64>( type ), size,
                                                                  Vesk::HBitmap::BitState::clear ) );
      }
   }
}

void QuarraTcamPortsManager::reserveClassIdsForSystemAcls() {
   TRACE( 1, "reserveClassIdsForSystemAcls" );
   for ( const auto tcamGroupId : getTcamGroups() ) {
      if ( isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) ) {
         reserveClassIdForSystemAclGroup( tcamGroupId );
      }
   }
}

void QuarraTcamPortsManager::reserveClassIdForSystemAclGroup( TcamGroupId tcamGroupId ) {
   TRACE( 1, "reserveClassIdForSystemAclGroup"
                << " TcamGroupId: " << tcamGroupId );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   NODRA_ASSERT( QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) );
   NODRA_ASSERT_TEXT( classIdConfig->allocationType() == ClassIdAllocationStrategy::allocateOnInit,
                      "classIdConfig->allocationType() == allocateOnInit()" );
   for ( const auto &[ requestKey, flag ] : classIdConfig->requestKey() ) {
      NODRA_ASSERT_TEXT( reserveClassId( tcamGroupId, requestKey, INVALID_ENTRY_ID ),
                         "reserveClassId( tcamGroupId, requestIter.key(), INVALID_ENTRY_ID )" );
   }
}

ClassIdType QuarraTcamPortsManager::getClassIdTypeForGroup( TcamGroupId tcamGroupId ) {
   TRACE( 1, "getClassIdTypeForGroup"
                << " TcamGroupId: " << tcamGroupId );
   NODRA_ASSERT( !!portsHelper() );
   return portsHelper()->getClassIdTypeForGroup( tcamGroupId );
}

} // namespace QuarraTcam
