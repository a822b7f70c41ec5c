#include <cstdio>
#include <fstream>

#include <unistd.h>

#include "Nodra/Trace.h"
#include "lab/TextFile.h"
#include "tests/Lines.h"

// The switch as a user sees it through `quarra-tcam batch`: what is shared, who wins, what fits, what is
// refused.
namespace QuarraTest {
namespace {

using ::testing::HasSubstr;

class BatchOnSdk6Twin : public LinesTest {
 protected:
   void SetUp() override { use( "testSdk6" ); }
};

class BatchOnEveryVariant : public LinesTest, public ::testing::WithParamInterface<std::string> {};

TEST_F( BatchOnSdk6Twin, EqualPortSetsShareAClassIdWhateverTheirOrder ) {
   const auto first = install( 16, 1, "1,2" );
   const auto second = install( 16, 2, "2,1" );
   EXPECT_EQ( first, second );
   EXPECT_NE( install( 16, 3, "3" ).at( "classId" ), first.at( "classId" ) );
   EXPECT_NE( install( 17, 4, "1,2" ).at( "baseOffset" ), first.at( "baseOffset" ) ) << "groups do not share";
   EXPECT_EQ( mismatches(), JsonOut::array() );
   remove( 16, 1 );
   EXPECT_EQ( mismatches(), JsonOut::array() ) << "the other entry still needs the ports";
}

TEST_F( BatchOnSdk6Twin, TheNewestEntryOfAValueBasedGroupWinsThePort ) {
   install( 16, 1, "1,2" );
   install( 16, 2, "2,3" );
   const auto found = mismatches();
   ASSERT_EQ( found.size(), 1u );
   EXPECT_EQ( found[ 0 ].at( "entry" ), 1 );
   EXPECT_EQ( found[ 0 ].at( "port" ).at( "port" ), 2 );
   EXPECT_EQ( found[ 0 ].at( "expected" ), true );
   EXPECT_EQ( found[ 0 ].at( "found" ), false );
   EXPECT_THAT( found[ 0 ].at( "reason" ).get<std::string>(),
                HasSubstr( "a newer entry (entry 2) took the port" ) );
   install( 13, 3, "1,2" ); // groups of one-bit pools overlap freely
   install( 13, 4, "2,3" );
   EXPECT_EQ( mismatches().size(), 1u );
}

TEST_F( BatchOnSdk6Twin, FallsBackToOneBitFillsUpAndRecovers ) {
   // 64 bits, 14 of them the system's: 12 pools of 4 bits, 2 bits left for the fallback.
   int entry = 0;
   for ( const int group : { 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27 } ) {
      ++entry;
      EXPECT_EQ( install( group, entry, std::to_string( entry ) ).at( "poolWidth" ), 4 );
   }
   EXPECT_EQ( install( 28, 101, "20" ).at( "poolWidth" ), 1 );
   EXPECT_EQ( install( 28, 102, "21" ).at( "poolId" ), 2 );
   EXPECT_EQ( refused( installLine( 28, 103, "22" ) ), "noRoom" );
   EXPECT_THAT( message, HasSubstr( "group 28 entry 103" ) );
   EXPECT_THAT( message, HasSubstr( "0 of 64 bits of aclGroupFlexibleWidth are free" ) );
   EXPECT_THAT( message, HasSubstr( "group 27: 4, group 28: 2" ) );
   EXPECT_EQ( refused( installLine( 29, 103, "22" ) ), "noRoom" ) << "a group without a pool of its own";
   install( 16, 104, "23" ); // but a group with a free class ID has room
   remove( 28, 101 );
   EXPECT_EQ( install( 28, 103, "22" ).at( "poolId" ), 3 ) << "ids go on while the group holds a pool";
   remove( 28, 102 );
   remove( 28, 103 );
   EXPECT_EQ( install( 28, 105, "22" ).at( "poolId" ), 1 ) << "and start again afterwards";
}

TEST_F( BatchOnSdk6Twin, ReservesTheSystemsRulesAtStartUp ) {
   EXPECT_EQ( groupDump( 6 ).at( "requests" ).size(), 5u );
   EXPECT_EQ( dump().at( "spaces" ).at( "aclGroupFlexibleWidth" ).at( "set" ).size(), 14u );
   EXPECT_EQ( install( 2, 1, "4,5", rule( "L4 Micro BFD" ) ).at( "key" )[ 0 ], "L4 Micro BFD" );
   EXPECT_EQ( portDump( 5 ).at( "aclGroup" ), "0x4" );
   EXPECT_EQ( refused( installLine( 2, 2, "4" ) ), "ruleRequired" );
   EXPECT_EQ( refused( installLine( 2, 2, "4", rule( "MACsec EAPoL Rule" ) ) ), "unknownRule" );
   EXPECT_THAT( message, HasSubstr( "\"DHCP Snooping group\", \"L4 Micro BFD\"" ) );
   EXPECT_EQ(
      refused( installLine( 3, 2, "4", R"(,"rule":{"feature":"l2Ctrl","name":"Dot1x EAPoL Rule"})" ) ),
      "unknownRule" )
      << "a rule of another group's feature";
   EXPECT_EQ( refused( installLine( 3, 2, "4", R"(,"rule":{"feature":"acl","name":"MACsec EAPoL Rule"})" ) ),
              "unknownRule" );
   EXPECT_THAT( message, HasSubstr( "reserved for feature dot1x: \"MACsec EAPoL" ) );
   EXPECT_EQ(
      install( 3, 2, "4", R"(,"rule":{"feature":"dot1x","name":"MACsec EAPoL Rule"})" ).at( "poolWidth" ),
      1 );
   EXPECT_EQ( mismatches(), JsonOut::array() );
   install( 2, 3, "9", rule( "L4 Micro BFD" ) );
   EXPECT_THAT( mismatches()[ 0 ].at( "reason" ).get<std::string>(),
                HasSubstr( "one rule has one class ID" ) );
}

TEST_F( BatchOnSdk6Twin, PostsSourceTrunkMapWordsToTheChip ) {
   const auto rillway = rule( "PBMP_E_ALL for a Rillway group" );
   EXPECT_EQ( install( 88, 1, "1,2", rillway ).at( "data" ), "0x20" );
   EXPECT_EQ( install( 51, 2, "2", rule( "Broadcast skip rule" ) ).at( "data" ), "0x1" );
   EXPECT_EQ( portDump( 1 ).at( "ifpSourceTrunkMap" ), "0x20" );
   EXPECT_EQ( portDump( 2 ).at( "ifpSourceTrunkMap" ), "0x21" );
   install( 238, 3, "2" );
   EXPECT_EQ( portDump( 2 ).at( "vfpSourceTrunkMap" ), "0x1" );
   EXPECT_EQ( memberOf( dump().at( "chip" ).at( "entries" ), "entry", 3 ).at( "qualifier" ),
              "interfaceClassPort" );
   EXPECT_EQ( refused( installLine( 88, 4, "3" ) ), "fixedOffsetGroup" );
   EXPECT_EQ(
      refused( installLine( 51, 4, "3", R"(,"rule":{"feature":"acl","name":"Broadcast skip rule"})" ) ),
      "unknownRule" )
      << "a reserved name of another feature, in a group that is no system group";
   install( 120, 4, "5" ); // reserved at start-up by its kind, but on demand for want of known rules
   EXPECT_EQ( mismatches(), JsonOut::array() );
   install( 120, 6, "1" ); // its pool covers bit 5, which entry 1 put on port 1
   EXPECT_THAT( mismatches()[ 0 ].at( "reason" ).get<std::string>(), HasSubstr( "lies over the bit" ) );
   remove( 120, 6 );
   install( 89, 5, "3", rillway );
   EXPECT_EQ( mismatches().size(), 3u ) << "groups 88 and 89 share a bit: each matches the other's ports";
   EXPECT_THAT( mismatches()[ 0 ].at( "reason" ).get<std::string>(), HasSubstr( "took the bit along" ) );
}

TEST_F( BatchOnSdk6Twin, AllEthernetPortsNeedOneBit ) {
   install( 13, 1, "ethernet" );
   install( 13, 2, "ethernet" );
   install( 13, 3, "1,2" );
   install( 51, 4, "ethernet" ); // a source-trunk-map group has every port's word written
   EXPECT_EQ( mismatches(), JsonOut::array() );
   EXPECT_EQ( portDump( 510 ).at( "ifpSourceTrunkMap" ), "0x4" );
   EXPECT_EQ( refused( installLine( 16, 5, "ethernet" ) ), "ethernetNeedsWidthOne" );
   EXPECT_EQ( refused( installLine( 13, 5, "ethernet", R"(,"ports":[1])" ) ), "portsAndEthernet" );
   install( 16, 6, "" ); // no port is no port
   EXPECT_EQ( mismatches(), JsonOut::array() );
}

// Reasons hold as well when the entry behind them is gone.
TEST_F( BatchOnSdk6Twin, ExplainsWhatEntriesLeftBehind ) {
   const auto rillway = rule( "PBMP_E_ALL for a Rillway group" );
   install( 16, 1, "1,2" );
   install( 16, 2, "2" );
   install( 2, 3, "4", rule( "L4 Micro BFD" ) );
   install( 2, 4, "5", rule( "L4 Micro BFD" ) );
   install( 88, 5, "6", rillway );
   install( 89, 6, "6,7", rillway );
   remove( 16, 2 );
   remove( 2, 4 );
   remove( 89, 6 ); // takes the shared bit off port 6
   const auto found = mismatches();
   ASSERT_EQ( found.size(), 4u ) << found.dump();
   EXPECT_THAT( found[ 0 ].at( "reason" ).get<std::string>(),
                HasSubstr( "a newer entry, removed since, took the port" ) );
   EXPECT_THAT( found[ 1 ].at( "reason" ).get<std::string>(), HasSubstr( "one rule has one class ID" ) );
   EXPECT_THAT( found[ 3 ].at( "reason" ).get<std::string>(), HasSubstr( "took the bit along" ) );
}

// A chip without ports once aborted here: its module had no unit.
TEST( BatchLines, AllEthernetPortsOfAChipWithoutPortsAreNone ) {
   for ( const char *chip : { R"({"op":"chip","ports":[],"cpuPorts":[]})",
                              R"({"op":"chip","ports":[],"cpuPorts":[{"module":63,"port":1}]})" } ) {
      Batch batch( QuarraLab::defaultChoice( "sdk6" ) );
      batch.answer( chip );
      const auto line = R"({"op":"install","group":88,"entry":1,"ethernet":true,)"
                        R"("rule":{"name":"PBMP_E_ALL for a Rillway group"}})";
      EXPECT_TRUE( batch.answer( line ).at( "ok" ).get<bool>() );
      EXPECT_EQ( batch.answer( R"({"op":"check"})" ).at( "mismatches" ), JsonOut::array() );
   }
}

TEST_F( BatchOnSdk6Twin, RefusesWithoutChangingAnything ) {
   install( 16, 1, "1" );
   struct Case {
      std::string line;
      const char *code;
      const char *message;
   };
   const Case cases[] = {
      { installLine( 4, 2, "1" ), "unknownGroup",
        "group 4 uses no class IDs on this chip; groups that do: 1 2 3 5" },
      { installLine( 16, 0, "1" ), "entryIdInvalid", "group 16 entry 0" },
      { installLine( 17, 1, "1" ), "entryTaken", "entry 1: the entry is installed already, in group 16" },
      { installLine( 16, 2, "511" ), "unknownPort",
        "port 511 of module 0 is not on chip sdk6-64, which has 510 ports" },
      { installLine( 16, 2, R"({"module":1,"port":1})" ), "unknownPort", "port 1 of module 1" },
      { R"({"op":"remove","group":16,"entry":2})", "unknownEntry", "group 16 entry 2" },
      { R"({"op":"remove","group":17,"entry":1})", "unknownEntry", "it is in group 16" },
      { R"({"op":"remove","group":4,"entry":1})", "unknownGroup", "" },
      { R"({"op":"deleteGroup","group":16})", "groupInUse", "group 16 still has 1 entry: 1" },
      { R"({"op":"deleteGroup","group":2})", "systemGroup", "" },
      { R"({"op":"deleteGroup","group":88})", "groupReserved", "" },
      { R"({"op":"createGroup","group":4})", "unknownGroup", "" },
      { R"({"op":"chip"})", "chipIsSet", "only the first line" },
      { "", "badJson", "" },
      { "{", "badJson", "" },
      { "[]", "badJson", "expected an object, got a list" },
      { R"({"op":"dump","op":"dump"})", "badJson", "op" },
      { R"({"op":"fly"})", "unknownOperation", "expected one of chip, createGroup, install" },
      { R"({"op":7})", "badField", "expected a string" },
      { R"({})", "missingField", "\"op\"" },
      { R"({"op":"dump","deep":1})", "unknownField", "\"deep\"" },
      { installLine( 16, 2, "1", R"(,"port":1)" ), "unknownField", "\"port\"" },
      { R"({"op":"install","group":16,"entry":2})", "missingField", "\"ports\"" },
      { R"({"op":"install","group":16,"entry":2,"ports":"1"})", "badField", "a list of ports" },
      { R"({"op":"install","group":65536,"entry":2,"ports":[]})", "outOfRange", "0 to 65535, got 65536" },
      { R"({"op":"install","group":16,"entry":4294967296,"ports":[]})", "outOfRange", "4294967296" },
      { R"({"op":"install","group":16,"entry":-1,"ports":[]})", "outOfRange", "-1" },
      { R"({"op":"install","group":16,"entry":1e3,"ports":[]})", "outOfRange", "whole number" },
      { installLine( 16, 2, "1024" ), "outOfRange", "ports[0]" },
      { installLine( 16, 2, R"({"module":64,"port":1})" ), "outOfRange", "0 to 63" },
      { installLine( 16, 2, "true" ), "badField", "expected a number" },
      { installLine( 16, 2, "1", R"(,"rule":{"feature":"x","name":"y"})" ), "unknownFeature", "l3Ctrl" },
      { installLine( 16, 2, "1", R"(,"rule":{"feature":"acl"})" ), "missingField", "\"name\"" },
   };
   for ( const auto &[ line, code, text ] : cases ) {
      EXPECT_EQ( refused( line ), code ) << line;
      EXPECT_THAT( message, HasSubstr( text ) ) << line;
   }
}

TEST_F( BatchOnSdk6Twin, DumpShowsTheWholeState ) {
   install( 16, 1, "1,2" );
   install( 16, 2, "1,2" );
   const auto group = groupDump( 16 );
   EXPECT_EQ( group.at( "config" ).at( "poolWidth" ), 4 );
   EXPECT_EQ( group.at( "pools" )[ 0 ].at( "offset" ), 14 );
   EXPECT_EQ( group.at( "pools" )[ 0 ].at( "free" ).front(), 2 );
   EXPECT_EQ( group.at( "requests" )[ 0 ].at( "entries" ), JsonOut::array( { 1, 2 } ) );
   EXPECT_EQ( group.at( "index" )[ 0 ].at( "ports" ).dump(),
              R"([{"name":"Port1","port":1},{"name":"Port2","port":2}])" );
   EXPECT_EQ( group.at( "index" )[ 0 ].at( "keys" )[ 0 ], group.at( "requests" )[ 0 ].at( "key" ) );
   EXPECT_EQ( portDump( 2 ).at( "aclGroup" ), "0x4000" );
   const auto entry = memberOf( dump().at( "chip" ).at( "entries" ), "entry", 2 );
   EXPECT_EQ( entry.at( "dataBits" ), JsonOut::array( { 14 } ) );
   EXPECT_EQ( entry.at( "maskBits" ), JsonOut::array( { 14, 15, 16, 17 } ) );
}

TEST( BatchLines, AreCountedInErrors ) {
   Batch batch( QuarraLab::defaultChoice( "testSdk6" ) );
   EXPECT_EQ( batch.answer( "nonsense" ).at( "error" ).at( "line" ), 1 );
   EXPECT_EQ( batch.answer( R"({"op":"createGroup","group":16})" ).at( "hint" ).at( "endBit" ), 63 );
   EXPECT_EQ( batch.answer( "" ).at( "error" ).at( "line" ), 3 );
}

TEST( BatchLines, GiveBackTheIdOfTheirRequest ) {
   Batch batch( QuarraLab::defaultChoice( "testSdk6" ) );
   EXPECT_EQ( batch.answer( R"({"id":"a","op":"createGroup","group":16})" ).dump(),
              R"({"version":1,"ok":true,"id":"a","hint":{"startBit":0,"endBit":63}})" );
   EXPECT_EQ( batch.answer( R"({"op":"fly","id":-7})" ).at( "id" ), -7 ) << "of a refused one, too";
   EXPECT_FALSE( batch.answer( R"({"op":"check"})" ).contains( "id" ) );
   EXPECT_EQ( batch.answer( R"({"op":"check","id":1.5})" ).at( "error" ).at( "code" ), "badField" );
}

TEST_F( BatchOnSdk6Twin, TakesPortsByNameAsItGivesThem ) {
   const auto byNumber = install( 13, 1, "5,9" );
   EXPECT_EQ( install( 13, 2, R"("Port9",{"name":"Port5","port":5})" ).at( "key" ), byNumber.at( "key" ) );
   EXPECT_EQ( refused( installLine( 13, 3, R"("Port511")" ) ), "unknownPort" );
   EXPECT_EQ( refused( installLine( 13, 3, R"({"name":"Port5","port":6})" ) ), "badField" );
}

TEST_F( LinesTest, SdkCallsAreTracedWithTheirArguments ) {
   use( "sdk6" );
   {
      const Nodra::MemoryTrace trace;
      Nodra::traceLevelsIs( "SimulatedChip/5" );
      install( 13, 1, "1,2" );
      EXPECT_TRUE( trace.has( "bcm_subport_port_group_subport_multi_set( 0, 14, 2, { 1, 2 } )" ) );
      EXPECT_TRUE( trace.has( "fieldEntryCreate( 0, 1 )" ) );
   }
   Nodra::traceLevelsDelAll();
}

// The lines of a file, as LineReader gives them.
std::vector<std::string> linesOf( const std::string &text ) {
   const std::string file = ::testing::TempDir() + "lines" + std::to_string( getpid() );
   std::ofstream( file, std::ios::binary ) << text;
   std::vector<std::string> lines;
   QuarraLab::LineReader reader( file );
   while ( auto line = reader.next() ) {
      lines.push_back( std::move( *line ) );
   }
   std::remove( file.c_str() );
   return lines;
}

TEST( BatchLines, EndWithTheirLineBreakOrTheFile ) {
   using Lines = std::vector<std::string>;
   EXPECT_EQ( linesOf( "" ), Lines() );
   EXPECT_EQ( linesOf( "\n" ), Lines( { "" } ) );
   EXPECT_EQ( linesOf( "a\n\nb" ), Lines( { "a", "", "b" } ) );
   EXPECT_EQ( linesOf( "a\nb\n" ), Lines( { "a", "b" } ) );
   const std::string piece( 65535, 'x' ); // around the size of a read
   EXPECT_EQ( linesOf( piece + "\ny\n" + piece + "xx\nz" ), Lines( { piece, "y", piece + "xx", "z" } ) );
}

TEST( BatchLines, TheFirstMayChooseTheChip ) {
   struct Case {
      const char *line;
      const char *outcome;
   };
   const Case cases[] = {
      { R"({"op":"chip","variant":"sdk6","flexibleBits":20,"ports":48})", "sdk6-64" },
      { R"({"op":"chip","variant":"testHsdk","profile":"hsdk-1024"})", "hsdk-1024" },
      { R"({"op":"chip","ports":[1,{"module":3,"port":2}],"cpuPorts":[]})", "sdk6-64" },
      { R"({"op":"chip","variant":"sdk7"})", "unknownVariant" },
      { R"({"op":"chip","profile":"hsdk-256"})", "unknownProfile" },
      { R"({"op":"chip","flexibleBits":13})", "chipTooSmall" },
      { R"({"op":"chip","sourceTrunkMapBits":5})", "chipTooSmall" },
      // The fixed offset, bit 5, was added to the two bits of the search, though both begin at bit 0.
      { R"({"op":"chip","sourceTrunkMapBits":6})", "sdk6-64" },
      { R"({"op":"chip","flexibleBits":65})", "badChip" },
      { R"({"op":"chip","ports":[1,{"module":1,"port":1}]})", "badChip" },
      { R"({"op":"chip","variant":"hsdk","ports":[256]})", "badChip" },
      { R"({"op":"chip","ports":[0]})", "badChip" },
      { R"({"op":"chip","variant":"hsdk","flexibleBits":57})", "badChip" },
      { R"({"op":"chip","variant":"hsdk","flexibleBits":64,"fixedBits":96})", "hsdk-256" },
      { R"({"op":"chip","colour":1})", "unknownField" },
   };
   for ( const auto &[ line, outcome ] : cases ) {
      Batch batch( QuarraLab::defaultChoice( "testSdk6" ) );
      const auto answer = batch.answer( line );
      EXPECT_EQ( answer.at( "ok" ).get<bool>() ? answer.at( "profile" ) : answer.at( "error" ).at( "code" ),
                 outcome )
         << line << "\n"
         << answer.dump();
      EXPECT_TRUE( batch.answer( R"({"op":"check"})" ).at( "ok" ).get<bool>() ) << "the run goes on";
   }
}

TEST_P( BatchOnEveryVariant, ComesBackToItsStartAfterAnyOrderOfRemovals ) {
   use( GetParam() );
   EXPECT_EQ( ok( R"({"op":"check"})" ).at( "mismatches" ).size(), 0u );
   for ( const int group : { 13, 16, 17 } ) {
      createGroup( group );
   }
   install( 13, 1, "1,2,3" );
   install( 13, 2, "3,2,1" );
   install( 16, 3, "4,5" );
   install( 17, 4, "4,5" );
   install( 2, 5, "6", rule( "PBMP_E_ALL for l3 ctrl group" ) );
   EXPECT_EQ( mismatches(), JsonOut::array() );
   install( 16, 6, "5,6" ); // takes port 5 from entry 3
   EXPECT_GE( mismatches().size(), 1u );
   remove( 13, 1 );
   remove( 2, 5 );
   install( 2, 7, "7,8", rule( "PBMP_E_ALL for l3 ctrl group" ) );
   remove( 16, 3 );
}

// What a user sees of a variant: its group list and their widths.
TEST_P( BatchOnEveryVariant, HasTheGroupsOfItsChip ) {
   const std::string variant = GetParam();
   use( variant );
   const bool hsdk = variant.ends_with( "sdk" ) && variant != "sdk6";
   const bool twin = variant.starts_with( "test" );
   EXPECT_EQ( groupDump( 48 ).is_null(), !hsdk );
   EXPECT_EQ( groupDump( 238 ).is_null(), !twin );
   EXPECT_EQ( groupDump( 15 ).at( "config" ).at( "poolWidth" ), twin ? 1 : hsdk ? 8 : 4 );
}

// The row of the generation says what start-up reserves: one bit less, and set-up would abort.
TEST_P( BatchOnEveryVariant, StartsOnAChipWithJustTheBitsThatItsRulesNeed ) {
   auto choice = QuarraLab::defaultChoice( GetParam() );
   const auto &needed = choice.variant->generation.startUp;
   using namespace Nodra::Types;
   const auto codeOf = [ &choice ]( U32 flexible, U32 sourceTrunkMap ) -> std::string {
      choice.chip.flexibleBits = static_cast<U8>( flexible );
      choice.chip.sourceTrunkMapBits = static_cast<U8>( sourceTrunkMap );
      try {
         QuarraLab::Switch theSwitch( choice );
         const auto &spaces = theSwitch.agent().manager().classIdHwStatus();
         return spaces.begin()->second->count() ? "ok" : "nothing is reserved";
      } catch ( const QuarraAgent::RequestRefused &refused ) {
         return refused.code();
      }
   };
   EXPECT_EQ( codeOf( needed.flexible, needed.ifpSourceTrunkMap ), "ok" );
   EXPECT_EQ( codeOf( needed.flexible - 1, 16 ), "chipTooSmall" );
   if ( needed.ifpSourceTrunkMap ) {
      EXPECT_EQ( codeOf( 64, needed.ifpSourceTrunkMap - 1 ), "chipTooSmall" );
   }
}

INSTANTIATE_TEST_SUITE_P( Variants, BatchOnEveryVariant, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

} // namespace
} // namespace QuarraTest
