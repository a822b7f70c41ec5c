#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "Sdk/SdkShim.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

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
   const auto &pool = classIdTcamGroupStatus( tcamGroupId )->poolStatus( requestStatus->poolId() );
   NODRA_ASSERT_TEXT( pool,
                      "classIdTcamGroupStatus( tcamGroupId ) ->poolStatusHas( requestStatus->poolId() )" );
   NODRA_ASSERT( requestStatus->entryRefHas( entryId ) );
   NODRA_ASSERT( !!pool->tcamMask() );
   NODRA_ASSERT( !!scsd() );
   NODRA_ASSERT( SdkShim );
   const U8 baseOffset = pool->baseOffset();
   const U8 classIdSize = getClassIdSize( getClassIdTypeForGroup( tcamGroupId ), unitChipInfo() );
   // Known behaviour trace-texts: the labels stand without blanks.
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
   NODRA_ASSERT( classId && classId->data() && classId->mask() );
   TRACE( 1, "programClassIdQualifierInHw"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId << " ClassIdQualfier data: "
                << textOf( classId->data() ) << " ClassIdQualfier mask: " << textOf( classId->mask() ) );
   const auto helper = portsHelper(); // held for the time of the call
   NODRA_ASSERT( !!helper );
   helper->setClassIdQualifier( unit, tcamGroupId, entryId, classId );
}

} // namespace QuarraTcam
