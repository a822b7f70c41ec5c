#include <vector>

#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/AclGroupSize.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Sdk6Functions.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

namespace {

// The lowest 32 bits as a word. The shift count is taken modulo 32, so a bit above folds onto a lower one.
U32 wordOf( const Vesk::Bitmap &bitmap ) {
   U32 word = 0;
   for ( const U32 bit : bitmap.setBits() ) {
      word |= U32{ 1 } << bit % 32;
   }
   return word;
}

// Writes the positions of the set bits in rising order; gives their number.
U32 listBits( const Vesk::Bitmap &bitmap, std::vector<U32> &bits ) {
   U32 used = 0;
   for ( const U32 bit : bitmap.setBits() ) {
      bits[ used++ ] = bit;
   }
   return used;
}

} // namespace

void QuarraTcamPortsHelper::setClassIdQualifier( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                                                 const BitmapQualifier::PtrConst &classId ) {
   NODRA_ASSERT( classId && classId->data() && classId->mask() );
   TRACE( 1, "setClassIdQualifier"
                << " TcamGroupId: " << tcamGroupId << " EntryId: " << entryId << " ClassIdQualfier data: "
                << getBitmapString( classId->data(), static_cast<U16>( classId->data()->size() ) )
                << " ClassIdQualfier mask: "
                << getBitmapString( classId->mask(), static_cast<U16>( classId->mask()->size() ) ) );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   NODRA_ASSERT( classId->data()->size() == classId->mask()->size() );
   const auto *space = classIdSpace( classIdConfig->classIdType() );
   NODRA_ASSERT_TEXT( space, "0 && \"Unknown class Id\"" );
   switch ( space->field ) {
   case ClassIdField::sourceTrunkMapWord: {
      const U32 interfaceClassPortData = wordOf( *classId->data() );
      const U32 interfaceClassPortMask = wordOf( *classId->mask() );
      NODRA_ASSERT( SdkShim );
      SDK_CALL_TEXT( bcm_field_qualify_InterfaceClassPort( static_cast<int>( unit ), entryId,
                                                           interfaceClassPortData, interfaceClassPortMask ),
                     "bcm_field_qualify_InterfaceClassPort( unit, entryId, interfaceClassPortData, "
                     "interfaceClassPortMask )" );
      break;
   }
   case ClassIdField::aclGroupValue: {
      const auto &quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
      NODRA_ASSERT( !!quarraTcamAttr );
      const U8 classIdSize = aclGroupSize( *quarraTcamAttr );
      NODRA_ASSERT( classId->data()->size() <= classIdSize );
      std::vector<U32> dataBits( classIdSize );
      std::vector<U32> maskBits( classIdSize );
      const U32 numSetDataBits = listBits( *classId->data(), dataBits );
      const U32 numSetMaskBits = listBits( *classId->mask(), maskBits );
      NODRA_ASSERT( numSetMaskBits && numSetDataBits );
      NODRA_ASSERT( numSetDataBits <= numSetMaskBits );
      qualifySubPortGroupIds( unit, entryId, numSetDataBits, dataBits.data(), numSetMaskBits,
                              maskBits.data() );
      break;
   }
   }
}

} // namespace QuarraTcam
