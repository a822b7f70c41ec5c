#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

void QuarraTcamPortsHelper::setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst & ) {
   NODRA_ASSERT( SdkShim );
   const int unit = SdkShim->vmSingleUnit();
   TRACE( 1, "QuarraTcamPortsHelper::"
                << "setAclGroupClassId"
                << " unit: " << unit << " bitToSet: " << bitToSet );
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
}

bool QuarraTcamPortsHelper::isSourceTrunkMapGroup( TcamGroupId tcamGroupId ) {
   TRACE( 1, "QuarraTcamPortsHelper::"
                << "isSourceTrunkMapGroup"
                << " tcamGroupId " << tcamGroupId );
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
   return false;
}

void QuarraTcamPortsHelper::populateStaticClassIdReservation( TcamGroupId ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
}

ClassIdType QuarraTcamPortsHelper::getClassIdTypeForGroup( TcamGroupId ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
   return ClassIdType::classIdInvalid;
}

U32 QuarraTcamPortsHelper::getPoolBitsForGroup( TcamGroupId ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
   return 0;
}

U8 QuarraTcamPortsHelper::getPoolWidthForGroup( TcamGroupId ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
   return 0;
}

U8 QuarraTcamPortsHelper::getNumberOfPoolsForGroup( TcamGroupId ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
   return 0;
}

void QuarraTcamPortsHelper::qualifySubPortGroupIds( U32, U32, U32, U32 *, U32, U32 * ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
}

void QuarraTcamPortsHelper::populateCpuIntfGroup( const IntfGroupInfo::Ptr & ) {
   NODRA_ASSERT( 0 && " call to unimplemented base class function" );
}

ClassIdAllocationStrategy QuarraTcamPortsHelper::getAllocationStrategyForGroup( TcamGroupId tcamGroupId ) {
   using enum ClassIdAllocationStrategy;
   return isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) ? allocateOnInit
                                                                                  : allocateOnDemand;
}

void QuarraTcamPortsHelper::initializeTcamGroupsInfo() {
   const auto groups = setTcamGroups();
   for ( const auto tcamGroupId : groups.tcamGroup() ) {
      const auto allocationType = getAllocationStrategyForGroup( tcamGroupId );
      const U8 numPools = getNumberOfPoolsForGroup( tcamGroupId );
      const U8 poolWidth = getPoolWidthForGroup( tcamGroupId );
      const U32 poolBits = getPoolBitsForGroup( tcamGroupId );
      const auto classIdType = getClassIdTypeForGroup( tcamGroupId );
      addClassIdInfoToMap( tcamGroupId, getGroupConfigType( tcamGroupId, classIdType, poolBits, poolWidth,
                                                            numPools, allocationType ) );
      if ( isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) ) {
         populateStaticClassIdReservation( tcamGroupId );
      }
   }
}

} // namespace QuarraTcam
