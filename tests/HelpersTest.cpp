#include "tests/Library.h"

#include <numeric>

// What the chip variants make of port bitmaps and profiles, and what they write to the chip.
namespace QuarraTest {
namespace {

using Ivrel::IntfId;
using ::testing::ThrowsMessage;
using Ports = std::vector<U32>;
using ModPorts = std::vector<QuarraModPort>;

constexpr U16 aclGroup = 500;
constexpr U16 ifpGroup = 51; // ifpSourceTrunkMap on SDK6
constexpr U16 vfpGroup = 238;
constexpr U32 entry = 7;

Ports from( U32 first, U32 last ) {
   Ports all( last + 1 - first );
   std::iota( all.begin(), all.end(), first );
   return all;
}

const auto badModule =
   ThrowsMessage<Nodra::RangeError>( "QuarraCentral::ModId::value < QuarraCentral::ModId::min or > "
                                     "QuarraCentral::ModId::null not allowed" );
const auto badPort = ThrowsMessage<Nodra::RangeError>( "U10::value < 0 or > 0x03ff not allowed" );

class Helpers : public LibraryTest {
 protected:
   void TearDown() override {
      getQuarraTcamCommonData()->modIdIs( std::nullopt );
      EXPECT_EQ( chip->liveHandleTexts(), std::vector<std::string>() );
   }

   static ModPorts portsOf( const IntfGroupInfo::PtrConst &intfGroup ) {
      EXPECT_FALSE( intfGroup->ethernet() );
      return { intfGroup->portId().begin(), intfGroup->portId().end() };
   }
   IntfGroupInfo::PtrConst ofBits( U16 id, const Ports &bits, bool ethernet = false ) {
      bcm_pbmp_t pbmp{};
      for ( const U32 bit : bits ) {
         chip->pbmpPortAdd( pbmp, bit );
      }
      return manager->getIntfGroupFromPbmp( id, pbmp, ethernet );
   }
   void interface( const std::string &name, U16 aclGroupKey, const QuarraTypes::QuarraPort &port ) {
      scsd->quarraIntfToAclGroupKeyIs( IntfId( name ), aclGroupKey );
      scsd->quarraIntfToPortIs( IntfId( name ), port );
   }

   // Writes a qualifier whose data and mask are `size` bits wide into the TCAM entry.
   void qualify( U16 id, U64 data, U64 mask, U32 size ) {
      const auto classId = bitmapQualifierFactory();
      classId->dataIs( 0, size, Vesk::HBitmap::BitState::clear );
      classId->maskIs( 0, size, Vesk::HBitmap::BitState::clear );
      updateBitmap( classId->data(), data, 0 );
      updateBitmap( classId->mask(), mask, 0 );
      helper->setClassIdQualifier( 0, id, entry, classId );
   }
   Sdk::QualifierFrame wholeValue() {
      return { .endBit = static_cast<U8>( chip->aclGroup( 0 ).size() - 1 ) };
   }
   const QuarraSimulator::TcamEntry &tcamEntry() { return chip->tcamEntries().at( entry ); }

   void program( U8 bit, const IntfGroupInfo::PtrConst &intfGroup ) {
      helper->setAclGroupClassId( bit, intfGroup );
   }
   Ports portsWith( U32 bit ) {
      auto found = chip->portsWithAclGroup();
      std::erase_if( found, [ & ]( U32 port ) { return !chip->aclGroup( port ).test( bit ); } );
      return found;
   }
};

TEST_F( Helpers, TurnBitmapsOfAclGroupKeysIntoPorts ) {
   bringUp( "sdk6" );
   interface( "E", 600, { 1, 0, 17, 0 } );
   EXPECT_EQ( portsOf( ofBits( aclGroup, { 600, 601, 2047 } ) ), ModPorts( { { 1, 600 } } ) );
   EXPECT_EQ( portsOf( ofBits( vfpGroup, { 600 } ) ), ModPorts( { { 1, 600 } } ) );
   EXPECT_EQ( portsOf( ofBits( ifpGroup, { 600 } ) ), ModPorts( { { 1, 17 } } ) ) << "the logical port";
   interface( "D", 600, { 2, 0, 18, 0 } );
   EXPECT_EQ( portsOf( ofBits( aclGroup, { 600 } ) ), ModPorts( { { 2, 600 } } ) ) << "the first of two";
   scsd->quarraIntfToCpuPortIs( IntfId( "Cpu2" ), { 4, 0, 600, 0 } );
   scsd->quarraIntfToCpuPortIs( IntfId( "Cpu1" ), { 3, 0, 600, 0 } );
   EXPECT_EQ( portsOf( ofBits( ifpGroup, { 600 } ) ), ModPorts( { { 3, 600 } } ) ) << "the CPU's wins";
   scsd->quarraIntfToCpuPortIs( IntfId( "Cpu3" ), { 5, 0, 601, 0 } );
   EXPECT_EQ( portsOf( ofBits( aclGroup, { 601 } ) ), ModPorts( { { 5, 601 } } ) ) << "and needs no key";
   EXPECT_EQ( portsOf( ofBits( aclGroup, {} ) ), ModPorts() );
   const auto ethernet = ofBits( aclGroup, { 1, 600 }, true );
   EXPECT_TRUE( ethernet->ethernet() && !ethernet->portIds() );
   manager->portsHelperIs( nullptr );
   EXPECT_EQ( ofBits( aclGroup, { 1 } ), nullptr );
   EXPECT_EQ( manager->getIntfGroupFromIntfProfile( nullptr ), nullptr );
}

// Of a module id and a port that are both out of range the module id is reported, whatever the compiler.
TEST_F( Helpers, RefusePortsOutOfRange ) {
   bringUp( "sdk6" );
   interface( "module", 600, { 65, 0, 5, 0 } );
   interface( "port", 1024, { 1, 0, 5, 0 } );
   interface( "both", 1025, { 65, 0, 5, 0 } );
   EXPECT_THAT( [ & ] { ofBits( aclGroup, { 600 } ); }, badModule );
   EXPECT_THAT( [ & ] { ofBits( aclGroup, { 1024 } ); }, badPort );
   EXPECT_THAT( [ & ] { ofBits( aclGroup, { 1025 } ); }, badModule );
   scsd->quarraCpuModPortIs( { 65, 1024 } );
   EXPECT_THAT( [ & ] { helper->populateCpuIntfGroup( ports( {} ) ); }, badModule );
}

TEST_F( Helpers, KeepTheProfilesPortsOfThisChip ) {
   const auto profile = std::make_shared<IntfProfile>();
   for ( const U16 module : std::initializer_list<U16>{ 0, 1, 29, 30, 34, 35, 40 } ) {
      profile->portIdIs( QuarraModPort( module, module ) );
   }
   const auto kept = [ & ] { return portsOf( manager->getIntfGroupFromIntfProfile( profile ) ); };
   bringUp( "hsdk" );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 } } ) );
   bringUp( "sdk6" );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 }, { 30, 30 }, { 34, 34 } } ) );
   getQuarraTcamCommonData()->modIdIs( U16{ 40 } );
   scsd->quarraCpuModPortIs( { 50, 1 } );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 }, { 30, 30 }, { 34, 34 }, { 40, 40 } } ) );
   profile->cpuIs( true );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 }, { 30, 30 }, { 34, 34 }, { 40, 40 }, { 50, 1 } } ) );
   profile->allEthernetIs( true );
   const auto ethernet = manager->getIntfGroupFromIntfProfile( profile );
   EXPECT_TRUE( ethernet->ethernet() && !ethernet->portIds() );
}

TEST_F( Helpers, WriteSourceTrunkMapQualifiersAsAWordAndAMask ) {
   bringUp( "sdk6" );
   chip->fieldEntryCreate( 0, entry, { .sourceTrunkMapTable = 9 } );
   group( ifpGroup, { .type = ifpSourceTrunkMap } );
   group( vfpGroup, { .type = vfpSourceTrunkMap } );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsHelper/4" );
   qualify( ifpGroup, 0b101, 0b1111, 16 );
   EXPECT_THAT( trace.lines().at( 0 ).text,
                ::testing::EndsWith( " bcm_field_qualify_InterfaceClassPort( unit, entryId, "
                                     "interfaceClassPortData, interfaceClassPortMask ) (rc:0)" ) );
   EXPECT_EQ( tcamEntry().kind, QuarraSimulator::TcamEntry::Kind::interfaceClassPort );
   EXPECT_EQ( std::pair( tcamEntry().data, tcamEntry().mask ), std::pair( 5u, 15u ) );
   qualify( vfpGroup, U64{ 1 } << 33, U64{ 1 } << 33 | 8, 40 );
   EXPECT_EQ( std::pair( tcamEntry().data, tcamEntry().mask ), std::pair( 2u, 10u ) ) << "bit 33 is bit 1";
   qualify( ifpGroup, 0, 0, 16 );
   EXPECT_EQ( tcamEntry().mask, 0u ) << "nothing to match is no fault here";
}

TEST_F( Helpers, WriteAclGroupQualifiersAsListsOfBits ) {
   for ( const std::string variant : { "sdk6", "hsdk" } ) {
      bringUp( variant, { .flexible = 32, .fixed = 48 } );
      chip->fieldEntryCreate( 0, entry, wholeValue() );
      group( aclGroup, {} );
      group( 501, { .type = aclGroupFixedWidth } );
      qualify( 501, 8, 8, 4 );
      EXPECT_EQ( tcamEntry().maskBits, Ports( { 3 } ) );
      qualify( aclGroup, 0x80000002, 0x180000006, 80 );
      EXPECT_EQ( tcamEntry().dataBits, Ports( { 1, 31 } ) );
      EXPECT_EQ( tcamEntry().maskBits, Ports( { 1, 2, 31, 32 } ) );
   }
}

TEST_F( Helpers, OfSdk6GiveABitToTheListedPortsOnly ) {
   bringUp( "sdk6" );
   program( 3, ports( { 5, 7 } ) );
   program( 63, ports( { 7 } ) );
   program( 3, ports( { 7, 9 } ) );
   EXPECT_EQ( portsWith( 3 ), Ports( { 7, 9 } ) );
   program( 3, ports( {} ) );
   EXPECT_EQ( chip->callCounts()[ "bcm_subport_port_group_subport_multi_set" ], 4u ) << "an empty list too";
   EXPECT_EQ( portsWith( 3 ), Ports() );
   EXPECT_EQ( portsWith( 63 ), Ports( { 7 } ) );
   program( 3, allEthernet() );
   EXPECT_EQ( portsWith( 3 ), from( 1, 511 ) );
}

TEST_F( Helpers, AddTheCpusPortsUpToTheFirstOutOfRange ) {
   const auto add = [ & ]( const Quarra::QuarraCpuPort &last, const IntfGroupInfo::Ptr &intfGroup ) {
      scsd->quarraCpuModPortDelAll();
      scsd->quarraCpuModPortIs( { 1, 2 } );
      scsd->quarraCpuModPortIs( last );
      helper->populateCpuIntfGroup( intfGroup );
      return portsOf( intfGroup );
   };
   bringUp( "sdk6" );
   EXPECT_EQ( add( { 64, 1023 }, ports( { 6 } ) ), ModPorts( { { 0, 6 }, { 1, 2 }, { 64, 1023 } } ) );
   const auto some = ports( {} );
   EXPECT_THAT( [ & ] { add( { 65, 1 }, some ); }, badModule );
   EXPECT_EQ( portsOf( some ), ModPorts( { { 1, 2 } } ) ) << "those before it stay";
   EXPECT_THAT( [ & ] { add( { 2, 1024 }, some ); }, badPort );
   bringUp( "hsdk" );
   EXPECT_EQ( add( { 3, 255 }, ports( {} ) ), ModPorts( { { 1, 0x102 }, { 3, 0x3ff } } ) ) << "system ports";
   EXPECT_THAT( [ & ] { add( { 4, 0 }, some ); }, badPort );
   EXPECT_THAT( [ & ] { add( { 65, 0 }, some ); }, badModule );
}

TEST_F( Helpers, OfHsdkRewriteOneBitOnEverySystemPort ) {
   bringUp( "hsdk" );
   program( 31, ports( { 2, 3, 300 } ) );
   program( 30, ports( { 3 } ) );
   program( 33, ports( { 3, 4 } ) );
   EXPECT_EQ( chip->digest(), "ING_SYSTEM_PORT_TABLE 2 ACL_GROUP_BITMAP 2147483648\n"
                              "ING_SYSTEM_PORT_TABLE 3 ACL_GROUP_BITMAP 3221225472 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 4 ACL_GROUP_CLASS_ID_0 2\n" );
   const auto before = chip->callCounts();
   program( 31, ports( { 4, 5 } ) ); // cleared on 2 and 3, set on 4, inserted on 5
   EXPECT_EQ( chip->digest(), "ING_SYSTEM_PORT_TABLE 3 ACL_GROUP_BITMAP 1073741824 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 4 ACL_GROUP_BITMAP 2147483648 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 5 ACL_GROUP_BITMAP 2147483648\n" );
   auto calls = chip->callCounts();
   for ( auto &[ function, count ] : calls ) {
      count -= before.at( function );
   }
   const std::map<std::string, U64> expected = { { "bcmlt_entry_allocate", 256 },
                                                 { "bcmlt_entry_field_add", 256 + 4 },
                                                 { "bcmlt_entry_commit", 256 + 4 },
                                                 { "bcmlt_entry_field_get", 3 },
                                                 { "bcmlt_entry_free", 256 } };
   EXPECT_EQ( calls, expected );
   program( 159, ports( { 255 } ) );
   EXPECT_EQ( portsWith( 159 ), Ports( { 255 } ) );
   program( 159, ports( {} ) );
   EXPECT_EQ( portsWith( 159 ), Ports() );
   EXPECT_EQ( chip->tableEntries(), Ports( { 2, 3, 4, 5, 255 } ) )
      << "none to clear a bit, none past the last";
}

TEST_F( Helpers, OfHsdkTakeAllEthernetAsAllButTheCpu ) {
   bringUp( "hsdk" );
   scsd->quarraCpuModPortIs( { 0, 9 } );
   program( 40, ports( { 9 } ) );
   program( 40, allEthernet() );
   auto expected = from( 1, 255 );
   EXPECT_EQ( chip->tableEntries(), expected );
   std::erase( expected, 9u );
   EXPECT_EQ( portsWith( 40 ), expected ) << "cleared on the CPU's port that had it";
}

TEST_F( Helpers, ProgramTheUnitThatTheShimNames ) {
   using namespace QuarraSimulator;
   for ( const char *variant : { "sdk6", "testHsdk" } ) {
      bringUp( variant );
      chip.reset();
      const auto generation = QuarraAgent::variantOf( variant )->generation.sdk;
      chip = std::make_unique<SimulatedChip>( ChipOptions{ .generation = generation, .unit = 3 } );
      program( 33, ports( { 5 } ) );
      EXPECT_EQ( portsWith( 33 ), Ports( { 5 } ) );
   }
}

TEST_F( Helpers, OfHsdkTakeAFailedLookUpForAMissingEntry ) {
   bringUp( "hsdk" );
   program( 33, ports( { 0 } ) );
   chip->failCall( 1, QuarraSimulator::Code::busy, "bcmlt_entry_commit" );
   program( 33, ports( { 1 } ) );
   EXPECT_EQ( portsWith( 33 ), Ports( { 0, 1 } ) );
}

// The texts are read by people and by scripts: they stay as they are, oddities included.
TEST_F( Helpers, TraceTheirTextsVerbatim ) {
   const auto profile = std::make_shared<IntfProfile>();
   profile->portIdIs( QuarraModPort( 0, 9 ) );
   profile->portIdIs( QuarraModPort( 35, 8 ) );
   const auto expectTraced = [ & ]( const char *variant, const std::vector<std::string> &ends ) {
      bringUp( variant );
      chip->fieldEntryCreate( 0, entry, wholeValue() );
      group( aclGroup, {} );
      Nodra::MemoryTrace trace;
      Nodra::traceLevelsIs( "*/0-9" );
      ofBits( aclGroup, { 5 } );
      manager->getIntfGroupFromIntfProfile( profile );
      qualify( aclGroup, 2, 6, 8 );
      program( 33, ports( { 1 } ) );
      program( 33, allEthernet() );
      for ( const auto &end : ends ) {
         EXPECT_TRUE( std::any_of( trace.lines().begin(), trace.lines().end(),
                                   [ & ]( const auto &line ) { return line.text.ends_with( end ); } ) )
            << end;
      }
      Nodra::traceLevelsDelAll();
   };
   expectTraced(
      "sdk6",
      { "getIntfGroupFromPbmp", "getIntfGroupFromPbmp Interface: Port5", "getIntfGroupFromIntfProfile",
        "getIntfGroupFromIntfProfileadding port = 9", "getIntfGroupFromIntfProfileignoring port = 8",
        "setClassIdQualifier TcamGroupId: 500 EntryId: 7 ClassIdQualfier data: 0x2 "
        "ClassIdQualfier mask: 0x6",
        "qualifySubPortGroupIdsunit 0 num data bits: 1 num mask bits: 2",
        " vm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
        "numSetMaskBits, &maskBits[ 0 ] ) (rc:0)",
        "QuarraTcamSdk6PortsHelper::setAclGroupClassId unit: 0 bitToSet: 33", "   interfaces : ", "   0/1",
        "   ethernet : 0", "All ethernet is set, force programming to all 455 GPPs",
        " bcm_subport_port_group_subport_multi_set( unit, bitToSet, size, sdkPorts.data() ) (rc:0)" } );
   expectTraced( "testSdk6", { "QuarraTcamTestSdk6PortsHelper::setAclGroupClassId bitToSet: 33",
                               "All ethernet is set, force programming to all 455 GPPs" } );
   const std::string commit = " bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_";
   expectTraced(
      "testHsdk",
      { "qualifySubPortGroupIdsunit 0 num data bits: 1 num mask bits: 2classIdSize:160",
        " velmor_bcm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
        "numSetMaskBits, &maskBits[ 0 ], classIdSize ) (rc:0)",
        "QuarraTcamSdk6PortsHelper::setAclGroupClassId unit: 0 bitToSet: 33",
        "All ethernet is set, force programming to all system ports except cpu port",
        "setAclGroupClassId system source: 1 unit: 0bit: 33clear:0",
        " Couldn't find h/w entry for system source: 2 unit: 0",
        "setAclGroupClassIdbit_position: 1 entry_grp_bmap: 2 group_bitmap:2",
        " bcmlt_entry_allocate( unit, \"ING_SYSTEM_PORT_TABLE\", &systemPortEntry ) (rc:0)",
        " bcmlt_entry_field_add( systemPortEntry, \"SYSTEM_SOURCE\", system_source ) (rc:0)",
        commit + "LOOKUP, BCMLT_PRIORITY_NORMAL ) (rc:-7)", commit + "UPDATE, BCMLT_PRIORITY_NORMAL ) (rc:0)",
        commit + "INSERT, BCMLT_PRIORITY_NORMAL ) (rc:0)",
        " bcmlt_entry_field_get( systemPortEntry, field_name, &entry_grp_bmap ) (rc:0)",
        " bcmlt_entry_field_get( systemPortEntry, field_name.c_str(), &entry_grp_bmap ) (rc:0)",
        " bcmlt_entry_field_add( systemPortEntry, field_name, entry_grp_bmap ) (rc:0)",
        " bcmlt_entry_free( systemPortEntry ) (rc:0)" } );
}

TEST_F( Helpers, TraceAUnitAsTheUnsignedNumberItIs ) {
   bringUp( "sdk6" );
   U32 bits[] = { 1 };
   Nodra::traceLevelsIs( "QuarraTcamPortsHelper/1" );
   EXPECT_ABORT( helper->qualifySubPortGroupIds( 0x80000000, entry, 1, bits, 1, bits ),
                 "qualifySubPortGroupIdsunit 2147483648 num data bits: 1" );
}

// A profile with as many port bits as a word has: the shift was undefined, and the highest port was any
// number.
TEST_F( Helpers, OfHsdkTakeAnyNumberOfPortBits ) {
   bringUp( "hsdk" );
   for ( const auto &[ portBits, highest ] :
         { std::pair( 3, 0x7 ), std::pair( 16, 0xffff ), std::pair( 31, 0xffff ), std::pair( 32, 0xffff ),
           std::pair( 255, 0xffff ) } ) {
      const auto common = std::make_shared<QuarraCommon::QuarraCommonFeatureAttributes>();
      common->portBitsIs( static_cast<U8>( portBits ) );
      const auto profile = std::make_shared<QuarraCentral::ChipProfile>();
      profile->commonFeatureAttributesIs( common );
      withProfile( profile );
      EXPECT_EQ( quarraTcamHSDKPortsHelperFactory( scsd )->systemPortMax(), highest ) << portBits;
      EXPECT_EQ( common->systemPort( 1, 5, 0 ), portBits < 32 ? 5u | 1u << portBits : 5u );
   }
}

TEST_F( Helpers, OfTheSdk6TwinShadowInsteadOfProgramming ) {
   bringUp( "testSdk6" );
   program( 3, ports( { 5, 7 } ) );
   program( 4, ports( { 7 } ) );
   program( 3, ports( { 8 } ) );
   EXPECT_EQ( portsWithBit( 3 ), Ports( { 8 } ) );
   EXPECT_EQ( portsWithBit( 4 ), Ports( { 7 } ) );
   EXPECT_EQ( shadow().size(), 2u ) << "a port without a bit is absent";
   EXPECT_EQ( shadow().at( 7 )->size(), 64u );
   program( 63, allEthernet() );
   EXPECT_EQ( portsWithBit( 63 ), from( 0, 510 ) );
   program( 63, ports( {} ) );
   EXPECT_EQ( shadow().size(), 2u );
   EXPECT_EQ( chip->calls(), 0u );
}

TEST_F( Helpers, OfTheHsdkTwinReadTheTableBackIntoTheShadow ) {
   bringUp( "testHsdk" );
   auto &twin = dynamic_cast<QuarraTcamTestHSDKPortsHelper &>( *helper );
   EXPECT_EQ( twin.aclGroupShadows(), 256u );
   EXPECT_EQ( twin.aclGroupShadow( 255 )->size(), 160u );
   program( 33, ports( { 5, 255 } ) );
   EXPECT_EQ( portsWith( 33 ), Ports( { 5, 255 } ) );
   EXPECT_EQ( twin.aclGroupShadow( 255 )->setBits(), Ports( { 33 } ) ) << "the last port, too";
   for ( U32 first = 0, width = 32; first < 160; first += width, width = 16 ) {
      twin.aclGroupShadow( 5 )->rangeSet( 0, 159 );
      program( static_cast<U8>( first + 1 ), ports( { 5 } ) );
      auto expected = from( 0, 159 ); // all but what the field of the bit does not hold
      std::erase_if( expected, [ & ]( U32 bit ) {
         return bit >= first && bit < first + width && !chip->aclGroup( 5 ).test( bit );
      } );
      EXPECT_EQ( twin.aclGroupShadow( 5 )->setBits(), expected ) << first;
   }
   twin.aclGroupShadow( 6 )->set( 33 );
   program( 33, ports( { 5 } ) );
   EXPECT_EQ( twin.aclGroupShadow( 6 )->setBits(), Ports( { 33 } ) ) << "there is no entry";
   bringUp( "testHsdk", { .flexible = 32, .fixed = 32 } );
   auto &narrow = dynamic_cast<QuarraTcamTestHSDKPortsHelper &>( *helper );
   narrow.aclGroupShadowDel( 5 );
   program( 2, ports( { 5 } ) );
   EXPECT_EQ( narrow.aclGroupShadow( 5 )->size(), 64u ) << "a lost one is made as wide as the chip's value";
   EXPECT_EQ( narrow.aclGroupShadow( 5 )->setBits(), Ports( { 2 } ) );
}

} // namespace
} // namespace QuarraTest
