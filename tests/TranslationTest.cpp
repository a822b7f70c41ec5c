#include "tests/Library.h"

#include <functional>
#include <tuple>

#include "QuarraCommon/QuarraCommonUtil.h"

// The registry of groups, and the way from interfaces to chip ports and port bitmaps and back.
namespace QuarraTest {
namespace {

using Ivrel::IntfId;
using QuarraCentral::ChipInfo;
using QuarraTypes::QuarraPort;
using Sdk::PbmpKind;
using ::testing::ThrowsMessage;
using Ports = std::vector<U32>;

class Registry : public LibraryTest {
 protected:
   Registry() { classIdTcamGroupsInfo.clear(); }
   ~Registry() override { classIdTcamGroupsInfo.clear(); }

   static void add( U16 id, U8 width ) {
      addClassIdInfoToMap( id, getGroupConfigType( id, ifpSourceTrunkMap, 32, width, 2, allocateOnInit ) );
   }
};

TEST_F( Registry, KeepsTheFirstConfigurationOfAGroup ) {
   EXPECT_EQ( getTcamGroups(), std::vector<TcamGroupId>() );
   for ( const U16 id : { U16{ 300 }, U16{ 2 }, U16{ 10 } } ) {
      add( id, 3 );
   }
   add( 10, 4 );
   EXPECT_EQ( getTcamGroups(), std::vector<TcamGroupId>( { 2, 10, 300 } ) );
   const auto config = getClassIdInfoForTcamGroup( 10 );
   EXPECT_EQ( std::tuple( config->classIdPoolBits(), config->classIdPoolWidth(), config->classIdNumPools() ),
              std::tuple( 32u, 3, 2 ) );
   EXPECT_EQ( std::tuple( config->classIdType(), config->allocationType(), config->tcamGroupId() ),
              std::tuple( ifpSourceTrunkMap, allocateOnInit, TcamGroupId( 10 ) ) );
}

TEST_F( Registry, AnswersAnUnknownGroupWithNullAndOneTraceLine ) {
   add( 10, 3 );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPorts/0-9" );
   EXPECT_NE( getClassIdInfoForTcamGroup( 10 ), nullptr );
   EXPECT_EQ( trace.lines().size(), 0u );
   EXPECT_EQ( getClassIdInfoForTcamGroup( 11 ), nullptr );
   EXPECT_EQ( trace.lines().size(), 1u );
   EXPECT_TRUE( trace.has( "getClassIdInfoForTcamGroupclassIdTcamGroupsInfo not found for 11" ) );
   add( 11, 3 );
   EXPECT_EQ( trace.lines().back().level, 9u );
}

TEST_F( Registry, KnowsTheSizeOfEverySpaceAndTheFieldOfEveryBit ) {
   bringUp( "hsdk", { .flexible = 10, .fixed = 20, .sourceTrunkMap = 5 } );
   const auto chipInfo = getQuarraTcamCommonData()->chipInfo();
   EXPECT_EQ( getClassIdSize( aclGroupFlexibleWidth, chipInfo ), 10 );
   EXPECT_EQ( getClassIdSize( aclGroupFixedWidth, chipInfo ), 20 );
   EXPECT_EQ( getClassIdSize( ifpSourceTrunkMap, chipInfo ), 5 );
   EXPECT_EQ( getClassIdSize( vfpSourceTrunkMap, chipInfo ), 5 );
   for ( U8 bit = 0; bit < 160; ++bit ) {
      const std::string digit( 1, "01234567"[ bit < 32 ? 0 : ( bit - 32 ) / 16 ] );
      EXPECT_EQ( getAclGroupFieldType( bit ), bit < 32 ? "ACL_GROUP_BITMAP" : "ACL_GROUP_CLASS_ID_" + digit );
   }
}

constexpr U16 unit = 3;
constexpr U32 kindPort = 700;
constexpr ChipInfo chipInfo = { 70, 1 };
constexpr ChipInfo laterChip = { 71, 1 };

// A chip each of whose port bitmaps has one port: 700 and up, by the kind.
class KindsChip : public QuarraSimulator::SimulatedChip {
 public:
   KindsChip() : SimulatedChip( { .unit = unit } ) {
      for ( U32 kind = 0; kind < pbmps.size(); ++kind ) {
         pbmpPortAdd( pbmps[ kind ], kindPort + kind );
      }
   }
   const bcm_pbmp_t &pbmp( int asked, PbmpKind kind ) const override {
      EXPECT_EQ( asked, int{ unit } );
      return pbmps[ static_cast<U32>( kind ) ];
   }

   std::array<bcm_pbmp_t, 5> pbmps{};
};

class Translation : public LibraryTest {
 protected:
   // A chip state without interfaces, whose first chip is module 2 of the mode, and whose second chip is of
   // the other.
   void start( bool isVexProduct ) {
      chip.reset();
      chip = std::make_unique<KindsChip>();
      scsd = std::make_shared<Quarra::QuarraCommonSmData>();
      scsd->quarraModIdIs( unit, { chipInfo, 2 } );
      scsd->quarraModIdIs( unit + 1, { laterChip, 9 } );
      scsd->quarraModIdToUnitIs( 2, unit );
      scsd->defaultChipIs( 77 );
      modeIs( chipInfo, isVexProduct );
      modeIs( laterChip, !isVexProduct );
   }
   static void modeIs( const ChipInfo &info, bool isVexProduct ) {
      const auto attributes = std::make_shared<QuarraCentral::ChipAttributes>();
      attributes->isVexProductIs( isVexProduct );
      QuarraCentral::quarraAttributes()->chipAttributesIs( info, attributes );
   }

   // What the chip gives for a kind.
   static Ports of( PbmpKind kind ) { return { kindPort + static_cast<U32>( kind ) }; }
};

Ports portsIn( const bcm_pbmp_t &pbmp ) {
   Ports found;
   for ( U32 port = 0; port < 2048; ++port ) {
      if ( ( pbmp.pbits[ port / 32 ] >> port % 32 ) & 1u ) {
         found.push_back( port );
      }
   }
   return found;
}

const IntfId a( "a" );
const IntfId b( "b" );
const IntfId c( "c" );
const QuarraPort invalidPort( 0xdead, 0xffff, 1023, 0 );

TEST_F( Translation, OfAnOrdinaryChipIsThatOfThePortMaps ) {
   start( false );
   scsd->quarraIntfToPortIs( a, { 1, 2, 17, 4 } );
   scsd->quarraIntfToPortCacheIs( b, { 5, 6, 18, 8 } );
   scsd->quarraIntfToAclGroupKeyIs( c, 5 );
   scsd->quarraIntfToAclGroupKeyCacheIs( c, 5 );
   EXPECT_TRUE( intfToPortHas( scsd, a ) && intfToPortCacheHas( scsd, b ) );
   EXPECT_FALSE( intfToPortHas( scsd, b ) || intfToPortHas( scsd, c ) );
   EXPECT_FALSE( intfToPortCacheHas( scsd, a ) || intfToPortCacheHas( scsd, c ) );
   EXPECT_EQ( intfToPort( scsd, a ), QuarraPort( 1, 2, 17, 4 ) );
   EXPECT_EQ( intfToPort( scsd, c ), invalidPort );
   EXPECT_EQ( intfToPortCache( scsd, b ), QuarraPort( 5, 6, 18, 8 ) );
   EXPECT_EQ( intfToPortCache( scsd, a ), invalidPort );
   scsd->quarraPortToIntfIs( { 1, 2, 5, 4 }, b );
   EXPECT_EQ( portToIntf( scsd, { 1, 2, 5, 4 } ), b );
   EXPECT_EQ( portToIntf( scsd, { 1, 2, 5, 3 } ), IntfId() ) << "every field counts";
}

TEST_F( Translation, OfAVexProductGoesByAclGroupKeys ) {
   start( true );
   scsd->quarraIntfToPortIs( a, { 1, 2, 17, 4 } );
   scsd->quarraIntfToPortCacheIs( a, { 1, 2, 17, 4 } );
   scsd->quarraPortToIntfIs( { 1, 2, 17, 4 }, a );
   EXPECT_FALSE( intfToPortHas( scsd, a ) || intfToPortCacheHas( scsd, a ) );
   EXPECT_EQ( intfToPort( scsd, a ), invalidPort );
   EXPECT_EQ( intfToPortCache( scsd, a ), invalidPort );
   EXPECT_EQ( portToIntf( scsd, { 1, 2, 17, 4 } ), IntfId() );
   scsd->quarraIntfToAclGroupKeyIs( IntfId( "0" ), 1021 );
   scsd->quarraIntfToAclGroupKeyIs( c, 1023 );
   scsd->quarraIntfToAclGroupKeyIs( a, 1023 );
   scsd->quarraIntfToAclGroupKeyCacheIs( b, 1022 );
   EXPECT_TRUE( intfToPortHas( scsd, a ) && intfToPortCacheHas( scsd, b ) );
   EXPECT_EQ( intfToPort( scsd, a ), QuarraPort( 1, 2, 1023, 0 ) );
   EXPECT_EQ( intfToPort( scsd, c ), QuarraPort( 0xdead, 0xffff, 1023, 0 ) ) << "a key without a port";
   EXPECT_EQ( intfToPortCache( scsd, b ), QuarraPort( 2, 77, 1022, 0 ) ) << "the chip's module";
   EXPECT_EQ( portToIntf( scsd, { 9, 9, 1023, 9 } ), a ) << "the first of two";
   scsd->quarraIntfToAclGroupKeyIs( a, 1024 );
   scsd->quarraIntfToAclGroupKeyCacheIs( b, 1024 );
   const auto badPort = ThrowsMessage<Nodra::RangeError>(
      "QuarraTypes::QuarraPort::logicalPort < 0 or > QuarraTypes::QuarraPort::defaultPort not allowed" );
   EXPECT_THAT( [ & ] { intfToPort( scsd, a ); }, badPort );
   EXPECT_THAT( [ & ] { intfToPortCache( scsd, b ); }, badPort );
}

TEST_F( Translation, KeepsABitmapForEachKindAndTracesIt ) {
   start( false );
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "QuarraTcamPorts/8" );
   const struct {
      PbmpKind kind;
      std::string name;
      const bcm_pbmp_t &pbmp;
   } getters[] = {
      { PbmpKind::ethernet, "getPbmpEAll", getPbmpEAll( scsd ) },
      { PbmpKind::all, "getPbmpAll", getPbmpAll( scsd ) },
      { PbmpKind::cpu, "getPbmpCpu", getPbmpCpu( scsd ) },
      { PbmpKind::loopback, "getPbmpLbAll", getPbmpLbAll( scsd ) },
      { PbmpKind::frontPanel, "getPbmpPortAll", getPbmpPortAll( scsd ) },
   };
   for ( const auto &[ kind, name, pbmp ] : getters ) {
      EXPECT_EQ( portsIn( pbmp ), of( kind ) ) << name;
      std::string digits( 512, '0' );
      const U32 port = of( kind ).front();
      digits[ 511 - port / 4 ] = "1248"[ port % 4 ];
      EXPECT_TRUE( trace.has( name + " pbmp: 0x" + digits ) ) << name;
   }
}

TEST_F( Translation, OfAVexProductsBitmapsStartsFromWhatTheyHeld ) {
   start( false );
   getPbmpEAll( scsd );
   getPbmpAll( scsd );
   modeIs( chipInfo, true );
   auto expected = of( PbmpKind::ethernet );
   for ( U32 port = 511; port >= 1; --port ) {
      expected.insert( expected.begin(), port );
   }
   EXPECT_EQ( portsIn( getPbmpEAll( scsd ) ), expected ) << "added to";
   expected.insert( expected.begin(), 0 );
   EXPECT_EQ( portsIn( getPbmpAll( scsd ) ), expected ) << "a copy and port 0";
   EXPECT_EQ( portsIn( getPbmpPortAll( scsd ) ), of( PbmpKind::frontPanel ) ) << "the unit's in both modes";
   modeIs( chipInfo, false );
   EXPECT_EQ( portsIn( getPbmpEAll( scsd ) ), of( PbmpKind::ethernet ) ) << "the unit's replaces it";
}

// The ports are those of this test alone: what was active once stays so for the life of the process.
TEST_F( Translation, NeverForgetsAnActivePort ) {
   const auto isActive = [ & ]( U32 port ) {
      const auto active = portsIn( getActivePorts( scsd ) );
      return std::find( active.begin(), active.end(), port ) != active.end();
   };
   start( false );
   scsd->quarraIntfToPortIs( a, { 1, 2, 1019, 4 } );
   scsd->quarraIntfToAclGroupKeyIs( a, 1020 );
   EXPECT_TRUE( isActive( 1019 ) && !isActive( 1020 ) );
   scsd->quarraIntfToPortDel( a );
   EXPECT_TRUE( isActive( 1019 ) );
   start( true );
   scsd->quarraIntfToAclGroupKeyIs( b, 1021 );
   scsd->quarraIntfToPortIs( b, { 1, 2, 1022, 4 } );
   EXPECT_TRUE( isActive( 1021 ) && !isActive( 1022 ) && isActive( 1019 ) );
}

TEST_F( Translation, NeedsAModuleInRange ) {
   start( false );
   const std::vector<std::function<void( const Scsd & )>> getters = { getPbmpEAll, getPbmpAll, getPbmpCpu,
                                                                      getPbmpLbAll, getPbmpPortAll };
   for ( const auto &getter : getters ) {
      scsd->quarraModIdIs( unit, { chipInfo, 65 } );
      EXPECT_THAT( [ & ] { getter( scsd ); }, ThrowsMessage<Nodra::RangeError>(
                                                 "QuarraCentral::ModId::value < QuarraCentral::ModId::min or "
                                                 "> QuarraCentral::ModId::null not allowed" ) );
   }
}

TEST_F( Translation, OfModulePortsToSystemPortsIsTheChipsOwnWhereItHasOne ) {
   using namespace QuarraCentral;
   bringUp( "sdk6" );
   const auto sdk6 = getQuarraTcamCommonData()->chipInfo();
   EXPECT_EQ( SYSPORT_FROM_MODPORT( sdk6, 2, 5, 128 ), 0x205u );
   EXPECT_EQ( SYSPORT_FROM_MODPORT( sdk6, 2, 0, 128 ), 0x280u ) << "port 0 is the slot past the last port";
   EXPECT_EQ( SYSPORT_FROM_MODPORT( sdk6, 2, 0x105, 255 ), 0x205u ) << "the low 8 bits of the port";
   EXPECT_EQ( SYSPORT_FROM_MODPORT( { 99, 9 }, 2, 5, 128 ), 0x205u ) << "a chip without a profile";
   EXPECT_ABORT( SYSPORT_FROM_MODPORT( sdk6, 2, 5, 256 ), "maxPorts: 256invalid" );
   EXPECT_ABORT( SYSPORT_FROM_MODPORT( {}, 2, 5, 128 ), "chipInfo NULL" );
   EXPECT_ABORT( getMaxInterfacesPerSwitchChip( {} ), "chipInfo NULL" );
   EXPECT_ABORT( getMaxInterfacesPerSwitchChip( { 99, 9 } ), "activeProfile NULL for chip:" );
   EXPECT_ABORT( getMaxInterfacesPerSwitchChip( sdk6 ), "QuarraCommon DPCI NULL for chip:" );
   bringUp( "hsdk" );
   const auto hsdk = getQuarraTcamCommonData()->chipInfo();
   EXPECT_EQ( SYSPORT_FROM_MODPORT( hsdk, 2, 0, 256 ), 0x200u );
   EXPECT_EQ( getMaxInterfacesPerSwitchChip( hsdk ), 256u );
}

} // namespace
} // namespace QuarraTest
