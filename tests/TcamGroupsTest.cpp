#include "tests/Library.h"

#include <cstdlib>
#include <set>
#include <tuple>
#include <typeinfo>

// Which TCAM groups each chip variant has, how their class IDs are shaped, and what is reserved in advance.
namespace QuarraTest {
namespace {

using Texts = std::set<std::string>;

// Whether a group is one of `first` to `last` whose bit is set in the mask; bit 0 is the group `base`.
bool isIn( U64 mask, U32 base, U32 first, U32 last, U32 group ) {
   return group >= first && group <= last && ( ( mask >> ( group - base ) ) & 1u );
}
bool isRillway( U32 group ) {
   return isIn( 0x405F, 88, 88, 102, group );
}
bool isSystem( U32 group ) {
   return group >= 1 && group <= 6;
}

// The shape of each group by the chips' bit masks: another statement of the library's tables. The type, the
// pool bits, the pool width and the strategy.
using Answers = std::tuple<ClassIdType, U32, int, ClassIdAllocationStrategy>;

Answers sdk6Answers( U32 group, bool twin ) {
   const bool ifp = group == 51 || group == 120 || group == 129 || isRillway( group );
   const auto type = ifp ? ifpSourceTrunkMap : aclGroupFlexibleWidth;
   const bool bitwise = isSystem( group ) || isIn( 0x9983C0000006000, 0, 13, 59, group ) ||
                        isIn( 0x12000010405F, 88, 88, 132, group ) || ( twin && group == 15 );
   return { group == 238 ? vfpSourceTrunkMap : type, isRillway( group ) ? 32u : 0u, bitwise ? 1 : 4,
            ifp || isSystem( group ) ? allocateOnInit : allocateOnDemand };
}

Answers hsdkAnswers( U32 group, bool twin ) {
   const bool flexible =
      isSystem( group ) || isRillway( group ) || ( twin && isIn( 0x804000008C00, 0, 0, 47, group ) );
   const bool bitwise = isSystem( group ) || isIn( 0x999BC0000006000, 0, 13, 59, group ) ||
                        isIn( 0x10000030405F, 88, 88, 132, group ) || ( twin && group == 15 );
   const int width = bitwise ? 1 : 8;
   return { flexible ? aclGroupFlexibleWidth : aclGroupFixedWidth, 0,
            twin && isIn( 0x804000000C00, 0, 0, 47, group ) ? 4 : width,
            isSystem( group ) ? allocateOnInit : allocateOnDemand };
}

// What a chip of a generation has beside the groups that all have.
struct Expectations {
   Answers ( *answers )( U32 group, bool twin );
   std::set<TcamGroupId> moreGroups;
   std::size_t groups;
   std::size_t groupsOfSimulation; // that a simulated switch adds
   std::map<U16, Texts> rules;
   std::string firstRuleOfGroup2;
   std::pair<std::optional<U16>, std::optional<U16>> modIds;
   U16 systemPortMax;
};

const Expectations sdk6Expectations = {
   sdk6Answers,
   {},
   54,
   3,
   { { 1, { "Openflow interface entry" } },
     { 2, { "DHCP Snooping group", "Mlag control plane", "PBMP_E_ALL for l3 ctrl group", "L4 Micro BFD" } },
     { 3, { "PBMP_E_ALL for dot1x group", "MACsec EAPoL Rule", "MACsec EAPoL Duplicate Rule" } },
     { 5, { "EAPoL ARP Ins drop" } },
     { 6,
       { "PBMP_E_ALL for l2 ctrl group", "MACsec EAPoL Rule", "MACsec EAPoL Duplicate Rule",
         "Dot1x EAPoL and MBA Rule", "Dot1x EAPoL Rule" } },
     { 51, { "Broadcast skip rule" } },
     { 88, { "PBMP_E_ALL for a Rillway group" } },
     { 89, { "PBMP_E_ALL for a Rillway group" } },
     { 90, { "PBMP_E_ALL for a Rillway group" } },
     { 91, { "PBMP_E_ALL for a Rillway group" } },
     { 92, { "PBMP_E_ALL for a Rillway group" } },
     { 94, { "PBMP_E_ALL for a Rillway group" } },
     { 102, { "PBMP_E_ALL for a Rillway group" } },
     { 129, { "IpLocking Dot1x bypass rule" } } },
   "DHCP Snooping group",
   { 30, 35 },
   0,
};

const Expectations hsdkExpectations = {
   hsdkAnswers,
   { 44, 45, 47, 48 },
   58,
   2,
   { { 2, { "PBMP_E_ALL for l3 ctrl group", "CPU for l3 ctrl group" } },
     { 6,
       { "MACsec EAPoL Rule", "LLDPDU Priority Elevator", "MicroBfdPdu Priority Elevator",
         "LACPDU Priority Elevator", "BPDU Priority Elevator", "Mlag Control Trap rule",
         "Port Security Protect Rule", "Port Security Mac Move Rule", "PTPv2 Management Messages",
         "PTPv2/v1 Messages" } } },
   "CPU for l3 ctrl group",
   { 0, 1 },
   255,
};

const Expectations &expectationsOf( Sdk::Generation generation ) {
   switch ( generation ) {
   case Sdk::Generation::sdk6:
      return sdk6Expectations;
   case Sdk::Generation::hsdk:
      return hsdkExpectations;
   }
   std::abort(); // no enumerator
}

class TcamGroups : public LibraryTest {
 protected:
   // Calls the test with each variant, brought up.
   template <typename Test>
   void onEveryVariant( Test test ) {
      for ( const auto &variant : QuarraAgent::variants() ) {
         SCOPED_TRACE( variant.name );
         bringUp( variant.name );
         test( expectationsOf( variant.generation.sdk ), variant.twin );
      }
   }
};

TEST_F( TcamGroups, AreShapedAsTheBitMasksSay ) {
   onEveryVariant( [ & ]( const Expectations &expected, bool twin ) {
      helper->initializeTcamGroupsInfo();
      for ( U16 id = 0; id <= 300; ++id ) {
         const Answers answers = { helper->getClassIdTypeForGroup( id ), helper->getPoolBitsForGroup( id ),
                                   helper->getPoolWidthForGroup( id ),
                                   helper->getAllocationStrategyForGroup( id ) };
         EXPECT_EQ( answers, expected.answers( id, twin ) ) << id;
         EXPECT_EQ( helper->getNumberOfPoolsForGroup( id ), 1 ) << id;
         EXPECT_EQ( helper->isSourceTrunkMapGroup( id ), std::get<0>( answers ) == ifpSourceTrunkMap ) << id;
         if ( const auto config = getClassIdInfoForTcamGroup( id ) ) {
            const Answers registered = { config->classIdType(), config->classIdPoolBits(),
                                         config->classIdPoolWidth(), config->allocationType() };
            EXPECT_EQ( registered, answers ) << id;
            EXPECT_EQ( config->classIdNumPools(), 1 );
         }
      }
   } );
}

TEST_F( TcamGroups, OfAChipAreRegisteredByNumber ) {
   const std::set<TcamGroupId> everywhere = { 1,  2,  3,  5,  6,  10, 11,  12,  13,  14,  15,  16, 17, 18,
                                              19, 20, 21, 22, 23, 24, 25,  26,  27,  28,  29,  30, 31, 32,
                                              33, 38, 39, 40, 42, 43, 51,  52,  53,  54,  55,  56, 59, 66,
                                              88, 89, 90, 91, 92, 94, 102, 108, 109, 129, 132, 246 };
   onEveryVariant( [ & ]( const Expectations &expected, bool ) {
      for ( const bool simulation : { false, true } ) {
         getQuarraTcamCommonData()->simulationIs( simulation );
         classIdTcamGroupsInfo.clear();
         helper->initializeTcamGroupsInfo();
         auto groups = everywhere;
         if ( simulation ) {
            groups.insert( { 47, 120, 238 } );
         }
         groups.insert( expected.moreGroups.begin(), expected.moreGroups.end() );
         EXPECT_EQ( getTcamGroups(), std::vector( groups.begin(), groups.end() ) );
         EXPECT_EQ( getTcamGroups().size(), expected.groups + expected.groupsOfSimulation * simulation );
      }
   } );
}

TEST_F( TcamGroups, KnowTheirSystemRulesInAdvance ) {
   onEveryVariant( [ & ]( const Expectations &expected, bool ) {
      helper->initializeTcamGroupsInfo();
      helper->populateStaticClassIdReservation( 2 );
      group( 4, {} );
      helper->populateStaticClassIdReservation( 4 );
      std::map<U16, Texts> reserved;
      for ( const auto &[ id, config ] : classIdTcamGroupsInfo ) {
         for ( const auto &[ requestKey, value ] : config->requestKey() ) {
            EXPECT_EQ( requestKey, key( requestKey.name() ) );
            EXPECT_TRUE( value );
            reserved[ id.value() ].insert( requestKey.name() );
         }
      }
      EXPECT_EQ( reserved, expected.rules );
      EXPECT_EQ( getClassIdInfoForTcamGroup( 2 )->requestKey().begin()->first,
                 key( expected.firstRuleOfGroup2 ) )
         << "ascending";
   } );
}

TEST_F( TcamGroups, AreThoseOfTheVariantThatTheFactoryMade ) {
   const std::type_info *const types[] = { &typeid( QuarraTcamSdk6PortsHelper ),
                                           &typeid( QuarraTcamHSDKPortsHelper ),
                                           &typeid( QuarraTcamTestSdk6PortsHelper ),
                                           &typeid( QuarraTcamTestHSDKPortsHelper ) };
   std::size_t variant = 0;
   onEveryVariant( [ & ]( const Expectations &expected, bool ) {
      const auto &made = *helper;
      EXPECT_EQ( typeid( made ), *types[ variant ] );
      EXPECT_EQ( std::pair( made.modIdLow(), made.modIdHigh() ), expected.modIds );
      EXPECT_EQ( made.systemPortMax(), expected.systemPortMax );
      EXPECT_EQ( made.scsd(), scsd );
      EXPECT_EQ( made.classIdSizes(), 0u );
      ++variant;
   } );
   const auto &hsdk = *QuarraAgent::variantOf( "hsdk" );
   const auto large = QuarraAgent::bringUpChip( hsdk, QuarraAgent::chipOf( hsdk.generation.chips[ 1 ] ) );
   EXPECT_EQ( hsdk.factory( large )->systemPortMax(), 1023 );
}

TEST_F( TcamGroups, OfNoVariantHaveNoShape ) {
   bringUp( "sdk6" );
   auto base = QuarraTcamPortsHelper( scsd );
   EXPECT_TRUE( base.setTcamGroups() == helper->setTcamGroups() );
   EXPECT_EQ( base.getAllocationStrategyForGroup( 3 ), allocateOnInit ) << "asks nobody";
   EXPECT_FALSE( base.modIdLow() || base.modIdHigh() || base.systemPortMax() );
}

} // namespace
} // namespace QuarraTest
