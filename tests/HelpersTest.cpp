#include "tests/Library.h"

#include <numeric>

// What the chip variants make of port bitmaps and profiles, and what they write to the chip.
namespace QuarraTest {
namespace {

using Ivrel::IntfId;
using QuarraTypes::QuarraPort;
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

template <typename Call>
std::string rangeErrorOf( Call call ) {
   try {
      call();
   } catch ( const Nodra::RangeError &error ) {
      return error.what();
   }
   return "none";
}

const std::string modIdText =
   "QuarraCentral::ModId::value < QuarraCentral::ModId::min or > QuarraCentral::ModId::null not allowed";
const std::string portText = "U10::value < 0 or > 0x03ff not allowed";

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

   // The interface group of the bits.
   IntfGroupInfo::PtrConst ofBits( U16 id, const Ports &bits, bool ethernet = false ) {
      bcm_pbmp_t pbmp{};
      for ( const U32 bit : bits ) {
         chip->pbmpPortAdd( pbmp, bit );
      }
      return manager->getIntfGroupFromPbmp( id, pbmp, ethernet );
   }

   // An interface with an ACL group key and a port.
   void interface( const std::string &name, U16 key, const QuarraPort &port ) {
      scsd->quarraIntfToAclGroupKeyIs( IntfId( name ), key );
      scsd->quarraIntfToPortIs( IntfId( name ), port );
   }
   void cpuInterface( const std::string &name, const QuarraPort &port ) {
      scsd->quarraIntfToCpuPortIs( IntfId( name ), port );
   }

   // Writes the qualifier of the given bits, of bitmaps of `size` bits, into the TCAM entry.
   void qualify( U16 id, const Ports &data, const Ports &mask, U32 size, U32 maskSize = 0 ) {
      const auto classId = bitmapQualifierFactory();
      classId->dataIs( 0, size, Vesk::HBitmap::BitState::clear );
      classId->maskIs( 0, maskSize ? maskSize : size, Vesk::HBitmap::BitState::clear );
      for ( const U32 bit : data ) {
         classId->data()->set( bit );
      }
      for ( const U32 bit : mask ) {
         classId->mask()->set( bit );
      }
      helper->setClassIdQualifier( 0, id, entry, classId );
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
   EXPECT_EQ( portsOf( ofBits( aclGroup, { 600, 601, 2047 } ) ), ModPorts( { { 1, 600 } } ) )
      << "bits of none";
   EXPECT_EQ( portsOf( ofBits( vfpGroup, { 600 } ) ), ModPorts( { { 1, 600 } } ) );
   EXPECT_EQ( portsOf( ofBits( ifpGroup, { 600 } ) ), ModPorts( { { 1, 17 } } ) ) << "a source-trunk map";
   interface( "D", 600, { 2, 0, 18, 0 } );
   EXPECT_EQ( portsOf( ofBits( aclGroup, { 600 } ) ), ModPorts( { { 2, 600 } } ) ) << "the first of two";
   cpuInterface( "Cpu2", { 4, 0, 600, 0 } );
   cpuInterface( "Cpu1", { 3, 0, 600, 0 } );
   EXPECT_EQ( portsOf( ofBits( ifpGroup, { 600 } ) ), ModPorts( { { 3, 600 } } ) ) << "the CPU's wins";
   EXPECT_EQ( portsOf( ofBits( aclGroup, {} ) ), ModPorts() );
   const auto ethernet = ofBits( aclGroup, { 1, 600 }, true );
   EXPECT_TRUE( ethernet->ethernet() && !ethernet->portIds() );
   scsd->quarraIntfToPortDel( IntfId( "D" ) );
   EXPECT_ABORT( ofBits( aclGroup, { 600 } ), "failed: scsd()->quarraIntfToPortHas( intfId )\n" );
   manager->portsHelperIs( nullptr );
   EXPECT_EQ( ofBits( aclGroup, { 1 } ), nullptr );
   EXPECT_EQ( manager->getIntfGroupFromIntfProfile( nullptr ), nullptr );
}

// A module id out of range is reported before a port out of range, whatever the compiler.
TEST_F( Helpers, RefuseBitsOutOfRange ) {
   bringUp( "sdk6" );
   interface( "module", 600, { 65, 0, 5, 0 } );
   interface( "port", 1024, { 1, 0, 5, 0 } );
   interface( "both", 1025, { 65, 0, 5, 0 } );
   EXPECT_EQ( rangeErrorOf( [ & ] { ofBits( aclGroup, { 600 } ); } ), modIdText );
   EXPECT_EQ( rangeErrorOf( [ & ] { ofBits( aclGroup, { 1024 } ); } ), portText );
   EXPECT_EQ( rangeErrorOf( [ & ] { ofBits( aclGroup, { 1025 } ); } ), modIdText );
   scsd->quarraCpuModPortIs( { 65, 1024 } );
   EXPECT_EQ( rangeErrorOf( [ & ] { helper->populateCpuIntfGroup( ports( {} ) ); } ), modIdText );
}

TEST_F( Helpers, KeepTheProfilesPortsOfThisChip ) {
   const auto profile = std::make_shared<IntfProfile>();
   for ( const U16 module : { U16{ 0 }, U16{ 1 }, U16{ 29 }, U16{ 30 }, U16{ 34 }, U16{ 35 }, U16{ 40 } } ) {
      profile->portIdIs( QuarraModPort( module, 9 ) );
   }
   const auto kept = [ & ] { return portsOf( manager->getIntfGroupFromIntfProfile( profile ) ); };
   bringUp( "sdk6" );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "*/4" );
   EXPECT_EQ( kept(), ModPorts( { { 0, 9 }, { 30, 9 }, { 34, 9 } } ) );
   EXPECT_TRUE( trace.has( "getIntfGroupFromIntfProfileadding port = 9" ) );
   EXPECT_TRUE( trace.has( "getIntfGroupFromIntfProfileignoring port = 9" ) );
   getQuarraTcamCommonData()->modIdIs( U16{ 40 } );
   scsd->quarraCpuModPortIs( { 50, 1 } );
   profile->cpuIs( true );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 }, { 0, 9 }, { 30, 9 }, { 34, 9 }, { 40, 9 }, { 50, 1 } } ) );
   profile->allEthernetIs( true );
   const auto ethernet = manager->getIntfGroupFromIntfProfile( profile );
   EXPECT_TRUE( ethernet->ethernet() && !ethernet->portIds() );
   bringUp( "hsdk" );
   profile->allEthernetIs( false );
   getQuarraTcamCommonData()->modIdIs( std::nullopt );
   EXPECT_EQ( kept(), ModPorts( { { 0, 0 }, { 0, 9 } } ) );
}

TEST_F( Helpers, WriteSourceTrunkMapQualifiersAsAWordAndAMask ) {
   bringUp( "sdk6" );
   chip->fieldEntryCreate( 0, entry );
   group( ifpGroup, { .type = ifpSourceTrunkMap } );
   group( vfpGroup, { .type = vfpSourceTrunkMap } );
   qualify( ifpGroup, { 0, 2 }, { 0, 1, 2, 3 }, 16 );
   EXPECT_EQ( tcamEntry().kind, QuarraSimulator::TcamEntry::Kind::interfaceClassPort );
   EXPECT_EQ( std::pair( tcamEntry().data, tcamEntry().mask ), std::pair( 5u, 15u ) );
   qualify( vfpGroup, { 33 }, { 3, 33 }, 40 );
   EXPECT_EQ( std::pair( tcamEntry().data, tcamEntry().mask ), std::pair( 2u, 10u ) ) << "bit 33 is bit 1";
   qualify( ifpGroup, {}, {}, 16 );
   EXPECT_EQ( tcamEntry().mask, 0u ) << "nothing to match is no fault here";
}

TEST_F( Helpers, WriteAclGroupQualifiersAsListsOfBits ) {
   for ( const auto *variant : { "sdk6", "hsdk" } ) {
      bringUp( variant, { .flexible = 32, .fixed = 48 } );
      chip->fieldEntryCreate( 0, entry );
      group( aclGroup, {} );
      group( 501, { .type = aclGroupFixedWidth } );
      Nodra::MemoryTrace trace;
      Nodra::traceLevelsIs( "QuarraTcamPortsHelper/1" );
      qualify( aclGroup, { 1, 40 }, { 1, 2, 40, 79 }, 80 );
      EXPECT_EQ( tcamEntry().dataBits, Ports( { 1, 40 } ) );
      EXPECT_EQ( tcamEntry().maskBits, Ports( { 1, 2, 40, 79 } ) );
      qualify( 501, { 3 }, { 3 }, 4 );
      EXPECT_EQ( tcamEntry().maskBits, Ports( { 3 } ) );
      EXPECT_TRUE( trace.has( "setClassIdQualifier TcamGroupId: 501 EntryId: 7 ClassIdQualfier data: 0x8 "
                              "ClassIdQualfier mask: 0x8" ) );
      EXPECT_TRUE( trace.has(
         std::string( "qualifySubPortGroupIdsunit 0 num data bits: 2 num mask bits: 4" ) +
         ( chip->callCounts().contains( "vm_field_qualify_SubportGroupIds" ) ? "" : "classIdSize:80" ) ) );
   }
}

TEST_F( Helpers, RefuseQualifiersThatMakeNoSense ) {
   bringUp( "sdk6", { .flexible = 32, .fixed = 32 } );
   group( aclGroup, {} );
   group( 501, { .type = classIdInvalid } );
   group( 502, { .type = classIdMax } );
   EXPECT_ABORT( qualify( aclGroup, { 1 }, {}, 64 ), "numSetMaskBits && numSetDataBits" );
   EXPECT_ABORT( qualify( aclGroup, {}, { 1 }, 64 ), "numSetMaskBits && numSetDataBits" );
   EXPECT_ABORT( qualify( aclGroup, { 1, 2 }, { 1 }, 64 ), "numSetDataBits <= numSetMaskBits" );
   EXPECT_ABORT( qualify( aclGroup, { 1 }, { 1 }, 65 ), "classId->data()->size() <= classIdSize" );
   EXPECT_ABORT( qualify( aclGroup, { 1 }, { 1 }, 64, 63 ),
                 "classId->data()->size() == classId->mask()->size()" );
   EXPECT_ABORT( qualify( 501, { 1 }, { 1 }, 64 ), "0 && \"Unknown class Id\"" );
   EXPECT_ABORT( qualify( 502, { 1 }, { 1 }, 64 ), "0 && \"Unknown class Id\"" );
   EXPECT_ABORT( qualify( 503, { 1 }, { 1 }, 64 ), "!!classIdConfig" );
}

TEST_F( Helpers, OfSdk6GiveABitToTheListedPortsOnly ) {
   bringUp( "sdk6" );
   const auto calls = [ & ] { return chip->callCounts()[ "bcm_subport_port_group_subport_multi_set" ]; };
   program( 3, ports( { 5, 7 } ) );
   program( 63, ports( { 7 } ) );
   program( 3, ports( { 7, 9 } ) );
   EXPECT_EQ( portsWith( 3 ), Ports( { 7, 9 } ) );
   program( 3, ports( {} ) );
   EXPECT_EQ( calls(), 4u ) << "an empty list is a call too";
   EXPECT_EQ( portsWith( 3 ), Ports() );
   EXPECT_EQ( portsWith( 63 ), Ports( { 7 } ) );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "*/1-4" );
   program( 3, allEthernet() );
   EXPECT_EQ( portsWith( 3 ), from( 1, 511 ) );
   EXPECT_EQ( calls(), 5u );
   EXPECT_TRUE( trace.has( "QuarraTcamSdk6PortsHelper::setAclGroupClassId unit: 0 bitToSet: 3" ) );
   EXPECT_TRUE( trace.has( "All ethernet is set, force programming to all 455 GPPs" ) );
   const auto mixed = ports( { 1 } );
   mixed->ethernetIs( true );
   EXPECT_ABORT( program( 3, mixed ), "!intfGroup->portIds()" );
   EXPECT_ABORT( program( 3, nullptr ), "!!intfGroup" );
}

TEST_F( Helpers, AddTheCpusPortsUpToTheFirstOutOfRange ) {
   const auto populated = [ & ]( const Quarra::QuarraCpuPort &last, const std::string &error ) {
      scsd->quarraCpuModPortDelAll();
      scsd->quarraCpuModPortIs( { 1, 2 } );
      scsd->quarraCpuModPortIs( last );
      const auto intfGroup = ports( { 600 } );
      EXPECT_EQ( rangeErrorOf( [ & ] { helper->populateCpuIntfGroup( intfGroup ); } ), error );
      return portsOf( intfGroup );
   };
   bringUp( "sdk6" );
   EXPECT_EQ( populated( { 64, 1023 }, "none" ), ModPorts( { { 0, 600 }, { 1, 2 }, { 64, 1023 } } ) );
   EXPECT_EQ( populated( { 65, 1 }, modIdText ), ModPorts( { { 0, 600 }, { 1, 2 } } ) );
   EXPECT_EQ( populated( { 2, 1024 }, portText ), ModPorts( { { 0, 600 }, { 1, 2 } } ) );
   bringUp( "hsdk" );
   EXPECT_EQ( populated( { 3, 255 }, "none" ), ModPorts( { { 0, 600 }, { 1, 258 }, { 3, 1023 } } ) )
      << "system ports";
   EXPECT_EQ( populated( { 4, 0 }, portText ), ModPorts( { { 0, 600 }, { 1, 258 } } ) );
   EXPECT_EQ( populated( { 65, 0 }, modIdText ), ModPorts( { { 0, 600 }, { 1, 258 } } ) );
}

TEST_F( Helpers, OfHsdkRewriteOneBitOnEverySystemPort ) {
   bringUp( "hsdk" );
   program( 31, ports( { 2, 3, 300 } ) );
   program( 30, ports( { 3 } ) );
   program( 33, ports( { 3, 4 } ) );
   EXPECT_EQ( chip->tableEntries(), Ports( { 2, 3, 4 } ) ) << "none to clear a bit, none past the last port";
   EXPECT_EQ( chip->digest(), "ING_SYSTEM_PORT_TABLE 2 ACL_GROUP_BITMAP 2147483648\n"
                              "ING_SYSTEM_PORT_TABLE 3 ACL_GROUP_BITMAP 3221225472 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 4 ACL_GROUP_CLASS_ID_0 2\n" );
   auto before = chip->callCounts();
   program( 31, ports( { 4, 5 } ) ); // cleared on 2 and 3, set on 4, inserted on 5
   EXPECT_EQ( chip->digest(), "ING_SYSTEM_PORT_TABLE 3 ACL_GROUP_BITMAP 1073741824 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 4 ACL_GROUP_BITMAP 2147483648 ACL_GROUP_CLASS_ID_0 2\n"
                              "ING_SYSTEM_PORT_TABLE 5 ACL_GROUP_BITMAP 2147483648\n" );
   auto calls = chip->callCounts();
   for ( auto &[ function, count ] : calls ) {
      count -= before[ function ];
   }
   EXPECT_EQ( calls, ( std::map<std::string, U64>{ { "bcmlt_entry_allocate", 256 },
                                                   { "bcmlt_entry_field_add", 256 + 4 },
                                                   { "bcmlt_entry_commit", 256 + 4 },
                                                   { "bcmlt_entry_field_get", 3 },
                                                   { "bcmlt_entry_free", 256 } } ) );
   program( 159, ports( { 255 } ) );
   EXPECT_EQ( portsWith( 159 ), Ports( { 255 } ) );
   EXPECT_ABORT( program( 160, ports( {} ) ), "invalid bit to set" );
   EXPECT_ABORT( program( 1, nullptr ), "!!intfGroup" );
}

TEST_F( Helpers, OfHsdkTakeAllEthernetAsAllButTheCpu ) {
   bringUp( "hsdk" );
   scsd->quarraCpuModPortIs( { 0, 9 } );
   program( 40, ports( { 9 } ) );
   program( 40, allEthernet() );
   auto expected = from( 1, 255 );
   std::erase( expected, 9u );
   EXPECT_EQ( portsWith( 40 ), expected ) << "cleared on the CPU's port that had it";
   EXPECT_EQ( chip->tableEntries(), from( 1, 255 ) );
}

// A look-up that fails tells only that there is no entry to change. Every other failure ends the process.
TEST_F( Helpers, OfHsdkTolerateAFailedLookUpOnly ) {
   bringUp( "testHsdk" );
   program( 33, ports( { 0 } ) );
   chip->failCall( 1, QuarraSimulator::Code::busy, "bcmlt_entry_commit" );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPortsHelper/2-4" );
   program( 33, ports( { 1 } ) );
   EXPECT_EQ( portsWith( 33 ), Ports( { 0, 1 } ) );
   EXPECT_TRUE( trace.has( " Couldn't find h/w entry for system source: 0 unit: 0" ) );
   EXPECT_TRUE( trace.has( "setAclGroupClassId system source: 1 unit: 0bit: 33clear:0" ) );
   EXPECT_TRUE( trace.has( "setAclGroupClassIdbit_position: 1 entry_grp_bmap: 2 group_bitmap:2" ) );
   Nodra::traceLevelsDelAll();
   const struct {
      U64 nth; // the call of the function that fails, when port 0 has an entry and port 2 gets one
      std::string text;
   } failures[] = {
      { 1, "bcmlt_entry_allocate( unit, \"ING_SYSTEM_PORT_TABLE\", &systemPortEntry )" },
      { 1, "bcmlt_entry_field_add( systemPortEntry, \"SYSTEM_SOURCE\", system_source )" },
      { 2, "bcmlt_entry_field_add( systemPortEntry, field_name, entry_grp_bmap )" },
      { 1, "bcmlt_entry_field_get( systemPortEntry, field_name, &entry_grp_bmap )" },
      { 3, "bcmlt_entry_field_get( systemPortEntry, field_name.c_str(), &entry_grp_bmap )" },
      { 2, "bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_UPDATE, BCMLT_PRIORITY_NORMAL )" },
      { 6, "bcmlt_entry_commit( systemPortEntry, BCMLT_OPCODE_INSERT, BCMLT_PRIORITY_NORMAL )" },
      { 1, "bcmlt_entry_free( systemPortEntry )" },
   };
   for ( const auto &[ nth, text ] : failures ) {
      const auto call = [ &, nth = nth, function = text.substr( 0, text.find( '(' ) ) ] {
         chip->failCall( nth, QuarraSimulator::Code::internal, function );
         program( 33, ports( { 2 } ) );
      };
      EXPECT_ABORT( call(), " " + text + " API ERROR:Internal error (-1)\n" );
   }
}

TEST_F( Helpers, OfSdk6FailWithTheTextOfTheCall ) {
   bringUp( "sdk6" );
   group( aclGroup, {} );
   group( ifpGroup, { .type = ifpSourceTrunkMap } );
   EXPECT_ABORT( program( 64, ports( { 1 } ) ),
                 " bcm_subport_port_group_subport_multi_set( unit, bitToSet, size, sdkPorts.data() ) API "
                 "ERROR:Invalid parameter (-4)\n" );
   EXPECT_ABORT( qualify( aclGroup, { 1 }, { 1 }, 64 ),
                 " vm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
                 "numSetMaskBits, &maskBits[ 0 ] ) API ERROR:Entry not found (-7)\n" );
   EXPECT_ABORT( qualify( ifpGroup, { 1 }, { 1 }, 16 ),
                 " bcm_field_qualify_InterfaceClassPort( unit, entryId, interfaceClassPortData, "
                 "interfaceClassPortMask ) API ERROR:Entry not found (-7)\n" );
   bringUp( "hsdk" );
   group( aclGroup, {} );
   EXPECT_ABORT( qualify( aclGroup, { 1 }, { 1 }, 64 ),
                 " velmor_bcm_field_qualify_SubportGroupIds( unit, entryId, numSetDataBits, &dataBits[ 0 ], "
                 "numSetMaskBits, &maskBits[ 0 ], classIdSize ) API ERROR:Entry not found (-7)\n" );
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
   const auto mixed = ports( { 1 } );
   mixed->ethernetIs( true );
   EXPECT_ABORT( program( 3, mixed ), "!intfGroup->portIds()" );
   EXPECT_ABORT( program( 3, nullptr ), "!!intfGroup" );
}

TEST_F( Helpers, OfTheHsdkTwinReadTheTableBackIntoTheShadow ) {
   bringUp( "testHsdk", { .flexible = 32, .fixed = 32 } );
   auto &twin = dynamic_cast<QuarraTcamTestHSDKPortsHelper &>( *helper );
   EXPECT_EQ( twin.aclGroupShadows(), 256u );
   EXPECT_EQ( twin.aclGroupShadow( 255 )->size(), 160u );
   program( 33, ports( { 5 } ) );
   for ( const U16 port : { U16{ 5 }, U16{ 6 } } ) {
      for ( const U32 stray : { 31u, 32u, 47u, 48u } ) {
         twin.aclGroupShadow( port )->set( stray );
      }
   }
   program( 40, ports( { 5 } ) );
   EXPECT_EQ( twin.aclGroupShadow( 5 )->setBits(), Ports( { 31, 33, 40, 48 } ) ) << "the field's bits";
   EXPECT_EQ( twin.aclGroupShadow( 6 )->setBits(), Ports( { 31, 32, 47, 48 } ) ) << "a port without entry";
   EXPECT_EQ( portsWith( 40 ), Ports( { 5 } ) );
   twin.aclGroupShadowDel( 5 );
   program( 2, ports( { 5 } ) );
   EXPECT_EQ( twin.aclGroupShadow( 5 )->size(), 64u );
   EXPECT_EQ( twin.aclGroupShadow( 5 )->setBits(), Ports( { 2 } ) );
}

} // namespace
} // namespace QuarraTest
