#include <algorithm>
#include <fstream>
#include <sstream>

#include "lab/JsonText.h"
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

// Each rule and table that is wrong is left out and told, what the switch holds of it stays, and no file has
// the steps.
TEST_F( PlanCommand, KeepsGoingAsApplyDoes ) {
   write( "good.json",
          R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},
      "B":{"type":"L3","ports":["E4"]},"C":{"type":"L3","ports":["E8"]}},
      "ACL_RULE":{"A|R":{},"A|S":{},"B|R":{},"C|R":{},"C|S":{}}})" );
   write( "bad.json",
          R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0","E8"]},
      "B":{"type":"L3","ports":["E9"]},"C":{"type":"L3","ports":["E8"]}},
      "ACL_RULE":{"A|R":{"PRIORITY":"x"},"A|S":{},"A|T":{"PRIORITY":"y"},"B|R":{},"C|R":{}}})" );
   write( "steps", "old" );
   ASSERT_EQ( run( { "apply", file( "good.json" ), "--switch", file( "s" ), "--variant", "sdk6" } ).code, 0 );
   expectTranscript( R"(
$ plan @/bad.json --switch @/s --keep-going -o @/steps
Left out, for what is wrong with it
  @/bad.json: ACL_RULE|A|R.PRIORITY: expected a whole number from 0 to 2147483647, got "x"
  @/bad.json: ACL_RULE|A|T.PRIORITY: expected a whole number from 0 to 2147483647, got "y"
  @/bad.json: ACL_TABLE|B.ports[0]: port "E9" is not in PORT

Entries (= stay, ~ change, + come, - go, ! do not fit)
  = A|R (entry 1): stays
  = B|R (entry 3): stays
  ~ A|S (entry 2), then entry 6: moves from bit 14 to bit 17 (group 13, aclGroupFlexibleWidth); gains E8
  = C|R (entry 4): stays
  - C|S (entry 5): group 13, aclGroupFlexibleWidth bit 16
...
quarra-tcam: @/steps: not written, since what is wrong in the files is left out; what was there is removed
exit 1
)" );
   EXPECT_FALSE( std::filesystem::exists( file( "steps" ) ) );
   const std::vector<std::string> bad = { file( "bad.json" ), "--switch", file( "s" ), "--keep-going", "-j" };
   const auto asJson = [ & ]( const char *command ) {
      auto words = bad;
      words.insert( words.begin(), command );
      const auto ran = run( words );
      EXPECT_EQ( ran.code, 1 ) << ran.complained;
      return QuarraLab::parseJson( ran.printed );
   };
   const auto plan = asJson( "plan" );
   EXPECT_EQ( plan.at( "ok" ), false );
   std::size_t calls = 0;
   for ( const auto &step : plan.at( "steps" ) ) {
      for ( const auto &[ function, number ] : step.at( "sdkCalls" ).items() ) {
         calls += number.get<std::size_t>();
      }
   }
   const auto applied = asJson( "apply" );
   EXPECT_EQ( applied.at( "complaints" ), plan.at( "complaints" ) );
   EXPECT_EQ( applied.at( "complaints" ).size(), 3u );
   EXPECT_EQ( applied.at( "changes" ).at( "sdkCalls" ), calls );
   EXPECT_EQ( asJson( "plan" ).at( "stateBefore" ), plan.at( "stateAfter" ) );
   // A patch leaves what is wrong before it as it is; that is told once. Without the option nothing is
   // planned.
   write( "patch.json", R"([{"op":"remove","path":"/ACL_RULE/C|R"}])" );
   const auto once =
      run( { "plan", "--from", file( "bad.json" ), file( "patch.json" ), "--keep-going", "-j" } );
   EXPECT_EQ( once.code, 1 );
   EXPECT_EQ( QuarraLab::parseJson( once.printed ).at( "complaints" ), plan.at( "complaints" ) );
   EXPECT_EQ( run( { "plan", "--from", file( "bad.json" ), file( "good.json" ) } ).code, 2 );
}

// What stays for a mistake takes its bit after a reload, too: the reload is no way out.
TEST_F( PlanCommand, WhatStaysForAMistakeIsThereAfterAReload ) {
   write( "chip.json", R"({"flexibleBits":17})" ); // room for three port sets
   write( "three.json", R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},
      "B":{"type":"L3","ports":["E4"]},"C":{"type":"L3","ports":["E8"]}},"ACL_RULE":{"A|R":{},"B|R":{},"C|R":{}}})" );
   write( "bad.json", R"({"PORT":{"E0":{},"E4":{},"E8":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},
      "B":{"type":"L3","ports":["E9"]},"D":{"type":"L3","ports":["E0","E8"]},
      "F":{"type":"L3","ports":["E0","E4"]}},"ACL_RULE":{"A|R":{},"B|R":{},"D|R":{},"F|R":{}}})" );
   ASSERT_EQ( run( { "apply", file( "three.json" ), "--switch", file( "s" ), "--variant", "sdk6", "--chip",
                     file( "chip.json" ) } )
                 .code,
              0 );
   const auto plan = QuarraLab::parseJson(
      run( { "plan", "-j", "--keep-going", "--switch", file( "s" ), file( "bad.json" ) } ).printed );
   EXPECT_EQ( plan.at( "verdict" ), "doesNotFit" );
   EXPECT_EQ( plan.at( "reload" ).at( "refused" ), 1 );
}

// As their author wrote it, and no more of it than a person reads; all of it in the document.
TEST_F( PlanCommand, WhatRulesSayIsShown ) {
   write( "before.json", R"({"PORT":{"E0":{},"E4":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},
      "G":{"type":"L3","ports":["E4"]}},"ACL_RULE":{"A|R":{"SRC_IP":"1.1.1.1/32"},"G|R":{"DST_IP":"2.2.2.2/32"}}})" );
   const std::string value( 150, 'x' );
   write(
      "after.json",
      R"({"PORT":{"E0":{},"E4":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},"M":{"type":"L3","ports":["E4"]}},
      "ACL_RULE":{"A|R":{"SRC_IP":"3.3.3.3/32"},"M|R1":{"A":1,"B":2,"C":3,"D":4,"E":5,"F":6,"G":7,"H":8,"I":9},
         "M|R2":{},"M|R3":{"X":")" +
         value + R"("},"M|R4":{"Y":"a\nb"},"M|R5":{"Z":1}}})" );
   expectTranscript( R"(
$ plan --from @/before.json @/after.json
Entries (= stay, ~ change, + come, - go, ! do not fit)
  = A|R (entry 1): stays
  + 5 rules of M (entries 3-7): group 13, aclGroupFlexibleWidth bit 15
      R1: A 1, B 2, C 3, D 4, E 5, F 6, G 7, H 8 and 1 more
      R3: X xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...xxxxxxxxxxxxxxxxxxxxxxxxx
      R4: Y a\x0ab
      and 1 more rule (--all)
  - G|R (entry 2): group 13, aclGroupFlexibleWidth bit 15
      DST_IP 2.2.2.2/32
...
)" );
   const auto all = run( { "plan", "--from", file( "before.json" ), file( "after.json" ), "--all" } ).printed;
   EXPECT_NE( all.find( "H 8, I 9\n" ), std::string::npos ) << all;
   EXPECT_NE( all.find( "R3: X " + value + "\n" ), std::string::npos ) << all;
   EXPECT_NE( all.find( "R5: Z 1\n" ), std::string::npos ) << all;
   const auto plan = QuarraLab::parseJson(
      run( { "plan", "-j", "--from", file( "before.json" ), file( "after.json" ) } ).printed );
   std::vector<std::string> texts;
   for ( const auto &rule : plan.at( "rules" ) ) {
      texts.push_back( rule.value( "text", "none" ) );
   }
   EXPECT_EQ( texts,
              ( std::vector<std::string>{ "SRC_IP 3.3.3.3/32", "A 1, B 2, C 3, D 4, E 5, F 6, G 7, H 8, I 9",
                                          "none", "X " + value, "Y a\nb", "Z 1", "DST_IP 2.2.2.2/32" } ) );
   write( "plan.jsonl", R"({"op":"chip","ports":2}
{"op":"install","group":13,"entry":1,"ports":[1],"rule":{"name":"A|R"}}
{"op":"plan","config":{"ACL_TABLE":{"A":{"type":"L3","ports":["Port1"]}},"ACL_RULE":{"A|R":{"SRC_IP":"4.4.4.4/32"}}}}
)" );
   const auto answers = run( { "batch", file( "plan.jsonl" ) } ).printed;
   EXPECT_EQ( answers.find( R"("text":"SRC_IP 4.4.4.4/32"})" ), answers.rfind( R"("text")" ) )
      << "an entry without a label is of no configuration: " << answers;
   EXPECT_NE( answers.find( R"("text":"SRC_IP 4.4.4.4/32"})" ), std::string::npos ) << answers;
}

// The configuration before a patch was read twice, and a pipe was empty the second time.
TEST_F( PlanCommand, StandardInputIsReadOnce ) {
   write( "patch.json", R"([{"op":"remove","path":"/ACL_RULE/A|R"}])" );
   const auto ran = run( { "plan", "--from", "-", file( "patch.json" ) }, file( "two.json" ) );
   EXPECT_EQ( ran.code, 0 ) << ran.complained;
   EXPECT_NE( ran.printed.find( "- A|R (entry 1)" ), std::string::npos ) << ran.printed;
   const std::string complaint = "\nquarra-tcam: - is given 2 times: standard input holds one file\nexit 2\n";
   expectTranscript( "$ plan --from - -" + complaint + "$ apply - --chip -" + complaint + //
                     "$ batch - --chip -" + complaint + "$ why 1 -c - -c -" + complaint + //
                     "$ diff - @/two.json --chip -" + complaint );
}

// OTHER was told to be the type of no table where it is that of all that have no group of their own.
TEST_F( PlanCommand, AMapOfOtherTypesIsWarnedAboutWhereThereAreNone ) {
   write( "other.json",
          R"({"PORT":{"E0":{}},"ACL_TABLE":{"X":{"type":"CUSTOM","ports":["E0"]}},"ACL_RULE":{"X|R":{}}})" );
   for ( const std::string command : { "plan", "apply" } ) {
      const auto warns = [ & ]( const char *name, const std::vector<std::string> &maps ) {
         std::vector<std::string> words = { command, "-j", file( name ) };
         for ( const auto &map : maps ) {
            words.insert( words.end(), { "--map", map } );
         }
         return QuarraLab::parseJson( run( words ).printed ).at( "warnings" ).dump();
      };
      EXPECT_EQ( warns( "other.json", { "OTHER=14" } ), "[]" );
      EXPECT_EQ( warns( "other.json", { "CUSTOM=13", "OTHER=14" } ),
                 R"(["--map OTHER=14: the type of every table has a group of its own"])" );
      EXPECT_EQ(
         warns( "two.json", { "OTHER=14", "MIRROR=42" } ),
         R"(["--map MIRROR=42: no table has this type","--map OTHER=14: the type of every table has a group of its own"])" );
   }
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

// --cold is of use to a plan: what comes back may be what it was made for.
TEST_F( PlanCommand, APlanIsCarriedOutAfterAColdStart ) {
   write( "more.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},
      "ACL_TABLE":{"A":{"type":"L3","ports":["Ethernet0"]}},"ACL_RULE":{"A|R":{},"A|S":{}}})" );
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ), "--variant", "sdk6" } ).code, 0 );
   ASSERT_EQ( run( { "plan", file( "more.json" ), "--switch", file( "s" ), "-o", file( "steps" ) } ).code,
              0 );
   ASSERT_EQ( run( { "damage", "--switch", file( "s" ), "entry", "1" } ).code, 0 );
   expectTranscript( R"(
$ apply --plan @/steps --switch @/s
...
exit 2
$ apply --plan @/steps --switch @/s --cold
@/steps: 1 step carried out as planned
every entry matches exactly its ports
quarra-tcam: switch @/s: started cold: 0 entries left the chip, 1 is back
$ plan @/more.json --switch @/s -o @/steps
...
Nothing to do.
$ apply --plan @/steps --switch @/s
@/steps: 0 steps carried out as planned
every entry matches exactly its ports
)" );
}

TEST_F( PlanCommand, DiffReadsStandardInputOnceAndUsesItsOptions ) {
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ) } ).code, 0 );
   const auto ran = run( { "diff", file( "s" ), "-" }, file( "two.json" ) );
   EXPECT_EQ( ran.code, 0 ) << ran.printed << ran.complained;
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "h" ), "--variant", "hsdk" } ).code, 0 );
   for ( const auto &[ one, other ] : { std::pair( "h", "two.json" ), std::pair( "two.json", "h" ) } ) {
      EXPECT_EQ( run( { "diff", file( one ), file( other ) } ).code, 0 )
         << "a configuration is put on a switch as the other state is";
   }
   write( "bad.json", R"({"PORT":)" );
   EXPECT_EQ( run( { "diff", file( "s" ), "-" }, file( "bad.json" ) ).complained.substr( 0, 28 ),
              "quarra-tcam: standard input:" );
   const std::string states = "$ diff @/s @/s ";
   const std::string complaint =
      " is for a configuration; the two states are switches that last or dumps\nexit 2\n";
   expectTranscript( states + "--variant hsdk\nquarra-tcam: diff: --variant" + complaint + //
                     states + "--map L3=13\nquarra-tcam: diff: --map" + complaint +        //
                     states + "--bindings\nquarra-tcam: diff: --bindings" + complaint +    //
                     "$ diff - -\nquarra-tcam: - is given 2 times: standard input holds one file\nexit 2\n" );
}

TEST_F( PlanCommand, TellsStepsOfOneKindTableAndClassIdInOneLine ) {
   write( "more.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},
      "ACL_TABLE":{"A":{"type":"L3","ports":["Ethernet0"]},"B":{"type":"L3","ports":["Ethernet4"]}},
      "ACL_RULE":{"A|R":{},"A|S":{},"A|T":{},"B|R":{},"B|S":{}}})" );
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ) } ).code, 0 );
   expectTranscript( R"(
$ plan @/more.json --switch @/s
...
Steps
  steps  what                                class ID                                SDK writes
    1-2  install 2 rules of A (entries 2-3)  group 13, aclGroupFlexibleWidth bit 14           6
    3-4  install 2 rules of B (entries 4-5)  group 13, aclGroupFlexibleWidth bit 15           6

...
)" );
}

TEST_F( PlanCommand, ApplyTellsWhatBecameOfTheSwitch ) {
   write( "other.json", R"({"PORT":{"Ethernet0":{},"Ethernet4":{}},
      "ACL_TABLE":{"B":{"type":"L3","ports":["Ethernet4"]}},"ACL_RULE":{"B|R":{}}})" );
   expectTranscript( R"(
$ apply @/two.json --switch @/s --statistics
...
Changes
  1 came, 0 changed, 0 gone, 0 untouched; 3 SDK calls
  came: A|R

...
  SDK function                      calls
...
  all                                   3
$ apply @/other.json --switch @/s
...
Changes
  1 came, 0 changed, 1 gone, 0 untouched; 4 SDK calls
  came: B|R
  gone: A|R

Entries
  1 of 1 are on the switch as the file has them

Match check
  1 entry x 3 ports: every entry matches exactly its ports
)" );
}

TEST_F( PlanCommand, WhatIsNoPlanAndWhatIsNoSwitchIsRefused ) {
   write( "empty", "" );
   ASSERT_EQ( run( { "apply", file( "two.json" ), "--switch", file( "s" ) } ).code, 0 );
   expectTranscript( R"(
$ apply --plan @/empty --switch @/s
quarra-tcam: @/empty: this is no plan: it is empty
exit 2
$ check --switch @/two.json
quarra-tcam: storeFailed: switch @/two.json: it is no directory
exit 5
)" );
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
