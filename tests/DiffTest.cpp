#include "lab/Diff.h"
#include "tests/Lines.h"

// What is different between two states, in terms of entries, class IDs and ports.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DiffTest : public LinesTest {
 protected:
   JsonOut since( const JsonOut &before ) { return ok( R"({"op":"diff","before":)" + before.dump() + "}" ); }
   static std::vector<std::string> changes( const JsonOut &list ) {
      std::vector<std::string> words;
      for ( const auto &item : list ) {
         words.push_back( item.at( "change" ).get<std::string>() );
      }
      return words;
   }
   static std::vector<int> ports( const JsonOut &list ) {
      std::vector<int> numbers;
      for ( const auto &item : list ) {
         const auto &port = item.at( "port" );
         numbers.push_back( port.is_object() ? port.at( "port" ).get<int>() : port.get<int>() );
      }
      return numbers;
   }
};

TEST_F( DiffTest, AStateIsEqualToItself ) {
   for ( const auto &variant : everyVariant() ) {
      use( variant, R"(,"ports":4)" );
      createGroup( 16 );
      install( 16, 1, "1,2" );
      EXPECT_EQ( since( dump() ).at( "same" ), true ) << variant;
      TearDown();
   }
}

TEST_F( DiffTest, APortTakenByANewerEntryIsLostByTheOlder ) {
   use( "hsdk", R"(,"ports":4)" );
   createGroup( 16 );
   install( 16, 1, "1,2" );
   const auto before = dump();
   install( 16, 2, "2,3" );
   const auto diff = since( before );
   EXPECT_THAT( changes( diff.at( "entries" ) ), ElementsAre( "changed", "came" ) );
   EXPECT_THAT( ports( diff.at( "entries" )[ 0 ].at( "portsLost" ) ), ElementsAre( 2 ) );
   EXPECT_THAT( diff.at( "entries" )[ 0 ].at( "portsGained" ), IsEmpty() );
   EXPECT_THAT( changes( diff.at( "classIds" ) ), ElementsAre( "changed", "came" ) );
   EXPECT_THAT( ports( diff.at( "ports" ) ), ElementsAre( 2, 3 ) );
   // Class ID 2 of the pool at bit 0, instead of 1.
   EXPECT_THAT( diff.at( "ports" )[ 0 ].at( "bitsGained" ).size(), 1u );
   EXPECT_THAT( diff.at( "ports" )[ 0 ].at( "bitsLost" ).size(), 1u );
}

TEST_F( DiffTest, AnEntryThatIsInstalledAgainMovesToAnotherClassId ) {
   use( "sdk6", R"(,"ports":4)" );
   install( 16, 1, "1", rule( "T|A" ) );
   install( 16, 2, "2", rule( "T|B" ) );
   const auto before = dump();
   remove( 16, 1 );
   install( 16, 1, "1", rule( "T|A" ) );
   remove( 16, 2 );
   const auto diff = since( before );
   EXPECT_THAT( changes( diff.at( "entries" ) ), ElementsAre( "changed", "gone" ) );
   EXPECT_EQ( diff.at( "entries" )[ 0 ].at( "classIdBefore" ).at( "classId" ), 1 );
   EXPECT_EQ( diff.at( "entries" )[ 0 ].at( "classIdAfter" ).at( "classId" ), 3 );
   EXPECT_THAT( changes( diff.at( "classIds" ) ), ElementsAre( "gone", "gone", "came" ) );
}

// Numbers of entries count through a configuration: a rule in front of others shifts them all.
TEST( Diff, ARuleIsTheSameWhateverItsNumber ) {
   SwitchState before;
   SwitchState after;
   const ClassIdPlace place{ 16, "aclGroupFlexibleWidth", 0, 4, 1 };
   before.classIds[ place ].entries = { 1, 2 };
   before.entries = { { 1, { "T|A", place } }, { 2, { "T|B", place } } };
   after.classIds[ place ].entries = { 1, 2, 3 };
   after.entries = { { 1, { "T|NEW", place } }, { 2, { "T|A", place } }, { 3, { "T|B", place } } };
   const auto found = difference( before, after );
   ASSERT_EQ( found.entries.size(), 1u );
   EXPECT_EQ( found.entries[ 0 ].change, Change::came );
   EXPECT_EQ( found.entries[ 0 ].rule, "T|NEW" );
   ASSERT_EQ( found.classIds.size(), 1u );
   EXPECT_EQ( found.classIds[ 0 ].entriesAfter, 3u );
}

// A port with a name, with one that is none, and without; in another module; as a number alone.
TEST( Diff, PortsOfADumpAreReadInEveryForm ) {
   struct Case {
      const char *port;
      QuarraModPort read;
      const char *name; // empty: none
   };
   const Case cases[] = {
      { R"({"name":"Ethernet4","port":7})", { 0, 7 }, "Ethernet4" },
      { R"({"name":9,"port":1023})", { 0, 1023 }, "" },
      { R"({"port":0})", { 0, 0 }, "" },
      { R"({"module":63,"port":7})", { 63, 7 }, "" },
      { "7", { 0, 7 }, "" },
   };
   for ( const auto &[ port, read, name ] : cases ) {
      const auto state = stateOfDump( Json::parse(
         R"({"groups":[],"chip":{"ports":[{"aclGroup":"0x81a","port":)" + std::string( port ) + "}]}}" ) );
      ASSERT_EQ( state.ports.size(), 1u ) << port;
      EXPECT_EQ( state.ports.begin()->first, read ) << port;
      EXPECT_EQ( state.ports.begin()->second.at( "aclGroup" ), std::set<U32>( { 1, 3, 4, 11 } ) ) << port;
      EXPECT_EQ( state.portNames.contains( read ) ? state.portNames.at( read ) : "", name ) << port;
   }
}

TEST( Diff, DamagedDumpsAreNamedWithThePlace ) {
   const std::pair<const char *, const char *> cases[] = {
      { "[]", "groups" },
      { R"({"groups":{}})", "groups" },
      { R"({"groups":[{"group":1,"config":{"type":"x"},"pools":[],"requests":[{"poolId":1}]}]})",
        "groups[0].requests[0].poolId" },
      { R"({"groups":[{"group":-1,"config":{"type":"x"},"pools":[],"requests":[]}]})", "groups[0]" },
      { R"({"groups":[],"chip":{"ports":[{"port":2000}]}})", "chip.ports[0]" },
      { R"({"groups":[],"chip":{"ports":[{"port":{"module":64,"port":1}}]}})", "chip.ports[0]" },
      { R"({"groups":[],"chip":{"ports":[{"port":1,"aclGroup":"7"}]}})", "chip.ports[0].aclGroup" },
   };
   for ( const auto &[ text, place ] : cases ) {
      try {
         stateOfDump( Json::parse( text ) );
         ADD_FAILURE() << text;
      } catch ( const Complaint &complaint ) {
         EXPECT_THAT( complaint.what(), ::testing::HasSubstr( place ) ) << text;
      }
   }
}

} // namespace
} // namespace QuarraTest
