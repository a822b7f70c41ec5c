#include "lab/Why.h"
#include "tests/Lines.h"

// The answers to "why does this port match this entry" and "who holds this bit" against what the switch does.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class WhyTest : public LinesTest {
 protected:
   JsonOut why( int port, int entry ) {
      return ok( R"({"op":"why","port":)" + std::to_string( port ) + ",\"entry\":" + std::to_string( entry ) +
                 "}" );
   }

   // What check says of every entry and port, and what why says, one by one.
   void expectWhyAgrees( const std::vector<int> &entries, const std::vector<int> &ports ) {
      const auto found = mismatches();
      for ( const int port : ports ) {
         const auto report = ok( R"({"op":"why","port":)" + std::to_string( port ) + "}" );
         ASSERT_EQ( report.at( "entries" ).size(), entries.size() );
         for ( const auto &answer : report.at( "entries" ) ) {
            const bool mismatch = std::ranges::any_of( found, [ & ]( const auto &item ) {
               return item.at( "entry" ) == answer.at( "entry" ) && portOf( item ) == port;
            } );
            EXPECT_EQ( answer.at( "asAsked" ), !mismatch ) << port << " " << answer.dump();
            EXPECT_EQ( answer.at( "matches" ), answer.at( "differingBits" ).empty() ) << answer.dump();
            EXPECT_EQ( answer.at( "reason" ).is_null(), !mismatch ) << answer.dump();
         }
      }
   }

 private:
   static int portOf( const JsonOut &item ) {
      const auto &port = item.at( "port" );
      return port.is_object() ? port.at( "port" ).get<int>() : port.get<int>();
   }
};

// Group 16 has pools of several bits on every variant but that of one-bit twins, 13 has pools of one bit.
TEST_F( WhyTest, AgreesWithTheCheckOnEveryVariant ) {
   for ( const auto &variant : everyVariant() ) {
      SCOPED_TRACE( variant );
      use( variant, R"(,"ports":6)" );
      createGroup( 16 );
      createGroup( 13 );
      install( 16, 1, "1,2" );
      install( 16, 2, "2,3" );
      install( 16, 3, "3,4,5" );
      install( 16, 4, "1,2" );
      install( 13, 5, "1,6" );
      expectWhyAgrees( { 1, 2, 3, 4, 5 }, { 1, 2, 3, 4, 5, 6 } );
      TearDown();
   }
}

TEST_F( WhyTest, NamesTheFirstBitThatDiffersAndWhoHasThePort ) {
   use( "hsdk", R"(,"ports":4)" );
   createGroup( 16 );
   install( 16, 1, "1,2", rule( "OFFICE|DNS" ) );
   install( 16, 2, "2,3", rule( "PRINTERS|SCAN" ) );
   const auto report = why( 2, 1 );
   const auto &answer = report.at( "entries" )[ 0 ];
   EXPECT_EQ( answer.at( "rule" ), "OFFICE|DNS" );
   EXPECT_EQ( answer.at( "asked" ), true );
   EXPECT_EQ( answer.at( "matches" ), false );
   EXPECT_EQ( answer.at( "bits" ).size(), 8u ) << "a pool of eight bits is compared whole";
   EXPECT_THAT( answer.at( "differingBits" ).get<std::vector<int>>(), ElementsAre( 0, 1 ) );
   EXPECT_THAT( answer.at( "reason" ).dump(), HasSubstr( "newer" ) );
   for ( const auto &reading : report.at( "carries" ) ) {
      if ( reading.at( "space" ) == "aclGroupFixedWidth" ) {
         ASSERT_EQ( reading.at( "pools" ).size(), 1u );
         EXPECT_EQ( reading.at( "pools" )[ 0 ].at( "value" ), 2 );
         EXPECT_EQ( reading.at( "pools" )[ 0 ].at( "holder" ).at( "entries" )[ 0 ].at( "rule" ),
                    "PRINTERS|SCAN" );
      }
   }
}

TEST_F( WhyTest, TheCpusPortIsNotHeldAgainstAnEntryOfAllEthernetPorts ) {
   for ( const auto &variant : { "sdk6", "testSdk6" } ) {
      use( variant );
      install( 13, 1, "ethernet" );
      EXPECT_EQ( why( 0, 1 ).at( "entries" )[ 0 ].at( "asAsked" ), true ) << variant;
      EXPECT_EQ( why( 7, 1 ).at( "entries" )[ 0 ].at( "matches" ), true ) << variant;
      TearDown();
   }
}

TEST_F( WhyTest, WhatIsNotThereIsRefused ) {
   use( "sdk6", R"(,"ports":4)" );
   install( 13, 1, "1", rule( "OFFICE|DNS" ) );
   EXPECT_EQ( refused( R"({"op":"why","port":9})" ), "unknownPort" );
   EXPECT_EQ( refused( R"({"op":"why","port":"Ethernet1"})" ), "unknownPort" );
   EXPECT_THAT( message, HasSubstr( "Port0-Port4" ) );
   EXPECT_EQ( refused( R"({"op":"why","port":1,"entry":2})" ), "unknownEntry" );
   EXPECT_EQ( refused( R"({"op":"why","port":1,"of":"GUESTS"})" ), "unknownEntry" );
   EXPECT_EQ( refused( R"({"op":"who","space":"fixed","bit":0})" ), "noSpace" );
   EXPECT_EQ( refused( R"({"op":"who","space":"flexible","bit":64})" ), "outOfRange" );
   EXPECT_EQ( refused( R"({"op":"who","table":"GUESTS"})" ), "unknownTable" );
   EXPECT_THAT( message, HasSubstr( "OFFICE" ) );
   EXPECT_EQ( refused( R"({"op":"diff","before":{"groups":[{}]}})" ), "badField" );
}

// Every bit has the owner that the pools say, and the ports that the chip says.
TEST_F( WhyTest, WhoNamesPoolsClassIdsAndPortsOfEachBit ) {
   use( "sdk6", R"(,"ports":5)" );
   install( 16, 1, "1,2", rule( "OFFICE|DNS" ) );
   install( 16, 2, "2,3", rule( "OFFICE|WEB" ) );
   install( 16, 3, "4", rule( "PRINTERS|SCAN" ) );
   const int offset = groupDump( 16 ).at( "pools" )[ 0 ].at( "offset" ).get<int>();
   const auto bit = ok( R"({"op":"who","space":"flexible","bit":)" + std::to_string( offset ) + "}" );
   EXPECT_EQ( bit.at( "taken" ), true );
   EXPECT_EQ( bit.at( "pools" )[ 0 ].at( "group" ), 16 );
   EXPECT_EQ( bit.at( "classIds" ).size(), 2u ) << "class IDs 1 and 3 set the lowest bit, 2 does not";
   ASSERT_EQ( bit.at( "ports" ).size(), 2u ) << "port 1, and port 4; port 2 went to the newer entry";
   EXPECT_EQ( bit.at( "ports" )[ 1 ].at( "port" ), 4 );
   const auto free = ok( R"({"op":"who","space":"aclGroupFlexibleWidth","bit":63})" );
   EXPECT_EQ( free.at( "taken" ), false );
   EXPECT_THAT( free.at( "pools" ), IsEmpty() );
   const auto table = ok( R"({"op":"who","table":"OFFICE"})" );
   ASSERT_EQ( table.at( "classIds" ).size(), 2u );
   EXPECT_THAT( table.at( "classIds" )[ 1 ].at( "entriesOfTable" ).get<std::vector<int>>(),
                ElementsAre( 2 ) );
}

} // namespace
} // namespace QuarraTest
