#include "Nodra/Assert.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager/Trace.h"

namespace QuarraTcam {
namespace {

std::string textOf( const Vesk::Bitmap::Ptr &bitmap ) {
   return getBitmapString( bitmap, static_cast<U16>( bitmap->size() ) );
}

} // namespace

// The data is the class ID at its pool's bits, the mask exactly those bits: whatever other pools put into the
// same field is not compared.
BitmapQualifier::Ptr QuarraTcamPortsManager::getClassId( TcamGroupId tcamGroupId,
                                                         const RequestKey &requestKey, U32 entryId ) {
   TRACE( 1, "getClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   NODRA_ASSERT( classIdTcamGroupStatus( tcamGroupId )->requestStatusHas( requestKey ) );
   const auto &requestStatus = classIdTcamGroupStatus( tcamGroupId )->requestStatus( requestKey );
   // clang-format off
   NODRA_ASSERT( classIdTcamGroupStatus( tcamGroupId ) ->poolStatusHas( requestStatus->poolId() ) );
   // clang-format on
   NODRA_ASSERT( requestStatus->entryRefHas( entryId ) );
   const auto &pool = classIdTcamGroupStatus( tcamGroupId )->poolStatus( requestStatus->poolId() );
   const U8 baseOffset = pool->baseOffset();
   const U8 classIdSize = getClassIdSize( getClassIdTypeForGroup( tcamGroupId ), unitChipInfo() );
   // The labels stand without blanks, deliberately.
   TRACE( 3, "baseOffset" << baseOffset << "classIdSize" << classIdSize << "requestStatus->classId()"
                          << requestStatus->classId() );
   auto classId = bitmapQualifierFactory();
   classId->dataIs( 0, classIdSize, Vesk::HBitmap::BitState( 1 ) );
   classId->maskIs( 0, classIdSize, Vesk::HBitmap::BitState( 1 ) );
   updateBitmap( classId->data(), requestStatus->classId(), baseOffset );
   classId->mask()->copyFrom( *pool->tcamMask() );
   TRACE( 3, " Class id data: " << textOf( classId->data() ) << " mask: " << textOf( classId->mask() ) );
   return classId;
}

void QuarraTcamPortsManager::programClassIdQualifierInHw( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                                                          const BitmapQualifier::PtrConst &classId ) {
   TRACE( 1, "programClassIdQualifierInHw"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId << " ClassIdQualfier data: "
                << textOf( classId->data() ) << " ClassIdQualfier mask: " << textOf( classId->mask() ) );
   const auto helper = portsHelper(); // held for the time of the call
   helper->setClassIdQualifier( unit, tcamGroupId, entryId, classId );
}

} // namespace QuarraTcam
