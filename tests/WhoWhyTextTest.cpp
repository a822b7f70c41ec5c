#include "tests/AnswerText.h"

// What people read of a bit, a table and a port, whole.
namespace QuarraTest {
namespace {

class WhoWhyText : public AnswerText {};

TEST_F( WhoWhyText, WhoTellsOwnersAndCarriersOfABit ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ who --switch @/desk flexible 13
bit 13 of aclGroupFlexibleWidth
  pool 5 of group 6: bit 13, 0 class IDs free

Class IDs that set it
  group  class ID  bits  used by                                                    ports
      6         1  13    rule "PBMP_E_ALL for l2 ctrl group", reserved at start-up  none

Ports that carry it: none
$ who --switch @/desk flexible 14
bit 14 of aclGroupFlexibleWidth
  pool 1 of group 16: bits 14 to 17, 13 class IDs free

Class IDs that set it
  group  class ID  bits  used by                  ports
     16         1  14    2 of DESKS, 1 of GUESTS  Port1-Port2

Ports that carry it: Port1-Port2
$ who --switch @/desk flexible 17
bit 17 of aclGroupFlexibleWidth
  pool 1 of group 16: bits 14 to 17, 13 class IDs free

Ports that carry it: none
$ who --switch @/desk flexible 18
bit 18 of aclGroupFlexibleWidth
  pool 1 of group 13: bit 18, 0 class IDs free

Class IDs that set it
  group  class ID  bits  used by   ports
     13         1  18    1 of ALL  all ethernet

Ports that carry it: Port1-Port26
$ who --switch @/desk aclGroupFlexibleWidth 22
bit 22 of aclGroupFlexibleWidth
  free

Ports that carry it: none
$ who --switch @/desk ifp 2
bit 2 of ifpSourceTrunkMap
  pool 2 of group 129: bit 2, 0 class IDs free

Class IDs that set it
  group  class ID  bits  used by   ports
    129         1  2     entry 20  Port2, Port4

Ports that carry it: Port2, Port4
$ who --switch @/desk vfp 15
bit 15 of vfpSourceTrunkMap
  free

Ports that carry it: none
$ who --switch @/desk vfp 16
quarra-tcam: outOfRange: bit 16: vfpSourceTrunkMap has the bits 0 to 15
exit 2
$ who --variant hsdk -c scenarios/overlap.json --map L3=16 fixed 1
bit 1 of aclGroupFixedWidth, bit 33 of the port's ACL-group value
  pool 1 of group 16: bits 0 to 7, 253 class IDs free

Class IDs that set it
  group  class ID  bits  used by        ports
     16         2  1     3 of PRINTERS  Ethernet3-Ethernet7

Ports that carry it: Ethernet3-Ethernet7
)" );
}

TEST_F( WhoWhyText, WhoTellsWhatATableSharesAndWhoseAPortsBitsAre ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ who --switch @/desk DESKS
table DESKS uses 1 class ID
  group  space                  pool  class ID  bits  entries of it  used by                  ports
     16  aclGroupFlexibleWidth     1         1  14    1-2            2 of DESKS, 1 of GUESTS  Port1-Port2
$ who --switch @/desk ODD
table ODD uses 1 class ID
  group  space                  pool  class ID  bits  entries of it  used by   ports
     13  aclGroupFlexibleWidth     3         1  20    11             1 of ODD  Port1, Port3, Port5, Port7, Port9, Port11, Port13, Port15, Port17, Port19, Port21, Port23, Port25-Port26
$ who --switch @/desk CPU
table CPU uses 1 class ID
  group  space                  pool  class ID  bits  entries of it  used by   ports
     13  aclGroupFlexibleWidth     4         1  21    12             1 of CPU  Port0-Port1
$ who --switch @/desk NONE
quarra-tcam: unknownTable: no installed entry is a rule of a table "NONE"; tables: ALL, CPU, DESKS, GUESTS, ODD
exit 2
$ who --switch @/desk Port2
Port2 carries
  space                  bits   read  group  pool  class ID  of
  ifpSourceTrunkMap      2      1       129     2         1  entry 20
  aclGroupFlexibleWidth  14-17  0001     16     1         1  2 of DESKS, 1 of GUESTS
  aclGroupFlexibleWidth  18     1        13     1         1  1 of ALL
  nothing in vfpSourceTrunkMap
$ who --switch @/desk 0
Port0 carries
  space                  bits  read  group  pool  class ID  of
  aclGroupFlexibleWidth  21    1        13     4         1  1 of CPU
  nothing in ifpSourceTrunkMap, vfpSourceTrunkMap
$ who -c scenarios/overlap.json 3
Ethernet2 (port 3) carries
  space                  bits  read  group  pool  class ID  of
  aclGroupFlexibleWidth  14    1        13     1         1  3 of OFFICE
  nothing in ifpSourceTrunkMap, vfpSourceTrunkMap
)" );
}

TEST_F( WhoWhyText, BitsThatNobodyLentAreCalledSo ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ damage bit Port7 14 --switch @/desk
bit 14 of Port7 is set
$ damage bit Port7 16 --switch @/desk
bit 16 of Port7 is set
$ damage bit Port7 40 --switch @/desk
bit 40 of Port7 is set
$ damage bit Port7 20 --switch @/desk
bit 20 of Port7 is clear
$ damage word Port7 10 5 --switch @/desk
the word of Port7 in table 10 is 5
$ who --switch @/desk Port7
Port7 carries
  space                  bits   read  group  pool  class ID  of
  vfpSourceTrunkMap      0      1                            nobody: no pool lies there
  vfpSourceTrunkMap      2      1                            nobody: no pool lies there
  aclGroupFlexibleWidth  14-17  0101     16     1         5  nobody: it is not lent
  aclGroupFlexibleWidth  18     1        13     1         1  1 of ALL
  aclGroupFlexibleWidth  40     1                            nobody: no pool lies there
  nothing in ifpSourceTrunkMap
$ why --switch @/desk Port7
...
Entries
  asked  matches  entries             group  class ID  first bit that differs
  yes    yes      ALL|ANY (entry 9)      13         1
  yes    NO       ODD|ONE (entry 11)     13         1  bit 20: wants 1, port has 0
  9 entries of 5 other class IDs were not asked for, and do not match

Not as asked
  ODD|ONE (entry 11): no rule of the system explains this: a fault
)" );
}

TEST_F( WhoWhyText, WhyTellsOfAllEntriesByTheirClassIds ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ why --switch @/desk Port3
Port3 on variant sdk6, chip sdk6-64

The port carries
  space                  bits   read  group  pool  class ID  of
  aclGroupFlexibleWidth  14-17  0010     16     1         2  entries 4, 6-7
  aclGroupFlexibleWidth  18     1        13     1         1  1 of ALL
  aclGroupFlexibleWidth  20     1        13     3         1  1 of ODD
  nothing in ifpSourceTrunkMap, vfpSourceTrunkMap

Entries
  asked  matches  entries                                 group  class ID  first bit that differs
  yes    NO       3 rules of DESKS, GUESTS (entries 1-3)     16         1  bit 14: wants 1, port has 0
  yes    yes      entries 4, 6-7                             16         2
  yes    yes      ALL|ANY (entry 9)                          13         1
  yes    yes      ODD|ONE (entry 11)                         13         1
  3 entries of 3 other class IDs were not asked for, and do not match

Not as asked
  3 rules of DESKS, GUESTS (entries 1-3): a port carries one class ID of group 16, and a newer entry (entry 4) took the port (known behaviour newest-takes-port)
$ why --switch @/desk Port4
...
Entries
  asked  matches  entries            group  class ID  first bit that differs
  yes    yes      ALL|ANY (entry 9)     13         1
  yes    yes      entry 20             129         1
  9 entries of 5 other class IDs were not asked for, and do not match
)" );
   make( "one", R"({"op":"install","group":13,"entry":1,"ports":[1]})" );
   expectTranscript( R"(
$ why --switch @/one Port2
Port2 on variant sdk6, chip sdk6-64

The port carries
  nothing in ifpSourceTrunkMap, vfpSourceTrunkMap, aclGroupFlexibleWidth

Entries
  none was asked for this port, and none matches it
  1 entry of 1 other class ID was not asked for, and does not match
)" );
}

TEST_F( WhoWhyText, WhyInDetailComparesBitByBit ) {
   make( "desk", desk, deskPorts );
   expectTranscript( R"(
$ why --switch @/desk Port3 DESKS
...
Entries
  2 rules of DESKS (entries 1-2) do not match it, though asked to.
    Group 16, pool 1: bits 14-17 of aclGroupFlexibleWidth. Class ID 1.
    bit           17  16  15  14
    entry wants    0   0   0   1
    port has       0   0   1   0
                           ^   ^
    2 bits differ: 14-15.
    The port carries class ID 2 of the pool instead: entries 4, 6-7.
    Why: a port carries one class ID of group 16, and a newer entry (entry 4) took the port (known behaviour newest-takes-port)
$ why --switch @/desk 1 WEB
...
Entries
  2 rules of DESKS, GUESTS (entries 2-3) match it, as asked.
    Group 16, pool 1: bits 14-17 of aclGroupFlexibleWidth. Class ID 1.
    bit           17  16  15  14
    entry wants    0   0   0   1
    port has       0   0   0   1
    Every bit compared is equal.
$ why --switch @/desk 26 CPU|ONE
...
Entries
  CPU|ONE (entry 12) does not match it, and was not asked to.
    Group 13, pool 4: bit 21 of aclGroupFlexibleWidth. Class ID 1.
    bit           21
    entry wants    1
    port has       0
                   ^
    1 bit differs: 21.
    The port carries no class ID of this pool.
$ damage bit Port26 21 --switch @/desk
bit 21 of Port26 is set
$ why --switch @/desk 26 12
...
  CPU|ONE (entry 12) matches it, though not asked to.
...
    Every bit compared is equal.
    Why: no rule of the system explains this: a fault
$ why --switch @/desk 4 20
...
Entries
  entry 20 matches it, as asked.
    Group 129, pool 2: bit 2 of ifpSourceTrunkMap. Class ID 1.
    bit            2
    entry wants    1
    port has       1
    Every bit compared is equal.
$ why -c scenarios/overlap.json Ethernet0 ALLOW_WEB
...
  OFFICE|ALLOW_WEB (entry 2) matches it, as asked.
    Rule: DST_IP 0.0.0.0/0, IP_PROTOCOL 6, L4_DST_PORT 443, PACKET_ACTION FORWARD
...
$ why --switch @/desk 1 8
quarra-tcam: unknownEntry: "8" is no number of an installed entry, no table, TABLE|RULE or rule; the switch has 11 entries
exit 2
)" );
}

} // namespace
} // namespace QuarraTest
