#include <filesystem>
#include <functional>
#include <random>
#include <sstream>
#include <utility>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/AclSummary.h"

namespace QuarraAcl {
namespace {

std::string wholeFile( const std::string &text ) {
   return text;
}

// A small switch: four ports, a port channel with members and one without.
std::string onSwitch( const std::string &rest ) {
   return R"({"PORT":{"E0":{},"E4":{},"E8":{},"E12":{}},)"
          R"("PORTCHANNEL":{"PortChannel1":{"members":["E12","E8"]},"PortChannel2":{}},)" +
          rest + "}";
}

std::string withChannel( const std::string &entry ) {
   return onSwitch( R"("ACL_TABLE":{},)" + entry );
}

std::string withTable( const std::string &fields ) {
   return onSwitch( R"("ACL_TABLE":{"T":{)" + fields + "}}" );
}

// Table T is bound to all ports but E0.
std::string withRules( const std::string &rules ) {
   return onSwitch( R"("ACL_TABLE":{"T":{"type":"L3","ports":"E4,PortChannel1"}},"ACL_RULE":{)" + rules +
                    "}" );
}

std::string withPriority( const std::string &value ) {
   return withRules( R"("T|R":{"PRIORITY":)" + value + "}" );
}

// Each line is "INPUT => ANSWER"; `frame` makes a file of the input.
void expectAnswers( const std::function<std::string( const std::string & )> &frame,
                    const std::string &cases ) {
   constexpr std::string_view arrow = " => ";
   std::istringstream lines( cases );
   for ( std::string line; std::getline( lines, line ); ) {
      if ( !line.empty() ) {
         const std::size_t at = line.find( arrow );
         ASSERT_NE( at, std::string::npos ) << line;
         EXPECT_EQ( answerTo( frame( line.substr( 0, at ) ) ), line.substr( at + arrow.size() ) ) << line;
      }
   }
}

std::string repeat( std::size_t times, const std::string &text ) {
   std::string result;
   while ( times-- > 0 ) {
      result += text;
   }
   return result;
}

// One switch in both forms; the second also differs in case, in the form of lists, and in where members are.
const std::string nestedForm = R"({
   "PORT": { "E10": {}, "E2": {}, "E0": { "speed": "40000" } },
   "PORTCHANNEL": { "PortChannel7": { "members": [ "E2", "E10" ] } },
   "VLAN": { "Vlan10": { "members": 7 } },
   "ACL_TABLE": { "EDGE10": { "type": "L3", "stage": "ingress", "ports": [ "E10", "E0", "E2" ] },
                  "EDGE9": { "type": "MIRRORV6", "ports": [ "PortChannel7" ] } },
   "ACL_RULE": { "EDGE10|R1": { "PRIORITY": "7" }, "EDGE10|R2": { "PRIORITY": 9, "IN_PORTS": [ "E10", "E2" ] } }
})";
const std::string flattenedForm = R"({
   "ACL_RULE|EDGE10|R2": { "priority": "9", "in_ports@": "E2, E10" },
   "ACL_RULE": { "EDGE10|R1": { "priority": 7 } },
   "ACL_TABLE|EDGE9": { "TYPE": "mirrorv6", "ports@": [ "PortChannel7" ] },
   "ACL_TABLE|EDGE10": { "Type": "l3", "Stage": "INGRESS", "PORTS": "E2,E10,E0" },
   "PORTCHANNEL_MEMBER|PortChannel7|E10": {}, "PORTCHANNEL_MEMBER": { "PortChannel7|E2": {} },
   "PORTCHANNEL|PortChannel7": { "members@": "E2" },
   "PORT|E10": {}, "PORT|E0": {}, "PORT": { "E2": {} }
})";

TEST( ConfigDbForm, NestedAndFlattenedFilesGiveTheSameSwitch ) {
   const std::string expected =
      "EDGE9 MIRRORV6 on E2,E10; EDGE10 L3 on E0,E2,E10; EDGE10|R2 9 on E2,E10; EDGE10|R1 7 on E0,E2,E10";
   EXPECT_EQ( answerTo( nestedForm ), expected );
   EXPECT_EQ( answerTo( flattenedForm ), expected );
}

// The dump of a database came out as tables without rules, and the exit code said that all was well: each row
// stands in { "type": "hash", "value": { ... } }, and only "type" was found there.
TEST( ConfigDbForm, ADumpOfTheDatabaseGivesTheSameSwitchAsItsFile ) {
   const auto row = []( const std::string &key, const std::string &fields ) {
      return "\"" + key + R"(":{"type":"hash","ttl":-0.001,"expireat":1602451533.2,"value":{)" + fields +
             "}}";
   };
   const std::string none = R"("NULL":"NULL")";
   const std::string dump =
      "{" + row( "ACL_TABLE|T", R"("policy_desc":"T","ports@":"PortChannel2,E4","type":"L3")" ) + "," +
      row( "ACL_RULE|T|R", R"("PRIORITY":"9","IN_PORTS":"E4")" ) + "," + row( "PORT|E0", none ) + "," +
      row( "PORT|E4", none ) + "," + row( "PORTCHANNEL_MEMBER|PortChannel2|E0", none ) +
      R"(,"CONFIG_DB_INITIALIZED":{"type":"string","value":"1"},"ACL_RULE|T|S":{"PRIORITY":"8"}})";
   EXPECT_EQ( answerTo( dump ), "T L3 on E0,E4; T|R 9 on E4; T|S 8 on E0,E4" );
}

TEST( ConfigDbForm, RowsOfAShapeThatIsNotUnderstoodAreRefused ) {
   expectAnswers( wholeFile, R"cases(
{"ACL_TABLE|T":{"type":"L3","ports@":""},"ACL_RULE|T|R":{"type":"string","value":"1"}} => f: ACL_RULE|T|R: expected a hash whose value is an object
{"ACL_TABLE|T":{"type":"hash","value":["L3"]}} => f: ACL_TABLE|T: expected a hash whose value is an object
{"ACL_TABLE|T":{"kind":"hash","fields":{"type":"L3"}}} => f: ACL_TABLE|T: expected a field "type" with a table type such as L3 & f: ACL_TABLE|T.fields: expected a text, a number or a list, got an object
{"ACL_TABLE":{"type":"hash","value":{"T":{"type":"L3"}}}} => f: ACL_TABLE|type: expected an object, got a string & f: ACL_TABLE|value: expected a field "type" with a table type such as L3 & f: ACL_TABLE|value.T: expected a text, a number or a list, got an object
)cases" );
}

TEST( ConfigDbForm, ChipPortsAreInNaturalOrder ) {
   const AclConfig config =
      parseConfigDb( R"({"ACL_TABLE":{},"PORT":{"e10":{},"e9":{},"e09":{},"e":{},"e1/10":{},
      "e1/9":{},"d99":{},"e18446744073709551617":{},"e18446744073709551616":{},"E11":{}}})",
                     "f" );
   EXPECT_EQ( config.ports, ( Names{ "E11", "d99", "e", "e1/9", "e1/10", "e09", "e9", "e10",
                                     "e18446744073709551616", "e18446744073709551617" } ) );
}

TEST( ConfigDbForm, BrokenTextIsRefusedWithItsPosition ) {
   const std::string reading = "syntax error while parsing ";
   const std::pair<std::string, std::string> cases[] = {
      { "", "f: expected a JSON object, the file is empty" },
      { " \n", "f: expected a JSON object, the file is empty" },
      { "{\n  x}", "f:2:3: " + reading + "object key - invalid literal; expected string literal" },
      { "{", "f:1:2: " + reading + "object key - unexpected end of input; expected string literal" },
      { "{}\n{}", "f:2:1: " + reading + "value - unexpected '{'; expected end of input" },
      { "{\"PORT\": \"\xff\xfe\"}", "f:1:11: " + reading + "value - invalid string: ill-formed UTF-8 byte" },
      { R"({"a": 1e999})", "f:1:11: a number is too large" },
   };
   for ( const auto &[ text, answer ] : cases ) {
      EXPECT_EQ( answerTo( text ), answer );
   }
}

TEST( ConfigDbForm, WhatIsSaidTwiceIsRefused ) {
   expectAnswers( wholeFile, R"cases(
{"ACL_TABLE":{},"ACL_TABLE":{}} => f: ACL_TABLE: the same key comes twice in one object
{"ACL_TABLE":{"T":{"type":"L3","type":"L3"}}} => f: ACL_TABLE|T.type: the same key comes twice in one object
{"ACL_TABLE":{"T":{},"T":{}}} => f: ACL_TABLE|T: the same key comes twice in one object
{"ACL_RULE|T|R":{"a":1,"a":1},"ACL_TABLE|T":{"type":"L3","ports":"E","ports":"E"}} => f: ACL_RULE|T|R.a: the same key comes twice in one object & f: ACL_TABLE|T.ports: the same key comes twice in one object
{"ACL_TABLE":{},"OTHER":{"V":[0,{"a":1,"a":1}]}} => f: OTHER|V[1].a: the same key comes twice in one object
{"ACL_TABLE":{"T":{}},"ACL_TABLE|T":{}} => f: ACL_TABLE|T: the same object is given both nested and flattened
)cases" );
   expectAnswers( withTable, R"cases(
"type":"L3","ports":[],"ports@":"" => f: ACL_TABLE|T: expected one of "ports" and "ports@", got both
"type":"L3","TYPE":"L3" => f: ACL_TABLE|T: expected one of "TYPE" and "type", got both
)cases" );
}

TEST( ConfigDbForm, AWrongKeyOrTypeIsRefusedAtItsPlace ) {
   expectAnswers( wholeFile, R"cases(
7 => f: expected an ACL configuration, got a number of no format that is read; the formats are config-db, openconfig, rfc8519, json-patch, row-operations
{"acl_table":{}} => f: expected an ACL configuration, got an object of no format that is read; the formats are config-db, openconfig, rfc8519, json-patch, row-operations
{"PORT":{},"ACL_RULE":{}} => f: expected a table ACL_TABLE
{"ACL_TABLE":[]} => f: ACL_TABLE: expected an object, got a list
{"ACL_TABLE|T":null} => f: ACL_TABLE|T: expected an object, got null
{"ACL_TABLE":{"T":"x"}} => f: ACL_TABLE|T: expected an object, got a string
{"ACL_TABLE":{"":{}}} => f: ACL_TABLE|: expected a key ACL_TABLE|NAME
{"ACL_TABLE":{},"PORT|E0|x":{}} => f: PORT|E0|x: expected a key PORT|NAME
{"ACL_TABLE":{},"ACL_RULE":{"T":{"R":{}}}} => f: ACL_RULE|T: expected a key ACL_RULE|TABLE|RULE
)cases" );
   expectAnswers( withTable, R"cases(
"type@":"L3" => f: ACL_TABLE|T: expected a field "type" with a table type such as L3
"type":3 => f: ACL_TABLE|T.type: expected a table type such as L3, got a number
"type":"" => f: ACL_TABLE|T.type: expected a table type such as L3, got an empty string
"type":"L3","Stage":"both" => f: ACL_TABLE|T.Stage: expected ingress or egress, got "both"
"type":"L3","STAGE":true => f: ACL_TABLE|T.STAGE: expected ingress or egress, got true or false
"type":"L3","ports":7 => f: ACL_TABLE|T.ports: expected a list of port names or one comma-separated string, got a number
"type":"L3","ports":"E0","note":{"a":1} => f: ACL_TABLE|T.note: expected a text, a number or a list, got an object
"type":"L3","ports":["E0",{}] => f: ACL_TABLE|T.ports[1]: expected a port name, got an object
"type":"L3","ports":["E0",""] => f: ACL_TABLE|T.ports[1]: expected a port name, got an empty one
"type":"L3","ports@":"E0,,E4" => f: ACL_TABLE|T.ports@[1]: expected a port name, got an empty one
"type":"L3","ports":["E0,E4"] => f: ACL_TABLE|T.ports[0]: expected one port name, got "E0,E4"
)cases" );
}

TEST( ConfigDbPorts, ATableCoversThePortsItNamesAndNoOthers ) {
   expectAnswers( withTable, R"cases(
"type":"L3","ports":["PortChannel1","E0"] => T L3 on E0,E8,E12
"type":"CTRLPLANE","ports":" E4 " => T CTRLPLANE on E4
"type":"ctrlplane" => T CTRLPLANE on  left out: control-plane table without ports
"type":"CTRLPLANE","ports@":"" => T CTRLPLANE on  left out: control-plane table without ports
"type":"L3" => T L3 on  left out: bound to no port; ACL_TABLE|T: the table is bound to no port
"type":"L3","ports":[] => T L3 on  left out: bound to no port; ACL_TABLE|T: the table is bound to no port
"type":"L3","stage":"Egress","ports":["E4"] => T L3 on E4 left out: egress table
"type":"L3","stage":"egress" => T L3 on  left out: egress table
"type":"L3","ports":["E0","PortChannel2"] => T L3 on E0; ACL_TABLE|T: PortChannel2 has no members, so the table covers E0 only
"type":"CTRLPLANE","ports":["PortChannel2"] => T CTRLPLANE on  left out: bound to no port; ACL_TABLE|T: PortChannel2 has no members, so the table is bound to no port
"type":"L3","ports":["E8","PortChannel1","E0","E0"] => T L3 on E0,E8,E12; ACL_TABLE|T.ports: E0 and E8 are named more than once and count once
"type":"L3","ports":"PortChannel1,PortChannel1" => T L3 on E8,E12; ACL_TABLE|T.ports: PortChannel1 is named more than once and counts once
)cases" );
}

TEST( ConfigDbPorts, AnUnknownNameIsRefused ) {
   expectAnswers( withTable, R"cases(
"type":"L3","ports":["E0","E4","E9"] => f: ACL_TABLE|T.ports[2]: port "E9" is not in PORT
"type":"L3","ports":["e0"] => f: ACL_TABLE|T.ports[0]: port "e0" is not in PORT
"type":"L3","stage":"egress","ports":"E9" => f: ACL_TABLE|T.ports[0]: port "E9" is not in PORT
"type":"L3","ports":"PortChannel3" => f: ACL_TABLE|T.ports[0]: port channel "PortChannel3" is not in PORTCHANNEL
)cases" );
   expectAnswers( withChannel, R"cases(
"PORTCHANNEL_MEMBER|Bond|E0":{} => f: PORTCHANNEL_MEMBER|Bond|E0: port channel "Bond" is not in PORTCHANNEL
"PORTCHANNEL_MEMBER|PortChannel1|E9":{} => f: PORTCHANNEL_MEMBER|PortChannel1|E9: port "E9" is not in PORT
"PORTCHANNEL|Bond":{"members":["E9"]} => f: PORTCHANNEL|Bond.members[0]: port "E9" is not in PORT
"PORTCHANNEL|Bond":{"members":"PortChannel1"} => f: PORTCHANNEL|Bond.members[0]: expected a port, "PortChannel1" is a port channel
"PORTCHANNEL|E0":{} => f: PORTCHANNEL|E0: expected a port channel, "E0" is in PORT
)cases" );
}

TEST( ConfigDbPorts, AMemberOfTwoPortChannelsIsReportedAndOneGivenTwiceIsNot ) {
   expectAnswers( withChannel, R"cases(
"PORTCHANNEL_MEMBER|PortChannel2|E8":{} => PORTCHANNEL_MEMBER: E8 is a member of PortChannel1 and PortChannel2
"PORTCHANNEL_MEMBER|PortChannel1|E8":{},"ACL_TABLE|T":{"type":"L3","ports":"PortChannel1"} => T L3 on E8,E12
)cases" );
}

TEST( ConfigDbPorts, WithoutPortTheChipHasThePortsThatTheFileNames ) {
   const std::string start = R"({"PORTCHANNEL_MEMBER|bond|E10":{},"ACL_TABLE|T":{"type":"L3","ports":)";
   const AclConfig config = parseConfigDb(
      start + R"("E2,bond,PortChannel1"},"ACL_TABLE|U":{"type":"L3","stage":"egress","ports":"E1"}})", "f" );
   EXPECT_EQ( config.ports, ( Names{ "E1", "E2", "E10" } ) );
   EXPECT_EQ( summary( config ),
              "T L3 on E2,E10; U L3 on E1 left out: egress table; PORT: the file has no such table, so "
              "the chip has only the ports that ACL tables and port channels name, 3 in all; "
              "ACL_TABLE|T: PortChannel1 has no members, so the table covers E2 and E10 only" );
   EXPECT_EQ( answerTo( start + R"("E2"},"ACL_RULE|T|R":{"IN_PORTS":"E3"}})" ),
              R"(f: ACL_RULE|T|R.IN_PORTS[0]: no ACL table and no port channel names port "E3")" );
   EXPECT_EQ( answerTo( start + R"("PortChannel1"},"PORTCHANNEL":{"bond":{}}})" ),
              R"(f: ACL_TABLE|T.ports[0]: port channel "PortChannel1" is not in PORTCHANNEL)" );
}

TEST( ConfigDbPorts, AChipHasAtMost1023 ) {
   std::string text = R"({"ACL_TABLE":{})";
   for ( int port = 0; port < 1023; ++port ) {
      text += fmt::format( R"(,"PORT|E{}":{{}})", port );
   }
   EXPECT_EQ( answerTo( text + "}" ), "" );
   EXPECT_EQ( answerTo( text + R"(,"PORT|E1023":{}})" ),
              "f: PORT: a chip has at most 1023 ports, the file names 1024" );
}

TEST( ConfigDbRules, AreInOrderOfPriorityThenName ) {
   const AclConfig config =
      parseConfigDb( withRules( R"("T|R10":{"PRIORITY":"5"},"T|R9":{"PRIORITY":5},"T|A":{},
      "T|B":{"PRIORITY":"2147483647"},"T|C":{"PRIORITY":0},"T|D":{"PRIORITY":"0010"})" ),
                     "f" );
   Names order;
   for ( const AclRule &rule : config.tables.at( 0 ).rules ) {
      order.push_back( fmt::format( "{} {}", rule.name, rule.priority ) );
   }
   EXPECT_EQ( order, ( Names{ "B 2147483647", "D 10", "R9 5", "R10 5", "A 0", "C 0" } ) );
}

TEST( ConfigDbRules, APriorityThatIsNoWholeNumberInRangeIsRefused ) {
   const std::string complaint =
      "f: ACL_RULE|T|R.PRIORITY: expected a whole number from 0 to 2147483647, got ";
   for ( const std::string value :
         { R"("")", R"("-1")", R"("+1")", R"(" 1")", R"("1 ")", R"("0x10")", R"("1.0")", R"("2147483648")",
           R"("99999999999999999999999")", "-1", "1.5", "2147483648", "-9223372036854775808", "null" } ) {
      EXPECT_EQ( answerTo( withPriority( value ) ), complaint + value );
   }
   for ( const std::string value : { "99999999999999999999", "1e300", "true", "[]" } ) {
      EXPECT_TRUE( answerTo( withPriority( value ) ).starts_with( complaint ) ) << value;
   }
}

TEST( ConfigDbRules, InPortsNarrowsARuleToPortsOfItsTable ) {
   const auto withInPorts = []( const std::string &value ) {
      return withRules( R"("T|R":{"IN_PORTS":)" + value + "}" );
   };
   expectAnswers( withInPorts, R"cases(
["E12","E4"] => T L3 on E4,E8,E12; T|R 0 on E4,E12
"PortChannel1" => T L3 on E4,E8,E12; T|R 0 on E8,E12
"E4,E0" => T L3 on E4,E8,E12; T|R 0 on E4; ACL_RULE|T|R.IN_PORTS: the table is not bound to E0, so the rule covers E4 only
"E0" => T L3 on E4,E8,E12; T|R 0 on ; ACL_RULE|T|R.IN_PORTS: the table is not bound to E0, so the rule covers no port
"PortChannel2" => T L3 on E4,E8,E12; T|R 0 on ; ACL_RULE|T|R.IN_PORTS: PortChannel2 has no members, so the rule covers no port
"E4,E4" => T L3 on E4,E8,E12; T|R 0 on E4; ACL_RULE|T|R.IN_PORTS: E4 is named more than once and counts once
[] => f: ACL_RULE|T|R.IN_PORTS: expected at least one port
"E9" => f: ACL_RULE|T|R.IN_PORTS[0]: port "E9" is not in PORT
)cases" );
}

TEST( ConfigDbRules, OfALeftOutTableAreKeptWithoutPorts ) {
   EXPECT_EQ( answerTo( onSwitch( R"("ACL_TABLE|T":{"type":"L3","stage":"egress","ports":"E0"},
                                     "ACL_RULE|T|R":{"IN_PORTS":"E4"},"ACL_RULE|T|S":{"PRIORITY":2})" ) ),
              "T L3 on E0 left out: egress table; T|S 2 on ; T|R 0 on " );
}

TEST( ConfigDbRules, NeedATable ) {
   EXPECT_EQ( answerTo( withRules( R"("X|R":{})" ) ), R"(f: ACL_RULE|X|R: table "X" is not in ACL_TABLE)" );
}

// Of a file with ten faults only the first was told: ten runs to mend it.
TEST( ConfigDbFaults, AreToldAllAtOnceEachWithWhatIsLeftOut ) {
   const AclReading reading =
      parseAcl( { { "f", withRules( R"("T|R":{"PRIORITY":"x","IN_PORTS":"E9,E8,E7"},"T|S":{},
      "X|R":{}},"ACL_TABLE|U":{"type":"","stage":"x","ports":"E0"},"ACL_RULE|U|R":{"PRIORITY":1)" ) } } );
   Names told;
   for ( const AclComplaint &complaint : reading.complaints ) {
      told.push_back( fmt::format( "{} of {}|{}", complaint.place, complaint.table, complaint.rule ) );
   }
   EXPECT_EQ( told, ( Names{ "ACL_TABLE|U.type of U|", "ACL_TABLE|U.stage of U|",
                             "ACL_RULE|T|R.PRIORITY of T|R", "ACL_RULE|T|R.IN_PORTS[0] of T|R",
                             "ACL_RULE|T|R.IN_PORTS[2] of T|R", "ACL_RULE|X|R of X|R" } ) );
   EXPECT_EQ( summary( reading.config ), "T L3 on E4,E8,E12; T|S 0 on E4,E8,E12" ) << "the rest is as it was";
   EXPECT_TRUE( reading.usable() );
}

TEST( ConfigDbFaults, OfAPortChannelLeaveOutTheTablesThatNameIt ) {
   const AclReading reading = parseAcl( { { "f", withChannel( R"("PORTCHANNEL_MEMBER|PortChannel1|E9":{},
      "ACL_TABLE|T":{"type":"L3","ports":"E0,PortChannel1"},"ACL_TABLE|U":{"type":"L3","ports":"E0"})" ) } } );
   EXPECT_EQ( summary( reading.config ), "U L3 on E0" )
      << "a table that covers less than it should is worse than none";
}

TEST( ConfigDbFaults, AreListedUpToAHundred ) {
   std::string rules = R"("T|A":{})";
   for ( int rule = 0; rule < 105; ++rule ) {
      rules += fmt::format( R"(,"T|{}":{{"PRIORITY":-1}})", rule );
   }
   const auto lines = complaintLines( parseAcl( { { "f", withRules( rules ) } } ).complaints );
   EXPECT_EQ( lines.size(), 101u );
   EXPECT_EQ( lines.back(), "and 5 more" );
}

TEST( ConfigDbHarm, DeepNestingEndsInAnAnswer ) {
   constexpr std::size_t depth = 200'000;
   const std::string tooDeep = ": lists and objects stand more than 100 deep";
   const auto lists = []( std::size_t levels ) { return repeat( levels, "[" ) + repeat( levels, "]" ); };
   const auto ofComment = [ & ]( std::size_t levels ) {
      return answerTo( withTable( R"("type":"L3","ports":"E0","comment":)" + lists( levels ) ) );
   };
   EXPECT_EQ( ofComment( depth ), "f: ACL_TABLE|T.comment[0][0][0]..." + tooDeep );
   EXPECT_EQ(
      ofComment( 90 ),
      "f: ACL_TABLE|T.comment: expected a text, a number or a list, got one that is nested too deep" );
   EXPECT_EQ( ofComment( 8 ), ofComment( 1 ) );
   EXPECT_EQ( ofComment( 9 ), ofComment( 90 ) );
   EXPECT_EQ( answerTo( withPriority( repeat( depth, R"({"a":)" ) + "0" + repeat( depth, "}" ) ) ),
              "f: ACL_RULE|T|R.PRIORITY.a.a.a..." + tooDeep );
   EXPECT_TRUE( answerTo( repeat( depth, "[" ) ).ends_with( tooDeep ) ) << "not closed either";
}

TEST( ConfigDbHarm, AMessageIsOneLineWhateverTheNames ) {
   EXPECT_EQ( answerTo( R"({"ACL_TABLE":{"A\nB":7}})" ),
              R"(f: ACL_TABLE|A\x0aB: expected an object, got a number)" );
   const AclConfig config = parseConfigDb( R"({"PORT":{},"ACL_TABLE":{"A\u0000B":{"type":"L3"}}})", "f" );
   EXPECT_EQ( config.warnings, Names{ R"(ACL_TABLE|A\x00B: the table is bound to no port)" } );
}

// Damage to a good file ends in an answer or an InputError; any other exception fails the test.
TEST( ConfigDbHarm, EveryDamagedFileIsTakenOrRefused ) {
   for ( std::size_t size = 1; size < nestedForm.size(); ++size ) {
      EXPECT_TRUE( answerTo( nestedForm.substr( 0, size ) ).starts_with( "f:" ) ) << "cut at " << size;
   }
   constexpr unsigned seed = 20240611;
   std::mt19937 random( seed );
   const std::string spare = std::string( "\0\xff\xc3\n\\\"{}[]|,:09-e@", 18 );
   for ( int round = 0; round < 20'000; ++round ) {
      std::string text = round % 2 == 0 ? nestedForm : flattenedForm;
      for ( int change = 0; change <= round % 3; ++change ) {
         text[ random() % text.size() ] = spare[ random() % spare.size() ];
      }
      const std::string answer = answerTo( text );
      EXPECT_FALSE( answer.starts_with( "f:" ) && answer.find( '\n' ) != std::string::npos )
         << "round " << round << " of seed " << seed << ": " << answer;
   }
}

TEST( ConfigDbFile, ThatCannotBeReadIsRefused ) {
   const std::string folder = std::filesystem::temp_directory_path().string();
   const std::pair<std::string, std::string> cases[] = {
      { folder, "Is a directory" }, { folder + "/no/such.json", "No such file or directory" }
   };
   for ( const auto &[ file, reason ] : cases ) {
      try {
         readConfigDb( file );
         ADD_FAILURE() << file << " was read";
      } catch ( const InputError &error ) {
         EXPECT_EQ( error.what(), fmt::format( "{}: cannot be read: {}", file, reason ) );
      }
   }
}

} // namespace
} // namespace QuarraAcl
