#include "lab/PortNames.h"

#include "lab/Dump.h"
#include "tests/Lines.h"

// Ports as people name them: by the interface's name, by number, and folded in lists.
namespace QuarraTest {
namespace {

using namespace QuarraLab;

class PortNamesTest : public ::testing::Test {
 protected:
   PortNamesTest() : theSwitch( choice() ), names( theSwitch ) {}

   static ChipChoice choice() {
      auto chosen = defaultChoice( "sdk6" );
      // Port 3 has a name that reads as the number of another; port 9 one that nobody gave it.
      chosen.chip.ports = {
         { "Ethernet0", { 0, 1 } }, { "Ethernet1", { 0, 2 } }, { "4", { 0, 3 } },
         { "up\nlink", { 0, 4 } },  { "Port9", { 0, 9 } },     { "Port10", { 0, 10 } },
         { "Lag1", { 2, 11 } },     { "Lag2", { 2, 12 } },
      };
      return chosen;
   }
   std::string found( const std::string &text ) const {
      try {
         return QuarraAgent::portName( names.find( text ) );
      } catch ( const QuarraAgent::RequestRefused &refused ) {
         return refused.code() + ": " + refused.what();
      }
   }

   Switch theSwitch;
   PortNames names;
};

TEST_F( PortNamesTest, ANameGoesBeforeANumber ) {
   const std::pair<const char *, const char *> cases[] = {
      { "Ethernet0", "Port1" }, { "1", "Port1" },       { "4", "Port3" },     { "3", "Port3" },
      { "Port9", "Port9" },     { "9", "Port9" },       { "0", "Port0" },     { "Port0", "Port0" },
      { "2/11", "Port2/11" },   { "Lag2", "Port2/12" }, { "Port1", "Port1" },
   };
   for ( const auto &[ text, port ] : cases ) {
      EXPECT_EQ( found( text ), port ) << text;
      EXPECT_TRUE( names.has( text ) ) << text;
   }
   for ( const char *unknown : { "", "11", "5", "01", "ethernet0", "0/1", "1/11" } ) {
      EXPECT_FALSE( names.has( unknown ) ) << unknown;
   }
   EXPECT_EQ( found( "11" ),
              "unknownPort: there is no port \"11\"; the switch has Port0, Ethernet0-up\\x0alink, "
              "Port9-Port10, Lag1-Lag2" );
}

TEST_F( PortNamesTest, OneLineWithTheNumberWhereTheNameDoesNotTell ) {
   EXPECT_EQ( names.full( { 0, 1 } ), "Ethernet0 (port 1)" );
   EXPECT_EQ( names.full( { 0, 4 } ), "up\\x0alink (port 4)" );
   EXPECT_EQ( names.full( { 2, 11 } ), "Lag1 (port 2/11)" );
   EXPECT_EQ( names.full( { 0, 9 } ), "Port9" );
   EXPECT_EQ( names.full( { 0, 77 } ), "Port77" ) << "not of the switch";
   EXPECT_EQ( names.full( { 3, 77 } ), "Port3/77" );
}

TEST_F( PortNamesTest, NeighboursAreFoldedWhereTheyAreNamedAlike ) {
   const std::pair<std::vector<QuarraModPort>, const char *> cases[] = {
      { {}, "none" },
      { { { 0, 1 } }, "Ethernet0" },
      { { { 0, 1 }, { 0, 2 } }, "Ethernet0-Ethernet1" },
      { { { 0, 1 }, { 0, 3 } }, "Ethernet0, 4" },
      { { { 0, 0 }, { 0, 1 }, { 0, 2 } }, "Port0, Ethernet0-Ethernet1" },
      { { { 0, 9 }, { 0, 10 }, { 2, 11 }, { 2, 12 } }, "Port9-Port10, Lag1-Lag2" },
   };
   for ( const auto &[ ports, text ] : cases ) {
      EXPECT_EQ( names.list( ports ), text );
   }
}

TEST_F( PortNamesTest, DocumentsHaveNameNumberAndModule ) {
   const PortsJson ports( theSwitch );
   EXPECT_EQ( ports.port( { 0, 4 } ).dump(), R"({"name":"up\nlink","port":4})" );
   EXPECT_EQ( ports.port( { 2, 11 } ).dump(), R"({"name":"Lag1","module":2,"port":11})" );
   EXPECT_EQ( ports.port( { 0, 0 } ).dump(), R"({"name":"Port0","port":0})" );
   EXPECT_EQ( ports.port( { 3, 77 } ).dump(), R"({"name":"Port3/77","module":3,"port":77})" );
   EXPECT_EQ( ports.find( "Lag1" ), QuarraModPort( 2, 11 ) );
   EXPECT_THROW( ports.find( "11" ), QuarraAgent::RequestRefused );
   EXPECT_EQ( portJson( { 0, 4 } ).dump(), "4" );
   EXPECT_EQ( portJson( { 2, 4 } ).dump(), R"({"module":2,"port":4})" );
}

} // namespace
} // namespace QuarraTest
