#include <optional>

#include <gtest/gtest.h>

#include "tests/AclSummary.h"

// Changes of a configuration: patches of RFC 6902, and lists of rows that are set or taken.
namespace QuarraAcl {
namespace {

const std::string nested =
   R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"T":{"type":"L3","ports":["E0","E4"]}},
   "ACL_RULE":{"T|R":{"PRIORITY":"9"},"T|a/b~c":{"PRIORITY":"5"}},"VLAN":{"Vlan1":{"vlanid":"1"}}})";
const std::string dumped =
   R"({"PORT|E0":{"NULL":"NULL"},"PORT|E4":{},"PORT|E8":{},"VLAN|Vlan1":{"vlanid":"1"},
   "ACL_TABLE|T":{"type":"hash","value":{"type":"L3","ports@":"E0,E4"}},
   "ACL_RULE|T|R":{"PRIORITY":"9"},"ACL_RULE|T|a/b~c":{"type":"hash","value":{"PRIORITY":"5"}}})";

std::string changed( const std::string &configuration, const std::string &change ) {
   const auto reading = parseAcl( { { "f", configuration }, { "c", change } } );
   return reading.good() ? summary( reading.config )
                         : fmt::format( "{}", fmt::join( complaintLines( reading.complaints ), " & " ) );
}

TEST( AclPatch, ChangesAConfigurationHoweverItIsWritten ) {
   const auto patch = R"([{"op":"test","path":"/VLAN/Vlan1/vlanid","value":"1"},
      {"op":"remove","path":"/ACL_RULE/T|a~1b~0c"},
      {"op":"add","path":"/ACL_RULE/T|N","value":{"PRIORITY":"1","IN_PORTS":"E8"}},
      {"op":"add","path":"/ACL_TABLE/T/ports/-","value":"E8"},
      {"op":"replace","path":"/ACL_RULE/T|R/PRIORITY","value":"2"},
      {"op":"copy","from":"/ACL_RULE/T|R","path":"/ACL_RULE/T|S"},
      {"op":"move","from":"/ACL_RULE/T|S","path":"/ACL_RULE/T|M"},
      {"op":"remove","path":"/ACL_TABLE/T/ports/0"}])";
   const auto expected = "T L3 on E4,E8; T|M 2 on E4,E8; T|R 2 on E4,E8; T|N 1 on E8";
   EXPECT_EQ( changed( nested, patch ), expected );
   EXPECT_EQ( changed( dumped, patch ), expected );
}

TEST( AclPatch, ThatCannotBeAppliedIsRefusedAsAWhole ) {
   const std::pair<const char *, const char *> cases[] = {
      { R"({"op":"test","path":"/ACL_RULE/T|R/PRIORITY","value":9})",
        " (test): the test fails: /ACL_RULE/T|R/PRIORITY is something else" },
      { R"({"op":"test","path":"/ACL_RULE/T|X","value":{}})",
        " (test): the test fails: /ACL_RULE/T|X is not there" },
      { R"({"op":"test","path":"/NO/T|X","value":{}})", " (test): /NO is not there" },
      { R"({"op":"remove","path":"/ACL_RULE/T|X"})", " (remove): /ACL_RULE/T|X is not there" },
      { R"({"op":"remove","path":"/ACL_RULE/T~1X/y"})", " (remove): /ACL_RULE/T~1X is not there" },
      { R"({"op":"replace","path":"/ACL_RULE/T|X","value":{}})", " (replace): /ACL_RULE/T|X is not there" },
      { R"({"op":"add","path":"/NO/T|X","value":{}})", " (add): /NO is not there" },
      { R"({"op":"add","path":"/ACL_TABLE/T/type/x","value":{}})",
        " (add): /ACL_TABLE/T/type is neither an object nor a list" },
      { R"({"op":"remove","path":"/ACL_TABLE/T/type/x/y"})",
        " (remove): /ACL_TABLE/T/type is neither an object nor a list" },
      { R"({"op":"add","path":"/ACL_TABLE/T/ports/3","value":"E8"})",
        " (add): /ACL_TABLE/T/ports/3: array index 3 is out of range" },
      { R"({"op":"remove","path":"/ACL_TABLE/T/ports/-"})",
        " (remove): /ACL_TABLE/T/ports/-: array index '-' (2) is out of range" },
      { R"({"op":"add","path":"/ACL_TABLE/T/ports/01","value":"E8"})",
        " (add): /ACL_TABLE/T/ports/01: parse error: array index '01' must not begin with '0'" },
      { R"({"op":"move","from":"/ACL_TABLE","path":"/ACL_TABLE/T"})",
        " (move): what is moved cannot go into itself" },
      { R"({"op":"move","from":"/ACL_TABLE/X","path":"/ACL_TABLE/Y"})",
        " (move): /ACL_TABLE/X is not there" },
      { R"({"op":"copy","from":"/X","path":"/ACL_TABLE/T"})", " (copy): /X is not there" },
      { R"({"op":"remove","path":""})", " (remove): the whole configuration cannot be removed" },
      { R"({"op":"add","path":"ACL_TABLE","value":1})",
        " (add): parse error at byte 1: JSON pointer must be empty or begin with '/' - was: 'ACL_TABLE'" },
      { R"({"op":"add","path":"/a~2","value":1})",
        " (add): parse error: escape character '~' must be followed with '0' or '1'" },
      { R"({"op":"add","path":"/ACL_TABLE/X"})", " (add): expected a \"value\"" },
      { R"({"op":"add","value":1})",
        " (add): expected \"path\" with a path such as /ACL_RULE/DATAACL|RULE_1" },
      { R"({"op":"merge","path":"/ACL_TABLE"})",
        ": expected \"op\" with add, remove, replace, move, copy or test" },
      { "7", ": expected an object, got a number" },
   };
   for ( const auto &[ operation, message ] : cases ) {
      const auto reading =
         parseAcl( { { "f", nested },
                     { "c", R"([{"op":"remove","path":"/VLAN"},)" + std::string( operation ) + "]" } } );
      EXPECT_FALSE( reading.usable() ) << operation;
      EXPECT_EQ( reading.complaints.front().text(), fmt::format( "c: [1]{}", message ) );
   }
   EXPECT_EQ( changed( R"([{"op":"remove","path":"/PORT"}])", nested ),
              "f: a patch needs a configuration before it" );
   EXPECT_EQ( changed( nested, R"([{"op":"replace","path":"","value":7}])" ).substr( 0, 39 ),
              "c: leaves a number of the configuration" );
}

// An empty list was of no format that is read.
TEST( AclChange, ThatIsAnEmptyListChangesNothing ) {
   const std::optional<AclFormat> formats[] = { std::nullopt, AclFormat::jsonPatch,
                                                AclFormat::rowOperations };
   for ( const auto format : formats ) {
      for ( const auto &configuration : { nested, dumped } ) {
         const auto reading = parseAcl( { { "f", configuration }, { "c", " [ ] " } }, format );
         EXPECT_EQ( summary( reading.config ), answerTo( configuration ) );
         EXPECT_TRUE( reading.good() );
      }
   }
   EXPECT_EQ( answerTo( "[]" ), "f: a patch needs a configuration before it" );
}

TEST( AclPatch, AlsoChangesAConfigurationOfAnotherFormat ) {
   const auto acls = R"({"acls":{"acl":[{"name":"a","aces":{"ace":[{"name":"r"}]}}],
      "attachment-points":{"interface":[{"interface-id":"E0","ingress":{"acl-sets":{"acl-set":[{"name":"a"}]}}}]}}})";
   const auto reading = parseAcl(
      { { "f", acls }, { "c", R"([{"op":"add","path":"/acls/acl/0/aces/ace/0","value":{"name":"n"}}])" } } );
   EXPECT_EQ( summary( reading.config ).substr( 0, 38 ), "a OTHER on E0; a|n 2 on E0; a|r 1 on E" );
}

TEST( AclRowOperations, SetMergesFieldsAndDelTakesTheRow ) {
   const auto rows = R"([{"ACL_TABLE:T":{"ports":"E4,E8"},"OP":"SET"},{"OP":"DEL","ACL_RULE_TABLE:T:R":{}},
      {"ACL_RULE|T|N":{"PRIORITY":"7"},"OP":"SET"},{"ACL_RULE|T|N":{"IN_PORTS":"E8"},"OP":"SET"}])";
   const auto expected = "T L3 on E4,E8; T|N 7 on E8; T|a/b~c 5 on E4,E8";
   EXPECT_EQ( changed( nested, rows ), expected );
   EXPECT_EQ( changed( dumped, rows ), expected );
}

TEST( AclRowOperations, MakeAConfigurationAlone ) {
   const auto rows =
      R"([{"ACL_TABLE_TABLE:lab":{"type":"L3","ports":"E0,E4"},"OP":"SET"},{"ACL_RULE_TABLE:lab:1":{"PRIORITY":"3"},"OP":"SET"},
      {"PORT_TABLE:E0":{},"OP":"SET"},{"PORT_TABLE:E4":{},"OP":"SET"},{"ACL_RULE_TABLE:lab:2":{},"OP":"DEL"},{"ROUTE_TABLE:::/0":{},"OP":"SET"}])";
   EXPECT_EQ( answerTo( rows ),
              "lab L3 on E0,E4; lab|1 3 on E0,E4; [4].ACL_RULE_TABLE:lab:2: there is no such row to delete; "
              "[5].ROUTE_TABLE:::/0: not a row of a table that is read" );
}

TEST( AclRowOperations, ThatAreNotUnderstoodAreToldAndLeftOut ) {
   EXPECT_EQ(
      changed(
         nested,
         R"([{"ACL_RULE|T|R":{},"OP":"PUT"},{"OP":"SET"},{"ACL_RULE|T|R":{},"ACL_RULE|T|N":{},"OP":"SET"},7,
                          {"ACL_RULE|T|N":[],"OP":"SET"}])" ),
      "c: [0]: expected \"OP\" with SET or DEL & c: [1]: expected one row beside \"OP\" & c: [2]: expected "
      "one row beside \"OP\" & "
      "c: [3]: expected an object, got a number & c: [4].ACL_RULE|T|N: expected an object with fields, got a "
      "list" );
   EXPECT_EQ( changed( R"({"acls":{}})", R"([{"ACL_RULE|T|R":{},"OP":"SET"}])" ),
              "c: rows need a config_db.json before them" );
}

// To copy or compare a document nested endlessly would exhaust the stack.
TEST( AclChange, DeepNestingEndsInAnAnswer ) {
   std::string lists( 80, '[' );
   lists += std::string( 80, ']' );
   EXPECT_EQ( changed( nested, R"([{"op":"add","path":"/X","value":)" + lists + "}]" ),
              "c: nested deeper than any configuration" );
   EXPECT_EQ( changed( R"({"ACL_TABLE":{},"X":)" + lists + "}", R"([{"op":"remove","path":"/X"}])" ),
              "f: nested deeper than any configuration" );
   EXPECT_EQ( answerTo( R"({"acls":{"acl":)" + lists + "}}" ).substr( 0, 40 ),
              "f: nested deeper than any configuration" );
}

} // namespace
} // namespace QuarraAcl
