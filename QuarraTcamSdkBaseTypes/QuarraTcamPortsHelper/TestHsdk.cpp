#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/AclGroupSize.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/HsdkFunctions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SystemPortTable.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

namespace {

constexpr U32 initialShadowBits = 160;

} // namespace

QuarraTcamTestHSDKPortsHelper::QuarraTcamTestHSDKPortsHelper( Scsd scsd )
   : QuarraTcamHSDKPortsHelper( std::move( scsd ) ) {
   QuarraTcamTestHSDKPortsHelper::handleInitialized();
}

void QuarraTcamTestHSDKPortsHelper::handleInitialized() {
   TRACE( 1, "handleInitialized" );
   for ( U32 port = 0; port <= systemPortMax(); ++port ) {
      aclGroupShadowIs(
         static_cast<U16>( port ),
         std::make_shared<Vesk::Bitmap>( port, initialShadowBits, Vesk::HBitmap::BitState::clear ) );
   }
}

void QuarraTcamTestHSDKPortsHelper::setAclGroupClassId( U8 bitToSet,
                                                        const IntfGroupInfo::PtrConst &intfGroup ) {
   QuarraTcamHSDKPortsHelper::setAclGroupClassId( bitToSet, intfGroup );
   const int unit = SdkShim->vmSingleUnit();
   const auto field_name = getAclGroupFieldType( bitToSet );
   const auto &place = *Sdk::aclGroupFieldOf( bitToSet );
   const TableNumbers numbers;
   for ( U32 system_source = 0; system_source <= systemPortMax(); ++system_source ) {
      bcmlt_entry_handle_t systemPortEntry{};
      SDK_CALL( bcmlt_entry_allocate( unit, "ING_SYSTEM_PORT_TABLE", &systemPortEntry ) );
      SDK_CALL( bcmlt_entry_field_add( systemPortEntry, "SYSTEM_SOURCE", system_source ) );
      if ( SDK_TRY_TEXT( bcmlt_entry_commit( systemPortEntry, numbers.lookup, numbers.priority ),
                         lookupText ) >= 0 ) {
         U64 entry_grp_bmap = 0;
         SDK_CALL( bcmlt_entry_field_get( systemPortEntry, field_name.c_str(), &entry_grp_bmap ) );
         const auto port = static_cast<U16>( system_source );
         auto bitmap = aclGroupShadow( port );
         if ( !bitmap ) {
            const auto &quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
            NODRA_ASSERT( !!quarraTcamAttr );
            bitmap = std::make_shared<Vesk::Bitmap>( port, aclGroupSize( *quarraTcamAttr ),
                                                     Vesk::HBitmap::BitState::clear );
         }
         bitmap->rangeClear( place.firstBit, place.firstBit + place.bits - 1u );
         updateBitmap( bitmap, entry_grp_bmap, place.firstBit );
         aclGroupShadowIs( port, bitmap );
      }
      SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
   }
}

QuarraTcamPortsHelper::Ptr quarraTcamTestHSDKPortsHelperFactory( const Scsd &scsd ) {
   requireHsdk();
   return std::make_shared<QuarraTcamTestHSDKPortsHelper>( scsd );
}

} // namespace QuarraTcam
