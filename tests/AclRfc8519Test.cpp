#include <gtest/gtest.h>

#include "tests/AclSummary.h"

// ACLs of RFC 8519.
namespace QuarraAcl {
namespace {

std::string acls( const std::string &list, const std::string &interfaces ) {
   return R"({"ietf-access-control-list:acls":{"acl":[)" + list + R"(],"attachment-points":{"interface":[)" +
          interfaces + "]}}}";
}

std::string acl( const std::string &name, const std::string &type, const std::string &aces ) {
   return R"({"name":")" + name + R"(","type":")" + type + R"(","aces":{"ace":[)" + aces + "]}}";
}

std::string ace( const std::string &name, const std::string &matches = "" ) {
   return R"({"name":")" + name + R"(","matches":{)" + matches + R"(},"actions":{"forwarding":"accept"}})";
}

std::string bound( const std::string &port, const std::string &name, const std::string &stage = "ingress" ) {
   return R"({"interface-id":")" + port + R"(",")" + stage + R"(":{"acl-sets":{"acl-set":[{"name":")" + name +
          R"(","ace-statistics":[]}]}}})";
}

// With a list of the switch's ports, so that no warning is about it.
AclReading readOn( const std::string &text ) {
   return parseAcl( { { "ports", R"({"PORT":{"E0":{},"E4":{},"E8":{}}})" }, { "f", text } } );
}

std::string answerOn( const std::string &text ) {
   const auto reading = readOn( text );
   return reading.good() ? summary( reading.config ) : complaintLines( reading.complaints ).front();
}

TEST( AclRfc8519, AcesApplyInTheOrderOfTheList ) {
   EXPECT_EQ(
      answerOn( acls( acl( "web", "ipv4-acl-type",
                           ace( "z" ) + "," + ace( "a", R"("ingress-interface":"E4")" ) + "," + ace( "m" ) ),
                      bound( "E4", "web" ) + "," + bound( "E0", "web" ) ) ),
      "web L3 on E0,E4; web|z 3 on E0,E4; web|a 2 on E4; web|m 1 on E0,E4" );
}

TEST( AclRfc8519, TheAuthorsWordsAreKept ) {
   const auto words =
      R"("ipv4":{"protocol":6},"tcp":{"destination-port":{"operator":"eq","port":80}},"ingress-interface":"E0")";
   const auto config =
      readOn( acls( acl( "web", "ipv4-acl-type", ace( "r", words ) ), bound( "E0", "web" ) ) ).config;
   EXPECT_EQ( fieldsText( config.tables.at( 0 ).rules.at( 0 ).fields ),
              "actions.forwarding=accept matches.ipv4.protocol=6 matches.tcp.destination-port.operator=eq "
              "matches.tcp.destination-port.port=80" );
}

TEST( AclRfc8519, EveryTypeHasATableType ) {
   for ( const auto &[ type, table ] : { std::pair( "ipv4-acl-type", "L3" ),
                                         { "ietf-access-control-list:ipv6-acl-type", "L3V6" },
                                         { "eth-acl-type", "OTHER" },
                                         { "mixed-eth-ipv4-acl-type", "OTHER" },
                                         { "mixed-eth-ipv6-acl-type", "OTHER" },
                                         { "mixed-eth-ipv4-ipv6-acl-type", "L3V4V6" } } ) {
      EXPECT_EQ( answerOn( acls( acl( "a", type, "" ), bound( "E0", "a" ) ) ),
                 fmt::format( "a {} on E0", table ) );
   }
   EXPECT_EQ( answerOn( acls( R"({"name":"a"})", bound( "E0", "a" ) ) ), "a OTHER on E0" );
   EXPECT_EQ( answerOn( acls( acl( "a", "x:new", "" ), bound( "E0", "a" ) ) ),
              "a OTHER on E0; f: acl[a]: type x:new is not known and counts as OTHER" );
}

TEST( AclRfc8519, TheTypeThatAnotherFileTellsHolds ) {
   const AclText rules = { "f", acls( acl( "a", "ipv4-acl-type", "" ), bound( "E0", "a" ) ) };
   const AclText types = { "g", R"({"PORT":{"E0":{}},"ACL_TABLE":{"a":{"type":"MIRROR"}}})" };
   for ( const auto &reading : { parseAcl( { rules, types } ), parseAcl( { types, rules } ) } ) {
      EXPECT_EQ( summary( reading.config ), "a MIRROR on E0" );
      EXPECT_TRUE( reading.good() );
   }
}

TEST( AclRfc8519, WhatIsNotReadIsToldWhereItStands ) {
   EXPECT_EQ( answerOn( acls( R"({"name":"a","type":"ipv4-acl-type","owner":"me"})",
                              R"({"interface-id":"E0","mtu":9,"ingress":{"acl-sets":{"acl-set":[{"name":"a",)"
                              R"("x:mark":1}]}}})" ) ),
              "a L3 on E0; f: interface[E0]: \"mtu\" is not read; f: interface[E0].acl-set[a]: \"x:mark\" is "
              "not read; f: acl[a]: \"owner\" is not read" );
}

TEST( AclRfc8519, EgressIsLeftOut ) {
   EXPECT_EQ( answerOn( acls( acl( "a", "ipv4-acl-type", ace( "r" ) ), bound( "E0", "a", "egress" ) ) ),
              "a L3 on E0 left out: egress table; a|r 1 on " );
   EXPECT_EQ( answerOn( acls( acl( "a", "ipv4-acl-type", "" ),
                              bound( "E0", "a" ) + "," + bound( "E4", "a", "egress" ) ) ),
              "a L3 on E0; f: interface[E4].acl-set[a]: bindings of a at egress are left out" );
   EXPECT_EQ( answerOn( acls( acl( "a", "ipv4-acl-type", "" ), "" ) ),
              "a L3 on  left out: bound to no port; f: acl[a]: the table is bound to no port" );
}

TEST( AclRfc8519, WhatIsWrongIsToldAtItsPlaceWithWhatIsLeftOut ) {
   struct Case {
      std::string text;
      std::string told;
      std::string table;
      std::string rule;
   };
   const auto inAcl = []( const std::string &aces ) { return acls( acl( "a", "ipv4-acl-type", aces ), "" ); };
   const std::string tooLong( 65, 'n' );
   const Case cases[] = {
      { acls( acl( "a", "ipv4-acl-type", "" ), bound( "E9", "a" ) ),
        "f: interface[E9].acl-set[a]: port \"E9\" is not in PORT", "a", "" },
      { acls( "", bound( "E0", "a" ) ),
        "f: interface[E0].acl-set[a]: no file has the ACL \"a\" that is bound here", "a", "" },
      { acls( R"({"aces":{}})", "" ), "f: acl[#1]: expected a name", "#1", "" },
      { acls( acl( tooLong, "ipv4-acl-type", "" ), "" ),
        "f: acl[" + tooLong + "]: expected a name of 1 to 64 characters", tooLong, "" },
      { acls( R"({"name":""})", "" ), "f: acl[].name: expected a text, got an empty one", "", "" },
      { acls( acl( "a", "ipv4-acl-type", "" ) + "," + acl( "a", "ipv4-acl-type", "" ), "" ),
        "f: acl[a]: there is another ACL of this name", "a", "" },
      { acls( R"({"name":"a","aces":{"ace":{"r":{}}}})", "" ),
        "f: acl[a].aces.ace: expected a list, got an object", "a", "" },
      { inAcl( ace( "r" ) + "," + ace( "r" ) ), "f: acl[a].ace[r]: there is another rule of this name", "a",
        "r" },
      { inAcl( R"({"name":7})" ), "f: acl[a].ace[7].name: expected a text, got a number", "a", "7" },
      { inAcl( R"({"name":"r","matches":[]})" ), "f: acl[a].ace[r].matches: expected an object, got a list",
        "a", "r" },
      { inAcl( R"({"name":"r","actions":7})" ), "f: acl[a].ace[r].actions: expected an object, got a number",
        "a", "r" },
      { inAcl( ace( "r", R"("ingress-interface":"E9")" ) ),
        "f: acl[a].ace[r].matches.ingress-interface: port \"E9\" is not in PORT", "a", "r" },
      { acls( "", R"({"ingress":{}})" ), "f: interface[#1]: expected an interface-id", "", "" },
   };
   for ( const auto &one : cases ) {
      const auto reading = readOn( one.text );
      ASSERT_EQ( reading.complaints.size(), 1u ) << one.told;
      EXPECT_EQ( reading.complaints.front().text(), one.told );
      EXPECT_EQ( reading.complaints.front().table, one.table ) << one.told;
      EXPECT_EQ( reading.complaints.front().rule, one.rule ) << one.told;
   }
}

// One key twice makes a document that readers of JSON take differently: nobody knows which value was meant.
TEST( AclRfc8519, AKeyGivenTwiceSpoilsTheFile ) {
   const auto reading = readOn( R"({"ietf-access-control-list:acls":{"acl":[{"name":"a","name":"b"}]}})" );
   EXPECT_FALSE( reading.usable() );
   EXPECT_EQ( complaintLines( reading.complaints ).front(),
              "f: ietf-access-control-list:acls|acl[0].name: the same key comes twice in one object" );
}

} // namespace
} // namespace QuarraAcl
