#include "lab/JsonText.h"
#include "tests/ToolRun.h"

// What `why`, `who`, `usage` and `diff` make of their options and files, run as a user runs them.
namespace QuarraTest {
namespace {

class QuestionCommand : public ToolTest {};

// A switch knows its entries, and the file what their rules say.
TEST_F( QuestionCommand, AConfigurationTellsWhatTheRulesOfASwitchSay ) {
   write( "mine.json", R"({"PORT":{"E0":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]}},
      "ACL_RULE":{"A|R":{},"A|S":{}}})" );
   write( "told.json", R"({"PORT":{"E7":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E7"]}},
      "ACL_RULE":{"A|R":{"SRC_IP":"1.1.1.1/32"},"A|T":{"DST_IP":"2.2.2.2/32"}}})" );
   write( "bad.json", R"({"ACL_TABLE":[]})" );
   ASSERT_EQ( run( { "apply", file( "mine.json" ), "--switch", file( "s" ) } ).code, 0 );
   expectTranscript( R"(
$ why E0 A|R --switch @/s -c @/told.json
...
Entries
  A|R (entry 1) matches it, as asked.
    Rule: SRC_IP 1.1.1.1/32
    Group 13, pool 1: bit 14 of aclGroupFlexibleWidth. Class ID 1.
...
$ why E0 A|S --switch @/s -c @/told.json
...
Entries
  A|S (entry 2) matches it, as asked.
    Group 13, pool 1: bit 14 of aclGroupFlexibleWidth. Class ID 1.
...
$ why E0 A|T --switch @/s -c @/told.json
quarra-tcam: unknownEntry: "A|T" is no number of an installed entry, no table, TABLE|RULE or rule; the switch has 2 entries
exit 2
$ why E0 --switch @/s -c @/told.json --map L3=13
quarra-tcam: --switch is a switch that is there: it takes no --map or --bindings
exit 2
$ who E0 --switch @/s -c @/told.json
quarra-tcam: --switch is a switch that is there: it takes no --config, --map or --bindings
exit 2
)" );
   EXPECT_EQ( run( { "why", "E0", "--switch", file( "s" ), "-c", file( "bad.json" ) } ).code, 2 );
   const auto why = QuarraLab::parseJson(
      run( { "why", "E0", "-j", "--switch", file( "s" ), "-c", file( "told.json" ) } ).printed );
   ASSERT_EQ( why.at( "entries" ).size(), 2u );
   EXPECT_EQ( why.at( "entries" )[ 0 ].at( "text" ), "SRC_IP 1.1.1.1/32" );
   EXPECT_FALSE( why.at( "entries" )[ 1 ].contains( "text" ) );
}

// Whoever asks why a port does not match a rule should learn that its whole table is not there.
TEST_F( QuestionCommand, TablesThatAreLeftOutAreTold ) {
   write( "odd.json", R"({"PORT":{"E0":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]},
      "E":{"type":"MIRROR","stage":"egress","ports":["E0"]},"N":{"type":"L3V6"}},"ACL_RULE":{"A|R":{},"E|R":{}}})" );
   const std::string told = "quarra-tcam: @/odd.json: left out: E (MIRROR, 1 rule): egress table\n"
                            "quarra-tcam: @/odd.json: left out: N (L3V6, 0 rules): bound to no port\n";
   expectTranscript( "$ why E0 -c @/odd.json\n...\n" + told +          //
                     "$ who E0 -c @/odd.json -j\n...\n" + told +       //
                     "$ usage -c @/odd.json\n...\n" + told +           //
                     "$ usage --monitor -c @/odd.json\n...\n" + told + //
                     "$ diff @/odd.json @/odd.json\n...\n" + told + told );
}

// A monitoring system takes the exit code 2 as critical, and reads nothing on standard error.
TEST_F( QuestionCommand, AMonitorAnswersUnknownToWrongOptions ) {
   write( "good.json",
          R"({"PORT":{"E0":{}},"ACL_TABLE":{"A":{"type":"L3","ports":["E0"]}},"ACL_RULE":{"A|R":{}}})" );
   expectTranscript( R"(
$ usage --monitor --bogus
QUARRA-TCAM UNKNOWN - usage: unknown option --bogus (--help explains)
exit 3
$ usage --monitor -c @/good.json --warn x
QUARRA-TCAM UNKNOWN - usage: --warn: Value x not in range 0.000000 to 100.000000 (--help explains)
exit 3
$ usage --monitor -c @/good.json --warn 9 --crit 8
QUARRA-TCAM UNKNOWN - usage: --warn is above --crit
exit 3
$ usage --monitor -c @/good.json -j
QUARRA-TCAM UNKNOWN - usage: --monitor has a form of its own: it does not go with --json or --pretty
exit 3
$ --trace TcamAgent/x usage --monitor -c @/good.json
QUARRA-TCAM UNKNOWN - --trace: trace setting "TcamAgent/x": expected HANDLE/LEVEL or HANDLE/FROM-TO, levels 0 to 9 (--help explains)
exit 3
$ usage --monitor
QUARRA-TCAM UNKNOWN - there is no switch to ask: give it with --switch DIR, or the configuration that it holds with --config FILE
exit 3
$ usage --bogus
quarra-tcam: usage: unknown option --bogus (--help explains)
exit 2
)" );
}

} // namespace
} // namespace QuarraTest
