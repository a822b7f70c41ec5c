#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/AclGroupSize.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SystemPortTable.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Trace.h"
#include "Sdk/SdkCall.h"

namespace QuarraTcam {
namespace {

constexpr U32 initialShadowBits = 160;

// Where a field of the system port table lies in the combined ACL-group value.
struct FieldPlace {
   std::string_view field;
   U32 offset;
   U32 width;
};

constexpr FieldPlace fieldPlaces[] = {
   { "ACL_GROUP_BITMAP", 0, 32 },       { "ACL_GROUP_CLASS_ID_0", 32, 16 },
   { "ACL_GROUP_CLASS_ID_1", 48, 16 },  { "ACL_GROUP_CLASS_ID_2", 64, 16 },
   { "ACL_GROUP_CLASS_ID_3", 80, 16 },  { "ACL_GROUP_CLASS_ID_4", 96, 16 },
   { "ACL_GROUP_CLASS_ID_5", 112, 16 }, { "ACL_GROUP_CLASS_ID_6", 128, 16 },
   { "ACL_GROUP_CLASS_ID_7", 144, 16 },
};
constexpr FieldPlace otherField = { "", 0, 16 };

const FieldPlace &placeOf( std::string_view field ) {
   for ( const auto &place : fieldPlaces ) {
      if ( place.field == field ) {
         return place;
      }
   }
   return otherField;
}

// Reads a field of a system port's entry; false when there is no entry.
bool readField( int unit, U32 system_source, const std::string &field_name, U64 &entry_grp_bmap ) {
   bcmlt_entry_handle_t systemPortEntry{};
   const bool found = lookUpSystemPort( unit, TableNumbers(), system_source, systemPortEntry );
   if ( found ) {
      SDK_CALL( bcmlt_entry_field_get( systemPortEntry, field_name.c_str(), &entry_grp_bmap ) );
   }
   SDK_CALL( bcmlt_entry_free( systemPortEntry ) );
   return found;
}

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
   const auto &place = placeOf( field_name );
   for ( U32 system_source = 0; system_source <= systemPortMax(); ++system_source ) {
      U64 entry_grp_bmap = 0;
      if ( !readField( unit, system_source, field_name, entry_grp_bmap ) ) {
         continue;
      }
      const auto port = static_cast<U16>( system_source );
      auto bitmap = aclGroupShadow( port );
      if ( !bitmap ) {
         bitmap = std::make_shared<Vesk::Bitmap>( port, aclGroupSize(), Vesk::HBitmap::BitState::clear );
      }
      bitmap->rangeClear( place.offset, place.offset + place.width - 1 );
      updateBitmap( bitmap, entry_grp_bmap, place.offset );
      aclGroupShadowIs( port, bitmap );
   }
}

} // namespace QuarraTcam
