#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"
#include "tests/Library.h"

// What a caller of the helpers, the registry, the records and the translation may do wrong, and the assertion
// that it ends in.
namespace QuarraTest {
namespace {

constexpr U16 one = 500;
constexpr U16 typeless = 501;
constexpr U16 endMarked = 502;
constexpr U16 unknown = 999; // not registered

class HelperMisuse : public LibraryTest {
 protected:
   // Writes a qualifier of these bits, whose bitmaps have these sizes.
   void qualify( U16 id, U64 data, U64 mask, U32 size = 64, U32 maskSize = 64 ) {
      const auto classId = bitmapQualifierFactory();
      classId->dataIs( 0, size, Vesk::HBitmap::BitState::clear );
      classId->maskIs( 0, maskSize, Vesk::HBitmap::BitState::clear );
      updateBitmap( classId->data(), data, 0 );
      updateBitmap( classId->mask(), mask, 0 );
      helper->setClassIdQualifier( 0, id, 1, classId );
   }
};

TEST_F( HelperMisuse, OfQualifiersAndRecords ) {
   bringUp( "sdk6" );
   group( one, {} );
   group( typeless, { .type = classIdInvalid } );
   group( endMarked, { .type = classIdMax } );
   constexpr auto invalidGroup = "!!other && \"Invalid IntfGroupInfo\"";
   const auto configOfOne = getClassIdInfoForTcamGroup( one );
   scsd->quarraIntfToAclGroupKeyIs( Ivrel::IntfId( "portless" ), 700 );
   expectAborts( {
      { "setAclGroupClassId", "SdkShim",
        [ & ] {
           SdkShim = nullptr;
           helper->setAclGroupClassId( 3, ports( {} ) );
        } },
      { "setClassIdQualifier", "!!classIdConfig", [ & ] { qualify( unknown, 2, 2 ); } },
      { "setClassIdQualifier", "classId->data()->size() == classId->mask()->size()",
        [ & ] { qualify( one, 2, 2, 64, 63 ); } },
      { "setClassIdQualifier", "0 && \"Unknown class Id\"", [ & ] { qualify( typeless, 2, 2 ); } },
      { "setClassIdQualifier", "0 && \"Unknown class Id\"", [ & ] { qualify( endMarked, 2, 2 ); } },
      { "setClassIdQualifier", "classId->data()->size() <= classIdSize",
        [ & ] { qualify( one, 2, 2, 65, 65 ); } },
      { "setClassIdQualifier", "numSetMaskBits && numSetDataBits", [ & ] { qualify( one, 2, 0 ); } },
      { "setClassIdQualifier", "numSetMaskBits && numSetDataBits", [ & ] { qualify( one, 0, 2 ); } },
      { "setClassIdQualifier", "numSetDataBits <= numSetMaskBits", [ & ] { qualify( one, 6, 2 ); } },
      { "setClassIdQualifier", "!!quarraTcamAttr",
        [ & ] {
           withoutProfile();
           qualify( one, 2, 2 );
        } },
      { "getIntfGroupFromPbmp", "scsd()->quarraIntfToPortHas( intfId )",
        [ & ] {
           bcm_pbmp_t pbmp{};
           chip->pbmpPortAdd( pbmp, 700 );
           manager->getIntfGroupFromPbmp( one, pbmp, false );
        } },
      { "setClassIdQualifier", "classId && classId->data() && classId->mask()",
        [ & ] { helper->setClassIdQualifier( 0, one, 1, nullptr ); } },
      { "setClassIdQualifier", "classId && classId->data() && classId->mask()",
        [ & ] { helper->setClassIdQualifier( 0, one, 1, bitmapQualifierFactory() ); } },
      { "getIntfGroupFromPbmp", "SdkShim",
        [ & ] {
           SdkShim = nullptr;
           manager->getIntfGroupFromPbmp( one, {}, false );
        } },
      { "getIntfGroupFromIntfProfile", "!!profile",
        [ & ] { manager->getIntfGroupFromIntfProfile( nullptr ); } },
      { "isEqual", invalidGroup, [ & ] { allEthernet()->isEqual( nullptr ); } },
      { "deepCopy", invalidGroup, [ & ] { allEthernet()->deepCopy( nullptr ); } },
      { "addClassIdInfoToMap", "!!classIdInfo", [ & ] { addClassIdInfoToMap( unknown, nullptr ); } },
      { "addClassIdInfoToMap", "tcamGroupId == classIdInfo->tcamGroupId()",
        [ & ] { addClassIdInfoToMap( unknown, configOfOne ); } },
      { "getClassIdSize", "activeChipProfile",
        [ & ] {
           getClassIdSize( ifpSourceTrunkMap, { 99, 9 } );
        } },
      { "getClassIdSize", "!!attributes",
        [ & ] {
           withEmptyProfile();
           getClassIdSize( ifpSourceTrunkMap, usedChip() );
        } },
      { "getClassIdSize", "0 && \"Invalid classId type\"",
        [ & ] { getClassIdSize( classIdInvalid, usedChip() ); } },
      { "getClassIdSize", "0 && \"Invalid classId type\"",
        [ & ] { getClassIdSize( classIdMax, usedChip() ); } },
      { "getAclGroupFieldType", "0 && \"invalid bit to set\"", [ & ] { getAclGroupFieldType( 160 ); } },
   } );
}

TEST_F( HelperMisuse, OfEveryVariant ) {
   for ( const auto &variant : QuarraAgent::variants() ) {
      SCOPED_TRACE( variant.name );
      bringUp( variant.name );
      expectAborts( {
         { "handleInitialized", "!!scsd()", [ & ] { variant.factory( nullptr ); } },
         { "setAclGroupClassId", "!!intfGroup", [ & ] { helper->setAclGroupClassId( 3, nullptr ); } },
         { "populateCpuIntfGroup", "!!intfGroup", [ & ] { helper->populateCpuIntfGroup( nullptr ); } },
         { "populateStaticClassIdReservation", "!!groupConfig",
           [ & ] { helper->populateStaticClassIdReservation( unknown ); } },
      } );
   }
}

TEST_F( HelperMisuse, OfTheSdk6Helpers ) {
   const auto mixed = ports( { 1 } );
   mixed->ethernetIs( true );
   for ( const char *variant : { "sdk6", "testSdk6" } ) {
      SCOPED_TRACE( variant );
      bringUp( variant );
      group( one, {} );
      expectAborts( {
         { "populateStaticClassIdReservation",
           "QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId )",
           [ & ] { helper->populateStaticClassIdReservation( one ); } },
         { "setAclGroupClassId", "!intfGroup->portIds()", [ & ] { helper->setAclGroupClassId( 3, mixed ); } },
      } );
   }
}

TEST_F( HelperMisuse, OfTheHsdkHelpers ) {
   for ( const char *name : { "hsdk", "testHsdk" } ) {
      SCOPED_TRACE( name );
      bringUp( name );
      const auto &variant = *QuarraAgent::variantOf( name );
      group( one, {} );
      expectAborts( {
         { "populateStaticClassIdReservation", "QuarraTcam::isSystemAclGroup( tcamGroupId )",
           [ & ] { helper->populateStaticClassIdReservation( one ); } },
         { "handleInitialized", "!!activeChipProfile",
           [ & ] {
              withoutProfile();
              variant.factory( scsd );
           } },
         { "handleInitialized", "!!activeChipProfile",
           [ & ] {
              scsd->quarraModIdDelAll();
              variant.factory( scsd );
           } },
         { "handleInitialized", "!!featureAttr",
           [ & ] {
              withEmptyProfile();
              variant.factory( scsd );
           } },
         { "setAclGroupClassId", "SdkShim",
           [ & ] {
              SdkShim = nullptr;
              helper->setAclGroupClassId( 3, ports( {} ) );
           } },
         { "getAclGroupFieldType", "0 && \"invalid bit to set\"",
           [ & ] { helper->setAclGroupClassId( 160, ports( {} ) ); } },
      } );
   }
}

TEST_F( HelperMisuse, OfTheBaseHelper ) {
   bringUp( "sdk6" );
   QuarraTcamPortsHelper base( scsd );
   QuarraTcamPortsHelper stateless( nullptr );
   const auto profile = std::make_shared<IntfProfile>();
   profile->portIdIs( { 0, 1 } );
   constexpr auto text = "0 && \" call to unimplemented base class function\"";
   expectAborts( {
      { "setAclGroupClassId", text, [ & ] { base.setAclGroupClassId( 1, ports( {} ) ); } },
      { "isSourceTrunkMapGroup", text, [ & ] { base.isSourceTrunkMapGroup( 1 ); } },
      { "populateStaticClassIdReservation", text, [ & ] { base.populateStaticClassIdReservation( 1 ); } },
      { "getClassIdTypeForGroup", text, [ & ] { base.getClassIdTypeForGroup( 1 ); } },
      { "getPoolBitsForGroup", text, [ & ] { base.getPoolBitsForGroup( 1 ); } },
      { "getPoolWidthForGroup", text, [ & ] { base.getPoolWidthForGroup( 1 ); } },
      { "getNumberOfPoolsForGroup", text, [ & ] { base.getNumberOfPoolsForGroup( 1 ); } },
      { "qualifySubPortGroupIds", text,
        [ & ] { base.qualifySubPortGroupIds( 0, 1, 0, nullptr, 0, nullptr ); } },
      { "populateCpuIntfGroup", text, [ & ] { base.populateCpuIntfGroup( ports( {} ) ); } },
      { "getIntfGroupFromIntfProfile", "!!scsd()",
        [ & ] { stateless.getIntfGroupFromIntfProfile( profile ); } },
   } );
}

TEST_F( HelperMisuse, OfTheTranslation ) {
   bringUp( "sdk6" );
   const Scsd none;
   const Ivrel::IntfId intf( "Port1" );
   const auto vexProduct = std::make_shared<QuarraCentral::ChipAttributes>();
   vexProduct->isVexProductIs( true );
   const auto onVexProduct = [ & ]( const bcm_pbmp_t &( *getter )( const Scsd & )) {
      QuarraCentral::quarraAttributes()->chipAttributesIs( usedChip(), vexProduct );
      getter( scsd );
   };
   const auto withoutUnit = [ & ]( const bcm_pbmp_t &( *getter )( const Scsd & )) {
      scsd->quarraModIdToUnitDelAll();
      getter( scsd );
   };
   const auto withoutChip = [ & ]( const bcm_pbmp_t &( *getter )( const Scsd & )) {
      scsd->quarraModIdDelAll();
      getter( scsd );
   };
   const auto withoutShim = [ & ]( const bcm_pbmp_t &( *getter )( const Scsd & )) {
      SdkShim = nullptr;
      getter( scsd );
   };
   expectAborts( {
      { "intfToPortHas", "scsd", [ & ] { intfToPortHas( none, intf ); } },
      { "intfToPortCacheHas", "scsd", [ & ] { intfToPortCacheHas( none, intf ); } },
      { "intfToPort", "scsd", [ & ] { intfToPort( none, intf ); } },
      { "intfToPortCache", "scsd", [ & ] { intfToPortCache( none, intf ); } },
      { "portToIntf", "!!scsd", [ & ] { portToIntf( none, {} ); } },
      { "getPbmpEAll", "scsd", [ & ] { getPbmpEAll( none ); } },
      { "getPbmpAll", "scsd", [ & ] { getPbmpAll( none ); } },
      { "getPbmpCpu", "scsd", [ & ] { getPbmpCpu( none ); } },
      { "getPbmpLbAll", "scsd", [ & ] { getPbmpLbAll( none ); } },
      { "getPbmpPortAll", "scsd", [ & ] { getPbmpPortAll( none ); } },
      { "getActivePorts", "scsd", [ & ] { getActivePorts( none ); } },
      { "getPbmpCpu", "!isVexProduct", [ & ] { onVexProduct( getPbmpCpu ); } },
      { "getPbmpLbAll", "!isVexProduct", [ & ] { onVexProduct( getPbmpLbAll ); } },
      { "getPbmpEAll", "scsd->quarraModIdToUnitHas( modId )", [ & ] { withoutUnit( getPbmpEAll ); } },
      { "getPbmpPortAll", "scsd->quarraModIdToUnitHas( modId )", [ & ] { withoutUnit( getPbmpPortAll ); } },
      { "getPbmpCpu", "SdkShim", [ & ] { withoutShim( getPbmpCpu ); } },
      { "getActivePorts", "SdkShim", [ & ] { withoutShim( getActivePorts ); } },
      { "printPbmp", "SdkShim",
        [ & ] {
           SdkShim = nullptr;
           printPbmp( {}, "ports" );
        } },
      { "getPbmpEAll", "SdkShim",
        [ & ] {
           SdkShim = nullptr;
           onVexProduct( getPbmpEAll );
        } },
      { "getPbmpPortAll", "!!chipAttributes", [ & ] { withoutChip( getPbmpPortAll ); } },
      { "intfToPort", "!!chipAttributes",
        [ & ] {
           QuarraCentral::quarraAttributes()->chipAttributesDelAll();
           intfToPort( scsd, intf );
        } },
   } );
}

TEST( RequireSdk, NamesEachFunctionThatIsNotLinked ) {
   const SdkFunction linked = { "first", true };
   requireSdk( "SDK6", std::span( &linked, 1 ) );
   const SdkFunction some[] = { { "first", false }, { "second", true }, { "third", false } };
   EXPECT_ABORT( requireSdk( "SDK6", some ),
                 "this process has no complete SDK6 SDK; missing: first third\n" );
}

} // namespace
} // namespace QuarraTest
