#include "tests/AnswerText.h"

#include <fmt/format.h>

// What people, and monitoring, read of how full a switch is, whether it matches, and what changed: whole.
namespace QuarraTest {
namespace {

class UsageText : public AnswerText {};

// Group 16: 13 class IDs free in its pool; ten pools of four bits more with 15 each; then two of one bit.
TEST_F( UsageText, UsageTellsWhatIsTakenAndWhatStillFits ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ usage --switch @/desk
variant sdk6, chip sdk6-64

Class-ID spaces
  space                  bits  used       free  largest free run
  ifpSourceTrunkMap        16     3  19%    13                13
  vfpSourceTrunkMap        16     0   0%    16                16
  aclGroupFlexibleWidth    64    22  34%    42                42

TCAM groups
  group  space                  width  pools  bits       class IDs  entries  further port sets
      1  aclGroupFlexibleWidth      1      1     1  1 (1 reserved)        0                  0
...
     13  aclGroupFlexibleWidth      1      4     4               4        4                 42
     14  aclGroupFlexibleWidth      1      0     0               0        0                 42
     16  aclGroupFlexibleWidth      4      1     4               2        6                165
...
    129  ifpSourceTrunkMap          1      2     2  2 (1 reserved)        1                 13
    132  aclGroupFlexibleWidth      1      0     0               0        0                 42
  29 other groups hold nothing and are not listed; -j lists all
  Further port sets: how many different new ones the group alone could still take.

Tables
  table                      group  entries  class IDs  shared with other tables
  (entries without a table)     13        1          1                         0
  (entries without a table)     16        3          1                         0
  (entries without a table)    129        1          1                         0
  ALL                           13        1          1                         0
  CPU                           13        1          1                         0
  DESKS                         16        2          1                         1
  GUESTS                        16        1          1                         1
  ODD                           13        1          1                         0
)" );
   // Two runs where an entry has gone between others. In group 16: 14 free, eleven pools with 15 each, the
   // odd bit.
   const std::string gap = R"({"op":"install","group":13,"entry":1,"ports":[1]}
{"op":"install","group":13,"entry":2,"ports":[2]}
{"op":"remove","group":13,"entry":1}
)";
   make( "gap", gap );
   make( "wide", gap + R"({"op":"install","group":16,"entry":3,"ports":[3]})" );
   expectTranscript( R"(
$ usage --switch @/gap
...
  aclGroupFlexibleWidth    64    15  23%    49    48 (of 2 runs)
...
$ usage --switch @/wide
...
  aclGroupFlexibleWidth    64    19  30%    45    44 (of 2 runs)
...
     16  aclGroupFlexibleWidth      4      1     4               1        1                180
...
$ usage --switch @/gap --monitor --warn 20 --crit 24
QUARRA-TCAM WARNING - aclGroupFlexibleWidth 23% (15 of 64) | 'ifpSourceTrunkMap'=12.5%;20;24;0;100 'vfpSourceTrunkMap'=0.0%;20;24;0;100 'aclGroupFlexibleWidth'=23.4%;20;24;0;100
exit 1
$ usage --switch @/gap --monitor --warn 12.5 --crit 12.5
QUARRA-TCAM CRITICAL - ifpSourceTrunkMap 12% (2 of 16), aclGroupFlexibleWidth 23% (15 of 64) | 'ifpSourceTrunkMap'=12.5%;12.5;12.5;0;100 'vfpSourceTrunkMap'=0.0%;12.5;12.5;0;100 'aclGroupFlexibleWidth'=23.4%;12.5;12.5;0;100
exit 2
$ usage --switch @/gap --monitor
QUARRA-TCAM OK - fullest: aclGroupFlexibleWidth 23% (15 of 64) | 'ifpSourceTrunkMap'=12.5%;70;90;0;100 'vfpSourceTrunkMap'=0.0%;70;90;0;100 'aclGroupFlexibleWidth'=23.4%;70;90;0;100
$ usage --switch @/nowhere --monitor
QUARRA-TCAM UNKNOWN - switch @/nowhere: there is none; apply and batch make one
exit 3
$ usage --switch @/gap --monitor --warn 24 --crit 23
QUARRA-TCAM UNKNOWN - usage: --warn is above --crit
exit 3
)" );
}

TEST_F( UsageText, CheckCountsMismatchesByTheirCause ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ check --switch @/desk
  11 entries x 27 ports: 3 mismatches
  group 16: an entry does not match its port, 3 times (3 entries, 1 port): a port carries one class ID of group 16, and a newer entry took the port
    DESKS|DNS (entry 1) on Port3, which entry 4 took
    DESKS|WEB (entry 2) on Port3, which entry 4 took
    GUESTS|WEB (entry 3) on Port3, which entry 4 took
exit 1
$ damage bit Port26 21 --switch @/desk
bit 21 of Port26 is set
$ check --switch @/desk
  11 entries x 27 ports: 4 mismatches
...
  group 13: an entry matches a port that is not its own, 1 time (1 entry, 1 port): no rule of the system explains this: a fault
    CPU|ONE (entry 12) on Port26
exit 1
$ check -c scenarios/overlap.json --map L3=16
  6 entries x 9 ports: 6 mismatches
...
    OFFICE|ALLOW_WEB (entry 2) on Ethernet3, which PRINTERS|ALLOW_PRINTING (entry 4) took
    and 3 more
exit 1
$ check -c scenarios/overlap.json --map L3=16 --all
...
    OFFICE|NO_CAMERAS (entry 3) on Ethernet4, which PRINTERS|ALLOW_PRINTING (entry 4) took
exit 1
$ check -c scenarios/overlap.json
  6 entries x 9 ports: every entry matches exactly its ports
)" );
}

TEST_F( UsageText, DiffTellsWhatBecameOfEntriesClassIdsAndPorts ) {
   make( "before", desk, deskPorts );
   make( "after", fmt::format( "{}{}", desk, R"({"op":"remove","group":16,"entry":3}
{"op":"install","group":16,"entry":3,"ports":[5,6],"label":"GUESTS|WEB"}
{"op":"remove","group":13,"entry":9}
{"op":"remove","group":13,"entry":10}
{"op":"install","group":13,"entry":30,"ports":[2,4,6,8,10,12,14,16,18,20,22,24,26],"label":"EVEN|ONE"}
{"op":"install","group":129,"entry":21,"ports":[26]}
{"op":"remove","group":129,"entry":20}
)" ),
         deskPorts );
   expectTranscript( R"(
$ diff @/before @/before
no difference
$ diff @/before @/after
Entries (+ came, - gone, ~ changed)
  ~ GUESTS|WEB (entry 3): moves from bits 14-17, class ID 1 to bits 14-17, class ID 3 (group 16, aclGroupFlexibleWidth); gains Port5, Port6; loses Port1, Port2
  ~ entries 4, 6-7: loses Port5
  - ALL|ANY (entry 9): group 13, aclGroupFlexibleWidth bit 18
  - entry 10: group 13, aclGroupFlexibleWidth bit 19
  - entry 20: group 129, ifpSourceTrunkMap bit 2
  + entry 21: group 129, ifpSourceTrunkMap bit 3
  + EVEN|ONE (entry 30): group 13, aclGroupFlexibleWidth bit 18

Class IDs
  ~ group 13, aclGroupFlexibleWidth bit 18: 1 entry; gains Port2, Port4, Port6, Port8, Port10, Port12, Port14, Port16, Port18, Port20, Port22, Port24 and 1 more; no longer of all ethernet ports
  - group 13, aclGroupFlexibleWidth bit 19: 1 entry, then 0
  ~ group 16, aclGroupFlexibleWidth bits 14-17, class ID 1: 3 entries, then 2
  ~ group 16, aclGroupFlexibleWidth bits 14-17, class ID 2: 3 entries; loses Port5
  + group 16, aclGroupFlexibleWidth bits 14-17, class ID 3: 0 entries, then 1; gains Port5, Port6
  - group 129, ifpSourceTrunkMap bit 2: 1 entry, then 0; loses Port2, Port4
  + group 129, ifpSourceTrunkMap bit 3: 0 entries, then 1; gains Port26

Ports
  port    value              bits gained  bits lost
  Port1   aclGroup                        18
  Port2   ifpSourceTrunkMap               2
  Port3   aclGroup                        18
  Port4   ifpSourceTrunkMap               2
  Port5   aclGroup           14           18
  Port6   aclGroup           14-15
  Port7   aclGroup                        18
  Port9   aclGroup                        18
  Port11  aclGroup                        18
  Port13  aclGroup                        18
  Port15  aclGroup                        18
  Port17  aclGroup                        18
  Port19  aclGroup                        18
  Port21  aclGroup                        18
  Port23  aclGroup                        18
  Port25  aclGroup                        18
  Port26  ifpSourceTrunkMap  3
exit 1
$ diff @/before --switch @/after
Entries (+ came, - gone, ~ changed)
  ~ GUESTS|WEB (entry 3): moves from bits 14-17, class ID 3 to bits 14-17, class ID 1 (group 16, aclGroupFlexibleWidth); gains Port1, Port2; loses Port5, Port6
  ~ entries 4, 6-7: gains Port5
  - entry 21: group 129, ifpSourceTrunkMap bit 3
  - EVEN|ONE (entry 30): group 13, aclGroupFlexibleWidth bit 18
  + ALL|ANY (entry 9): group 13, aclGroupFlexibleWidth bit 18
  + entry 10: group 13, aclGroupFlexibleWidth bit 19
  + entry 20: group 129, ifpSourceTrunkMap bit 2

Class IDs
  ~ group 13, aclGroupFlexibleWidth bit 18: 1 entry; loses Port2, Port4, Port6, Port8, Port10, Port12, Port14, Port16, Port18, Port20, Port22, Port24 and 1 more; now of all ethernet ports
  + group 13, aclGroupFlexibleWidth bit 19: 0 entries, then 1
  ~ group 16, aclGroupFlexibleWidth bits 14-17, class ID 1: 2 entries, then 3
  ~ group 16, aclGroupFlexibleWidth bits 14-17, class ID 2: 3 entries; gains Port5
  - group 16, aclGroupFlexibleWidth bits 14-17, class ID 3: 1 entry, then 0; loses Port5, Port6
  + group 129, ifpSourceTrunkMap bit 2: 0 entries, then 1; gains Port2, Port4
  - group 129, ifpSourceTrunkMap bit 3: 1 entry, then 0; loses Port26

...
exit 1
$ diff scenarios/overlap.json scenarios/overlap.json
no difference
$ diff @/before
quarra-tcam: diff: expected two states, BEFORE and AFTER
exit 2
)" );
}

TEST_F( UsageText, PrometheusGetsTheSameFigures ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ usage --switch @/desk --prometheus
# HELP quarra_tcam_space_bits Bits of the class-ID space.
# TYPE quarra_tcam_space_bits gauge
quarra_tcam_space_bits{variant="sdk6",chip="sdk6-64",space="ifpSourceTrunkMap"} 16
quarra_tcam_space_bits{variant="sdk6",chip="sdk6-64",space="vfpSourceTrunkMap"} 16
quarra_tcam_space_bits{variant="sdk6",chip="sdk6-64",space="aclGroupFlexibleWidth"} 64
...
quarra_tcam_space_bits_used{variant="sdk6",chip="sdk6-64",space="ifpSourceTrunkMap"} 3
...
quarra_tcam_space_largest_free_run_bits{variant="sdk6",chip="sdk6-64",space="aclGroupFlexibleWidth"} 42
...
quarra_tcam_group_class_ids{variant="sdk6",chip="sdk6-64",group="16",space="aclGroupFlexibleWidth"} 2
...
quarra_tcam_group_entries{variant="sdk6",chip="sdk6-64",group="129",space="ifpSourceTrunkMap"} 1
...
quarra_tcam_group_further_port_sets{variant="sdk6",chip="sdk6-64",group="16",space="aclGroupFlexibleWidth"} 165
...
quarra_tcam_table_entries{variant="sdk6",chip="sdk6-64",group="16",table="DESKS"} 2
...
quarra_tcam_table_class_ids{variant="sdk6",chip="sdk6-64",group="16",table=""} 1
...
quarra_tcam_table_class_ids{variant="sdk6",chip="sdk6-64",group="13",table="ODD"} 1
)" );
}

TEST_F( UsageText, ChipsAndGroupsAreListed ) {
   expectTranscript( R"(
$ chips
  chip       variants        flexible  fixed  source trunk map  ports
  sdk6-64    sdk6, testSdk6        64      0                16    510  64 flexible bits, a 16-bit source trunk map, 510 ports
  hsdk-256   hsdk, testHsdk        32    128                 0    255  32 flexible and 128 fixed bits, no source trunk map, 256 system ports
  hsdk-1024  hsdk, testHsdk        32    128                 0   1023  32 flexible and 128 fixed bits, no source trunk map, 1,024 system ports
$ chips -j
{"version":1,"ok":true,"chips":[{"profile":"sdk6-64","variants":["sdk6","testSdk6"],"flexibleBits":64,"fixedBits":0,"sourceTrunkMapBits":16,"portBits":9,"portCount":510},{"profile":"hsdk-256","variants":["hsdk","testHsdk"],"flexibleBits":32,"fixedBits":128,"sourceTrunkMapBits":0,"portBits":8,"portCount":255},{"profile":"hsdk-1024","variants":["hsdk","testHsdk"],"flexibleBits":32,"fixedBits":128,"sourceTrunkMapBits":0,"portBits":10,"portCount":1023}]}
$ groups --variant hsdk
  group  type                   width  pool bits  pools  strategy          system  rules reserved at start-up
      1  aclGroupFlexibleWidth      1          0      1  allocateOnInit    yes
      2  aclGroupFlexibleWidth      1          0      1  allocateOnInit    yes     CPU for l3 ctrl group; PBMP_E_ALL for l3 ctrl group
...
     10  aclGroupFixedWidth         8          0      1  allocateOnDemand
...
)" );
}

} // namespace
} // namespace QuarraTest
