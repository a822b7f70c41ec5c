#include <functional>

#include <gtest/gtest.h>

#include "tests/AclSummary.h"

// ACLs of the OpenConfig model, as its definition has them and as files are seen.
namespace QuarraAcl {
namespace {

constexpr auto noPorts =
   "no file lists the switch's ports, so the chip has only the ports that ACL tables and port "
   "channels name, ";

std::string acl( const std::string &sets, const std::string &interfaces = "" ) {
   return R"({"openconfig-acl:acl":{"acl-sets":{"acl-set":[)" + sets + R"(]},"interfaces":{"interface":[)" +
          interfaces + "]}}}";
}

std::string set( const std::string &name, const std::string &type, const std::string &entries ) {
   const auto keys = R"("name":")" + name + R"(","type":")" + type + '"';
   return "{" + keys + R"(,"config":{)" + keys + R"(},"acl-entries":{"acl-entry":[)" + entries + "]}}";
}

std::string entry( int id, const std::string &more = "" ) {
   const auto key = fmt::format( R"("sequence-id":{})", id );
   return "{" + key + R"(,"config":{)" + key + "}" + more + "}";
}

std::string bound( const std::string &port, const std::string &name, const std::string &stage = "ingress" ) {
   const auto keys = R"("set-name":")" + name + R"(","type":"ACL_IPV4")";
   return R"({"id":")" + port + R"(","config":{"id":")" + port +
          R"("},"interface-ref":{"config":{"interface":")" + port + R"(","subinterface":0}},")" + stage +
          R"(-acl-sets":{")" + stage + R"(-acl-set":[{)" + keys + R"(,"config":{)" + keys + "}}]}}";
}

// The answer without the line that every file without a list of ports has.
std::string answer( const std::string &text ) {
   auto line = answerTo( text );
   if ( const auto from = line.find( noPorts ); from != line.npos ) {
      const auto to = line.find( " in all", from ) + 7;
      line.erase( from, to + ( line.compare( to, 2, "; " ) == 0 ? 2 : 0 ) - from );
   }
   return line.ends_with( "; " ) ? line.substr( 0, line.size() - 2 ) : line;
}

TEST( AclOpenConfig, EntriesApplyInTheOrderOfTheirSequenceIdsWhateverTheList ) {
   const auto narrow = R"(,"input-interface":{"interface-ref":{"config":{"interface":"E4"}}})";
   EXPECT_EQ( answer( acl( set( "WEB", "ACL_IPV4", entry( 100 ) + "," + entry( 9, narrow ) ),
                           bound( "E8", "WEB" ) + "," + bound( "E4", "WEB" ) ) ),
              "WEB L3 on E4,E8; WEB|9 4294967286 on E4; WEB|100 4294967195 on E4,E8" );
}

TEST( AclOpenConfig, TheAuthorsWordsAreKept ) {
   const auto words =
      R"(,"ipv4":{"config":{"source-address":"10.0.0.0/8","protocol":"IP_TCP"},"state":{"x":1}},
      "transport":{"config":{"destination-port":80}},"actions":{"config":{"forwarding-action":"ACCEPT"}},"state":{"matched-packets":"7"})";
   const auto config =
      parseAcl( { { "f", acl( set( "WEB", "ACL_IPV4", entry( 1, words ) ), bound( "E4", "WEB" ) ) } } )
         .config;
   EXPECT_EQ( fieldsText( config.tables.at( 0 ).rules.at( 0 ).fields ),
              "actions.forwarding-action=ACCEPT ipv4.protocol=IP_TCP ipv4.source-address=10.0.0.0/8 "
              "transport.destination-port=80" );
}

TEST( AclOpenConfig, TypesGoWithOrWithoutTheModulesName ) {
   for ( const auto &[ type, table ] : { std::pair( "ACL_IPV6", "L3V6" ),
                                         { "openconfig-acl:ACL_IPV4", "L3" },
                                         { "ACL_MIXED", "L3V4V6" },
                                         { "openconfig-acl:ACL_L2", "OTHER" } } ) {
      EXPECT_EQ(
         answer( acl( set( "S", type, "" ) ) ),
         fmt::format( "S {} on  left out: bound to no port; acl-set[S]: the table is bound to no port",
                      table ) );
   }
   EXPECT_EQ( answer( acl( set( "S", "x:NEW", "" ) ) ),
              "S OTHER on  left out: bound to no port; acl-set[S]: type NEW is not known "
              "and counts as OTHER; acl-set[S]: the table is bound to no port" );
}

// A set is known by name and type: of two with one name, neither is the other's.
TEST( AclOpenConfig, SetsOfOneNameAndTwoTypesAreTwoTables ) {
   EXPECT_EQ(
      answer( acl( set( "S", "ACL_IPV4", entry( 1 ) ) + "," + set( "S", "ACL_IPV6", entry( 1 ) ),
                   bound( "E0", "S" ) ) ),
      "S/ACL_IPV4 L3 on E0; S/ACL_IPV4|1 4294967294 on E0; S/ACL_IPV6 L3V6 on  left out: bound to no port; "
      "S/ACL_IPV6|1 4294967294 on ; acl-set[S]: the table is bound to no port" );
   EXPECT_EQ( answer( acl( set( "S", "ACL_IPV4", "" ) + "," + set( "S", "ACL_IPV4", "" ) ) ),
              "f: acl-set[S]: a set of this name and type is there already" );
}

TEST( AclOpenConfig, EgressIsLeftOutAndSubinterfacesAreNoPorts ) {
   EXPECT_EQ( answer( acl( set( "S", "ACL_IPV4", entry( 1 ) ), bound( "E0", "S", "egress" ) ) ),
              "S L3 on E0 left out: egress table; S|1 4294967294 on " );
   EXPECT_EQ(
      answer( acl( set( "S", "ACL_IPV4", "" ), bound( "E0", "S" ) + "," + bound( "E4", "S", "egress" ) ) ),
      "S L3 on E0; interface[E4].egress-acl-set[S]: bindings of S at egress are left out" );
   const auto sub = R"({"id":"E4.10","interface-ref":{"config":{"interface":"E4","subinterface":10}},
      "ingress-acl-sets":{"ingress-acl-set":[{"set-name":"S","type":"ACL_IPV4"}]}})";
   EXPECT_EQ( answer( acl( set( "S", "ACL_IPV4", "" ), std::string( sub ) + "," + bound( "E0", "S" ) ) ),
              "S L3 on E0; interface[E4.10]: subinterface 10 of E4 is no port of its own, so its bindings "
              "are left out" );
}

TEST( AclOpenConfig, FilesWithObjectsForListsAndWithoutAPrefixAreTaken ) {
   const auto rules = R"({"acl":{"acl-sets":{"acl-set":{"DATA":{"acl-entries":{"acl-entry":{
      "10":{"config":{"sequence-id":10},"ip":{"config":{"protocol":"6"}}},"2":{"config":{}}}},"config":{"name":"DATA"}}}}}})";
   EXPECT_EQ( answer( rules ),
              "DATA OTHER on  left out: bound to no port; DATA|2 4294967293 on ; DATA|10 4294967285 on ; "
              "acl-set[DATA]: the table is bound to no port" );
   const AclText ports = {
      "ports", R"({"PORT":{"E0":{},"E4":{}},"ACL_TABLE":{"DATA":{"type":"L3V6","ports":["E4"]}}})"
   };
   EXPECT_EQ( summary( parseAcl( { ports, { "acl.json", rules } } ).config ),
              "DATA L3V6 on E4; DATA|2 4294967293 on E4; DATA|10 4294967285 on E4" )
      << "rules for a table that is bound elsewhere";
}

TEST( AclOpenConfig, WhatIsWrongIsToldAtItsPlaceWithWhatIsLeftOut ) {
   struct Case {
      std::string text;
      std::string told;
      std::string table;
      std::string rule;
   };
   const auto inSet = []( const std::string &entries ) { return acl( set( "S", "ACL_IPV4", entries ) ); };
   const Case cases[] = {
      { R"({"openconfig-acl:acl":7})", "f: openconfig-acl:acl: expected an object, got a number", "", "" },
      { acl( "7" ), "f: acl-set[#1]: expected an object, got a number", "", "" },
      { acl( R"({"type":"ACL_IPV4"})" ), "f: acl-set[#1]: expected a name", "#1", "" },
      { acl( R"({"name":"S","config":{"name":"T"}})" ),
        "f: acl-set[S].config.name: expected S as in the key, got T", "S", "" },
      { acl( R"({"name":"S","acl-entries":[]})" ),
        "f: acl-set[S].acl-entries: expected an object, got a list", "S", "" },
      { inSet( R"({"sequence-id":"7"})" ),
        "f: acl-set[S].acl-entry[7].sequence-id: expected a whole number from 0 to 4294967295, got \"7\"",
        "S", "7" },
      { inSet( R"({"sequence-id":4294967296})" ),
        "f: acl-set[S].acl-entry[4294967296].sequence-id: expected a whole number from 0 to 4294967295, got "
        "4294967296",
        "S", "4294967296" },
      { inSet( R"({"config":{}})" ),
        "f: acl-set[S].acl-entry[#1]: expected a sequence-id from 0 to 4294967295", "S", "#1" },
      { inSet( R"({"sequence-id":1,"config":{"sequence-id":2}})" ),
        "f: acl-set[S].acl-entry[1].config.sequence-id: expected 1 as in the key, got 2", "S", "1" },
      { inSet( entry( 1 ) + "," + entry( 1 ) ),
        "f: acl-set[S].acl-entry[1]: there is another rule of this name", "S", "1" },
      { inSet( entry( 1, R"(,"input-interface":{"interface-ref":{"config":{"interface":4}}})" ) ),
        "f: acl-set[S].acl-entry[1].input-interface.interface-ref.config.interface: expected a text, got a "
        "number",
        "S", "1" },
      { acl( "", bound( "E0", "S" ) ),
        "f: interface[E0].ingress-acl-set[S]: no file has the ACL \"S\" that is bound here", "S", "" },
      { acl( "", R"({"config":{}})" ), "f: interface[#1]: expected an id or an interface-ref", "", "" },
   };
   for ( const auto &one : cases ) {
      const auto reading = parseAcl( { { "f", one.text } } );
      ASSERT_EQ( reading.complaints.size(), 1u ) << one.text << " " << answerTo( one.text );
      EXPECT_EQ( reading.complaints.front().text(), one.told );
      EXPECT_EQ( reading.complaints.front().table, one.table ) << one.told;
      EXPECT_EQ( reading.complaints.front().rule, one.rule ) << one.told;
      EXPECT_TRUE( reading.usable() );
   }
}

TEST( AclOpenConfig, WhatIsNotReadIsWarnedAbout ) {
   EXPECT_EQ( answer( R"({"openconfig-acl:acl":{"state":{},"control-plane-traffic":{},"acl-sets":{"acl-set":[
                 {"name":"S","type":"ACL_IPV4","vendor:extra":1}]},"interfaces":{"interface":[)" +
                      bound( "E0", "S" ) + "]}}}" ),
              "S L3 on E0; openconfig-acl:acl: \"control-plane-traffic\" is not read; acl-set[S]: "
              "\"vendor:extra\" is not read" );
}

} // namespace
} // namespace QuarraAcl
