#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "tests/AclSummary.h"

// One configuration from several sources, and formats that are forced upon them.
namespace QuarraAcl {
namespace {

TEST( AclSources, MayEachHoldAPart ) {
   const AclText ports = { "ports",
                           R"({"PORT":{"E0":{},"E4":{}},"ACL_TABLE":{"T":{"type":"L3","ports":["E0"]}}})" };
   const AclText rules = { "rules", R"({"ACL_RULE":{"T|R":{"PRIORITY":"5"}},"ACL_TABLE|T":{"type":"l3"}})" };
   EXPECT_EQ( summary( parseAcl( { ports, rules } ).config ), "T L3 on E0; T|R 5 on E0" );
   EXPECT_EQ( summary( parseAcl( { rules, ports } ).config ), "T L3 on E0; T|R 5 on E0" );
   const AclText other = {
      "other", R"({"ACL_RULE":{"T|R":{"PRIORITY":"6"}},"ACL_TABLE|T":{"type":"L3V6","ports":"E4"}})"
   };
   EXPECT_EQ(
      complaintLines( parseAcl( { ports, rules, other } ).complaints ),
      ( Names{ "other: ACL_TABLE|T: the type is not what ports says: \"L3V6\" here, \"L3\" there",
               "other: ACL_TABLE|T: the list of ports is not what ports says: E4 only here, E0 only there",
               "other: ACL_RULE|T|R: the rule is in rules, too" } ) );
}

TEST( AclSources, KeepWhatEachSaysOfATable ) {
   const AclText one = { "one", R"({"ACL_TABLE":{"T":{"type":"L3","ports":["E0"],"policy_desc":"desks"}}})" };
   const AclText other = { "other", R"({"ACL_TABLE":{"T":{"type":"L3","owner":"net"}}})" };
   EXPECT_EQ( fieldsText( parseAcl( { one, other } ).config.tables.at( 0 ).fields ),
              "policy_desc=desks owner=net" );
}

// The message named the two files only, and the order of names made a difference.
TEST( AclSources, ThatDifferInPortsNameThem ) {
   const auto bound = []( const char *file, const char *names ) {
      return AclText{ file, fmt::format( R"({{"ACL_TABLE":{{"T":{{"type":"L3","ports":"{}"}}}}}})", names ) };
   };
   const auto two = bound( "two", "E1,E2,E3,E4,E5,E6,E7,E8,E9,E10" );
   EXPECT_EQ(
      complaintLines( parseAcl( { two, bound( "none", "" ) } ).complaints ),
      Names{ "none: ACL_TABLE|T: the list of ports is not what two says: E1, E2, E3, E4, E5, E6, E7, E8 "
             "and 2 more only there" } );
   EXPECT_TRUE( parseAcl( { bound( "left", "E1,E2" ), bound( "right", "E2,E1" ) } ).good() )
      << "in another order";
}

// A file of RFC 8519 under --format openconfig was read as no rules, with exit code 0.
TEST( AclFormats, ForcedUponAFileOfAnotherAreRefused ) {
   const auto told = []( const char *text, AclFormat format ) {
      const auto reading = parseAcl( { { "f", text } }, format );
      return reading.usable() ? "taken" : reading.complaints.front().text();
   };
   EXPECT_EQ( told( R"({"acls":{}})", AclFormat::openConfig ),
              "f: expected what the format openconfig has, got an object without it" );
   EXPECT_EQ( told( R"({"ACL_TABLE":{}})", AclFormat::rfc8519 ),
              "f: expected what the format rfc8519 has, got an object without it" );
   EXPECT_EQ( told( R"([{"OP":"SET"}])", AclFormat::jsonPatch ),
              "f: expected what the format json-patch has, got a list without it" );
   EXPECT_EQ( told( R"({"acls":{}})", AclFormat::configDb ), "f: expected a table ACL_TABLE" );
   EXPECT_EQ( told( R"({"acls":{}})", AclFormat::rfc8519 ), "taken" );
}

// `plan --format json-patch --from BASE PATCH` took the base for a patch, too.
TEST( AclFormats, OfAChangeIsForcedUponTheChangeOnly ) {
   const auto folder = std::filesystem::temp_directory_path() / fmt::format( "quarra-formats-{}", getpid() );
   std::filesystem::create_directories( folder );
   const auto write = [ & ]( const char *name, const std::string &text ) {
      std::ofstream( folder / name ) << text;
      return ( folder / name ).string();
   };
   const std::string configuration =
      R"({"PORT":{"E0":{},"E4":{}},"ACL_TABLE":{"T":{"type":"L3","ports":"E0"}},"ACL_RULE":{"T|R":{},"T|S":{}}})";
   const auto base = write( "base", configuration );
   const auto patch = write( "patch", R"([{"op":"remove","path":"/ACL_RULE"}])" );
   const auto rows = write( "rows", R"([{"ACL_RULE|T|R":{},"OP":"DEL"}])" );
   const auto told = []( const AclReading &reading ) {
      return reading.usable() ? summary( reading.config ) : reading.complaints.front().text();
   };
   constexpr auto forced = AclFormat::jsonPatch;
   EXPECT_EQ( told( readAcl( { base }, forced ) ), answerTo( configuration ) );
   EXPECT_EQ( told( readAcl( { base, patch }, forced ) ), "T L3 on E0" );
   EXPECT_EQ( told( readAclChange( { base }, { patch }, forced ).after ), "T L3 on E0" );
   EXPECT_EQ( told( readAclChange( {}, { base, patch }, forced ).after ), "T L3 on E0" );
   EXPECT_EQ( told( readAclChange( { base }, { rows }, AclFormat::rowOperations ).after ),
              "T L3 on E0; T|S 0 on E0" );
   EXPECT_EQ( told( readAclChange( { base }, { rows }, forced ).after ),
              rows + ": expected what the format json-patch has, got a list without it" );
   EXPECT_EQ( told( readAclChange( { base }, { base }, forced ).after ),
              base + ": expected a list, got an object" );
   std::filesystem::remove_all( folder );
}

} // namespace
} // namespace QuarraAcl
