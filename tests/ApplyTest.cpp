#include <fstream>
#include <sstream>

#include "lab/CostModel.h"
#include "tests/Lines.h"
#include "tools/ApplyReport.h"

// A configuration applied: every rule an entry, every entry checked, and what a person is told.
namespace QuarraTest {
namespace {

using namespace QuarraAcl;
using namespace QuarraLab;
using namespace QuarraTool;
using ::testing::HasSubstr;
using ::testing::Not;

// Two L3 tables of overlapping ports, one of a port channel, one left out.
constexpr auto config = R"({
   "PORT": { "Ethernet0": {}, "Ethernet4": {}, "Ethernet8": {}, "Ethernet12": {} },
   "PORTCHANNEL": { "PortChannel1": {} },
   "PORTCHANNEL_MEMBER": { "PortChannel1|Ethernet8": {}, "PortChannel1|Ethernet12": {} },
   "ACL_TABLE": {
      "USERS": { "type": "L3", "ports": [ "Ethernet0", "Ethernet4" ] },
      "EDGE": { "type": "L3", "ports": [ "Ethernet4", "PortChannel1" ] },
      "COPY": { "type": "MIRROR", "ports": [ "Ethernet12", "Ethernet8" ] },
      "EMPTY": { "type": "L3", "ports": [ "Ethernet8" ] },
      "OUT": { "type": "L3", "stage": "egress", "ports": [ "Ethernet0" ] } },
   "ACL_RULE": {
      "USERS|R1": { "PRIORITY": "10" }, "USERS|R2": { "PRIORITY": "20" }, "EDGE|R1": { "PRIORITY": "1" },
      "COPY|R1": { "PRIORITY": "1" }, "COPY|NARROW": { "PRIORITY": "2", "IN_PORTS": "Ethernet8" },
      "OUT|R1": { "PRIORITY": "1" } } })";

std::unique_ptr<Applied> apply( const GroupMap &map = {}, const char *variant = "testSdk6" ) {
   return std::make_unique<Applied>( parseConfigDb( config, "acl.json" ), defaultChoice( variant ), map );
}

TEST( Apply, InstallsEveryRuleAndChecksIt ) {
   const auto applied = apply();
   EXPECT_TRUE( applied->allFitAndMatch() );
   ASSERT_EQ( applied->entries().size(), 5u );
   EXPECT_EQ( applied->theSwitch().chip().tcamEntries().size(), 5u );
   const auto report = applyReport( *applied, false );
   EXPECT_THAT( report, HasSubstr( "left out: OUT (L3, 1 rule): egress table" ) );
   EXPECT_THAT( report, HasSubstr( "2 of USERS" ) );
   EXPECT_THAT( report, HasSubstr( "Ethernet4-Ethernet12" ) );
   EXPECT_THAT( report, HasSubstr( "5 of 5 installed" ) );
   EXPECT_THAT( report, HasSubstr( "every entry matches exactly its ports" ) );
   EXPECT_THAT( report, Not( HasSubstr( "\033" ) ) );
}

TEST( Apply, NamesWhatDoesNotMatch ) {
   const auto applied = apply( { { "L3", 16 } } );
   EXPECT_EQ( applied->refused(), 0u );
   EXPECT_FALSE( applied->allFitAndMatch() );
   ASSERT_EQ( applied->mismatches().size(), 1u ) << "EDGE came first; USERS' two entries took port 2 from it";
   const auto report = applyReport( *applied, false );
   EXPECT_THAT( report,
                HasSubstr( "group 16: an entry does not match its port, 1 time (1 entry, 1 port): a "
                           "port carries one class ID of group 16, and a newer entry took the port" ) );
   EXPECT_THAT( report, HasSubstr( "EDGE|R1 (entry 3) on Ethernet4, which USERS|R2 (entry 4) took\n" ) );
   const auto json = applyJson( *applied );
   EXPECT_EQ( json.at( "ok" ), false );
   EXPECT_EQ( json.at( "mismatches" )[ 0 ].at( "port" ).dump(), R"({"name":"Ethernet4","port":2})" );
}

TEST( Apply, NamesWhatDoesNotFit ) {
   const auto applied = apply( { { "L3", 2 } } ); // a system group takes no rules but its own
   EXPECT_EQ( applied->refused(), 3u );
   EXPECT_TRUE( applied->mismatches().empty() );
   const auto report = applyReport( *applied, false );
   EXPECT_THAT( report, HasSubstr( "1 of EDGE, 2 of USERS (group 2): unknownRule: rule" ) );
   EXPECT_THAT( report, Not( HasSubstr( "USERS|R1" ) ) ) << "refusals of one cause are one line";
   EXPECT_THAT( applyReport( *applied, false, true ), HasSubstr( "USERS|R1 (group 2): unknownRule: rule" ) );
   EXPECT_EQ( applyJson( *applied ).at( "entries" )[ 2 ].at( "error" ).at( "code" ), "unknownRule" );
}

TEST( Apply, ShowsGoodAndBadInColours ) {
   constexpr auto green = "  \033[32m";
   constexpr auto red = "  \033[31m";
   const auto report = applyReport( *apply( { { "L3", 16 } } ), true );
   EXPECT_THAT( report, HasSubstr( "\033[1mEntries\033[0m\n" ) );
   EXPECT_THAT( report, HasSubstr( green + std::string( "5 of 5 installed\033[0m\n" ) ) );
   EXPECT_THAT( report, HasSubstr( red + std::string( "5 entries x 5 ports: 1 mismatch\033[0m\n" ) ) );
   const auto refused = applyReport( *apply( { { "L3", 2 } } ), true );
   EXPECT_THAT( refused, HasSubstr( red + std::string( "2 of 5 installed\033[0m\n" ) ) );
   EXPECT_THAT( refused, HasSubstr( red + std::string( "1 of EDGE, 2 of USERS (group 2)" ) ) );
   EXPECT_THAT( refused, HasSubstr( green + std::string( "2 entries x 5 ports: every" ) ) );
}

TEST( Apply, GoesOnWithoutWhatIsWrong ) {
   std::string text = config;
   text.insert( text.find( "\"USERS|R1\"" ), R"("USERS|BAD": { "PRIORITY": "x" }, "GHOST|R1": {}, )" );
   auto reading = parseAcl( { { "acl.json", text } } );
   ASSERT_TRUE( reading.usable() );
   const Applied applied( std::move( reading.config ), defaultChoice( "testSdk6" ), {},
                          std::move( reading.complaints ) );
   EXPECT_EQ( applied.entries().size(), 5u );
   EXPECT_TRUE( applied.mismatches().empty() );
   EXPECT_FALSE( applied.allFitAndMatch() );
   EXPECT_THAT( applyReport( applied, false ),
                HasSubstr( "acl.json: ACL_RULE|USERS|BAD.PRIORITY: expected" ) );
   const auto complaints = applyJson( applied ).at( "complaints" );
   ASSERT_EQ( complaints.size(), 2u );
   EXPECT_EQ( complaints[ 0 ].at( "rule" ), "BAD" );
   EXPECT_EQ( complaints[ 1 ].at( "table" ), "GHOST" );
}

TEST( Apply, RefusesAMapToAGroupThatIsNotThere ) {
   EXPECT_THROW( apply( { { "L3", 4 } } ), QuarraAgent::RequestRefused );
}

// Rows and writes by hand: 5 entries; port words: COPY 2 + 1, EDGE 3, USERS 2.
TEST( Apply, CountsRowsAndWrites ) {
   const auto costs = apply()->costs();
   EXPECT_EQ( costs.portWords, 8u );
   EXPECT_EQ( costs.classIds.rows, 5u );
   EXPECT_EQ( costs.classIds.writes, 13u );
   EXPECT_EQ( costs.portBitmaps.rows, 20u ) << "128 and 512 key bits take four rows of 192";
   EXPECT_EQ( costs.entryPerPort.rows, 10u );
   EXPECT_EQ( costs.classIds.join, 1u );
   EXPECT_EQ( costs.portBitmaps.join, 8u );
}

// The document's table of the default map, in the order of its columns.
TEST( Apply, SendsTablesWhereTheDocumentSays ) {
   std::ifstream document( QUARRA_SOURCES "/docs/tool.md" );
   GroupMap documented[ 2 ];
   std::string type;
   for ( std::string line; std::getline( document, line ); ) {
      std::istringstream row( line );
      std::string cells[ 3 ];
      row.ignore( 1, '|' );
      for ( auto &cell : cells ) {
         std::getline( row, cell, '|' );
      }
      const auto isNumber = []( const std::string &cell ) {
         return cell.find_first_of( "0123456789" ) != std::string::npos &&
                cell.find_first_not_of( " 0123456789" ) == std::string::npos;
      };
      const bool isRow = isNumber( cells[ 1 ] ) && isNumber( cells[ 2 ] );
      std::istringstream( cells[ 0 ] ) >> type;
      for ( std::size_t column = 0; isRow && column < 2; ++column ) {
         documented[ column ].emplace( type, static_cast<U16>( std::stoul( cells[ column + 1 ] ) ) );
      }
   }
   EXPECT_EQ( documented[ 0 ].size(), 10u );
   EXPECT_EQ( documented[ 0 ], defaultGroupMap( QuarraAgent::variantOf( "sdk6" )->generation ) );
   EXPECT_EQ( documented[ 1 ], defaultGroupMap( QuarraAgent::variantOf( "hsdk" )->generation ) );
}

// A join was printed as one write where a bit was rewritten on 1,023 system ports.
TEST( Apply, CountsWhatAJoinWritesAsTheChipDoes ) {
   for ( const auto &variant : QuarraAgent::variants() ) {
      SCOPED_TRACE( variant.name );
      const auto applied = apply( {}, std::string( variant.name ).c_str() );
      const auto &theSwitch = applied->theSwitch();
      const auto &entries = theSwitch.agent().entries();
      const auto &entry = std::ranges::find_if( entries, []( const auto &item ) {
                             const auto &ports = item.second.request.ports;
                             return ports.size() == 2 && std::ranges::count( ports, QuarraModPort( 0, 3 ) );
                          } )->second;
      QuarraLab::PortWrites writes( theSwitch );
      auto joined = std::make_shared<QuarraTcam::IntfProfile>();
      for ( const auto &port : entry.request.ports ) {
         joined->portIdIs( port );
      }
      joined->portIdIs( QuarraModPort( 0, 1 ) ); // which no other request of the group has
      const auto promised = QuarraLab::writesOfAJoin( theSwitch, entry );
      auto &manager = theSwitch.agent().manager();
      manager.programClassIdForIntfGroup( entry.request.group, entry.key, entry.request.entry,
                                          manager.getIntfGroupFromIntfProfile( joined ) );
      writes.step();
      EXPECT_EQ( writes.count(), promised );
      EXPECT_GE( promised, 1u );
   }
}

TEST( Apply, RunsOnEveryVariant ) {
   for ( const auto &variant : QuarraAgent::variants() ) {
      const auto applied = apply( {}, std::string( variant.name ).c_str() );
      EXPECT_EQ( applied->refused(), 0u ) << variant.name;
      EXPECT_EQ( applied->allFitAndMatch(), variant.name.ends_with( "dk6" ) ) << variant.name;
      for ( const auto &mismatch : applied->mismatches() ) {
         EXPECT_NE( mismatch.reason, QuarraLab::Reason::fault ) << variant.name;
      }
   }
}

} // namespace
} // namespace QuarraTest
