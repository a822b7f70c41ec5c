#include <algorithm>
#include <fstream>
#include <sstream>

#include "tests/ToolRun.h"

// What `plan`, `apply --plan`, `diff` and `batch` make of their options and files: nothing that is asked for
// is silently left out, and no file that is read is written over.
namespace QuarraTest {
namespace {

constexpr auto twoPorts = R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},
   "ACL_TABLE":{"A":{"type":"L3","ports":["Ethernet0"]}},"ACL_RULE":{"A|R":{}}})";

class PlanCommand : public ToolTest {
 protected:
   PlanCommand() { write( "two.json", twoPorts ); }

   std::string content( const std::string &name ) const {
      std::ifstream in( file( name ) );
      std::ostringstream text;
      text << in.rdbuf();
      return text.str();
   }
};

TEST_F( PlanCommand, WhatIsLeftOutOfTheConfigurationIsTold ) {
   write( "odd.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},"PORTCHANNEL":{"PortChannel1":{}},
      "ACL_TABLE":{"A":{"type":"L3","ports":["Ethernet0","PortChannel1"]},
                   "E":{"type":"MIRROR","stage":"egress","ports":["Ethernet0"]},"N":{"type":"L3V6"}},
      "ACL_RULE":{"A|R":{},"E|R":{}}})" );
   expectTranscript( R"(
$ plan @/odd.json --map L3V6=14 --map PFCWD=55
Tables left out
  E (MIRROR, 1 rule): egress table
  N (L3V6, 0 rules): bound to no port

Warnings
  ACL_TABLE|A: PortChannel1 has no members, so the table covers Ethernet0 only
  ACL_TABLE|N: the table is bound to no port
  --map PFCWD=55: no table has this type

Entries (= stay, ~ change, + come, - go, ! do not fit)
...
)" );
   // A type of the configuration before the change is in use, too.
   write( "mirror.json",
          R"({"PORT":{"Ethernet0":{}},"ACL_TABLE":{"M":{"type":"MIRROR","ports":["Ethernet0"]}},
      "ACL_RULE":{"M|R":{}}})" );
   const auto ran =
      run( { "plan", file( "two.json" ), "--from", file( "mirror.json" ), "--map", "MIRROR=42" } );
   EXPECT_EQ( ran.code, 0 ) << ran.complained;
   EXPECT_TRUE( ran.printed.starts_with( "Entries" ) ) << ran.printed;
   write( "plan.jsonl", R"({"op":"chip","ports":4}
{"op":"plan","config":{"ACL_TABLE":{"T":{"type":"L3","ports":["Port1"]},"N":{"type":"L3"}},"ACL_RULE":{"T|R":{}}},"map":{"PFCWD":55}}
{"op":"plan","config":{"ACL_TABLE":{"T":{"type":"L3","ports":["Port1"]}},"ACL_RULE":{"T|R":{}}},"map":{"L3":13,"PFCWD":9}}
)" );
   const auto answers = run( { "batch", file( "plan.jsonl" ) } ).printed;
   EXPECT_NE(
      answers.find( R"("map: PFCWD=55: no table has this type"],"leftOut":[{"table":"N","type":"L3",)" ),
      std::string::npos )
      << answers;
   EXPECT_NE( answers.find( R"({"code":"unknownGroup","message":"group 9 uses no class IDs)" ),
              std::string::npos )
      << answers;
}

// `plan own.json -o own.json` left the steps in place of the configuration.
TEST_F( PlanCommand, NoFileThatIsReadIsWrittenOver ) {
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ) } ).code, 0 );
   std::filesystem::create_symlink( "two.json", file( "link.json" ) );
   std::filesystem::create_symlink( "later.st", file( "link.st" ) );
   write( "chip.json", "{}" );
   const auto before = content( "two.json" );
   expectTranscript( R"(
$ plan @/two.json -o @/two.json
quarra-tcam: plan: --steps @/two.json: this would overwrite @/two.json, which is read
exit 2
$ plan @/two.json --html @/link.json
quarra-tcam: plan: --html @/link.json: this would overwrite @/two.json, which is read
exit 2
$ plan scenarios/pods16.json --from @/two.json -o @/s/../two.json
quarra-tcam: plan: --steps @/s/../two.json: this would overwrite @/two.json, which is read
exit 2
$ plan @/two.json --chip @/chip.json -o @/chip.json
quarra-tcam: plan: --steps @/chip.json: this would overwrite @/chip.json, which is read
exit 2
$ plan @/two.json --switch @/s -o @/s/store.db
quarra-tcam: plan: --steps @/s/store.db: this would overwrite @/s/store.db, which is read
exit 2
$ switch --switch @/s --html @/s/store.db
quarra-tcam: switch: --html @/s/store.db: this would overwrite @/s/store.db, which is read
exit 2
$ apply @/two.json --html @/link.json
quarra-tcam: apply: --html @/link.json: this would overwrite @/two.json, which is read
exit 2
$ why Ethernet0 -c @/two.json --html @/two.json
quarra-tcam: why: --html @/two.json: this would overwrite @/two.json, which is read
exit 2
$ plan @/two.json -o @/x.st --html @/s/../x.st
quarra-tcam: plan: --html @/s/../x.st: --steps names the same file
exit 2
$ plan @/two.json -o @/link.st --html @/later.st
quarra-tcam: plan: --html @/later.st: --steps names the same file
exit 2
$ plan @/two.json -o -
quarra-tcam: plan: --steps -: standard output has what is printed: expected a file
exit 2
)" );
   EXPECT_EQ( content( "two.json" ), before );
   EXPECT_EQ( run( { "audit", "--switch", file( "s" ) } ).code, 0 );
   // Devices are written to as often as somebody asks.
   EXPECT_EQ( run( { "plan", file( "two.json" ), "-o", "/dev/null", "--html", "/dev/null" } ).code, 0 );
}

// The steps of an earlier plan stood in the file, and would have been carried out.
TEST_F( PlanCommand, StepsOfAnEarlierPlanDoNotStay ) {
   write( "steps", "old" );
   expectTranscript( R"(
$ plan scenarios/exhaustion.json -o @/steps
...
quarra-tcam: @/steps: not written, since 20 rules do not fit; what was there is removed
exit 1
)" );
   EXPECT_FALSE( std::filesystem::exists( file( "steps" ) ) );
}

TEST_F( PlanCommand, APlanIsCarriedOutAlone ) {
   ASSERT_EQ( run( { "batch", "/dev/null", "--switch", file( "s" ) } ).code, 0 );
   for ( const std::vector<std::string> &words : { std::vector<std::string>{ "--html", file( "page" ) },
                                                   { "--map", "L3=13" },
                                                   { "--bindings" },
                                                   { "--keep-going" },
                                                   { "--all" },
                                                   { "--format", "config-db" } } ) {
      std::vector<std::string> arguments = { "apply", "--plan", file( "steps" ), "--switch", file( "s" ) };
      arguments.insert( arguments.end(), words.begin(), words.end() );
      const auto ran = run( arguments );
      EXPECT_EQ( ran.code, 2 ) << words[ 0 ];
      EXPECT_EQ( ran.complained, "quarra-tcam: apply: --plan does not use " + words[ 0 ] + "\n" );
   }
}

TEST_F( PlanCommand, DiffReadsStandardInputOnceAndUsesItsOptions ) {
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ) } ).code, 0 );
   const auto ran = run( { "diff", file( "s" ), "-" }, file( "two.json" ) );
   EXPECT_EQ( ran.code, 0 ) << ran.printed << ran.complained;
   write( "bad.json", R"({"PORT":)" );
   EXPECT_EQ( run( { "diff", file( "s" ), "-" }, file( "bad.json" ) ).complained.substr( 0, 28 ),
              "quarra-tcam: standard input:" );
   const std::string states = "$ diff @/s @/s ";
   const std::string complaint =
      " is for a configuration; the two states are switches that last or dumps\nexit 2\n";
   expectTranscript(
      states + "--variant hsdk\nquarra-tcam: diff: --variant" + complaint + //
      states + "--map L3=13\nquarra-tcam: diff: --map" + complaint +        //
      states + "--bindings\nquarra-tcam: diff: --bindings" + complaint +    //
      "$ diff - -\nquarra-tcam: diff: both states are standard input, which holds one\nexit 2\n" );
}

TEST_F( PlanCommand, ABatchEndsAtItsFirstErrorWhereItIsAskedTo ) {
   write( "lines", R"({"op":"expect","state":"0000000000000000"}
{"op":"install","group":13,"entry":1,"ports":[1]}
)" );
   auto ran = run( { "batch", file( "lines" ), "--stop-at-error" } );
   EXPECT_EQ( ran.code, 1 );
   EXPECT_EQ( std::ranges::count( ran.printed, '\n' ), 1 ) << ran.printed;
   EXPECT_NE( ran.printed.find( "notAsExpected" ), std::string::npos );
   ran = run( { "batch", file( "lines" ) } );
   EXPECT_EQ( ran.code, 0 );
   EXPECT_EQ( std::ranges::count( ran.printed, '\n' ), 2 ) << ran.printed;
}

} // namespace
} // namespace QuarraTest
