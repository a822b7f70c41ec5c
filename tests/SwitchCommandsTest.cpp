#include <sqlite3.h>

#include "tests/ToolRun.h"

// The commands of switches that last: what they print, which options fit a switch that is there, and what
// becomes of one that was damaged or over which a process died.
namespace QuarraTest {
namespace {

constexpr auto oneEntry = R"({"op":"install","group":13,"entry":1,"ports":[1,2],"label":"T|A"})";

class SwitchCommands : public ToolTest {
 protected:
   // The switch "@/s": four ports, one entry.
   SwitchCommands() {
      write( "four.json", R"({"ports":4})" );
      expectTranscript(
         "$ batch " + write( "one.jsonl", oneEntry ) +
         " --switch @/s --variant sdk6 --chip @/four.json\n"
         R"({"version":1,"ok":true,"key":["acl-1-1",0,"acl-1-1"],"classId":1,"poolId":1,"baseOffset":14,)"
         R"("poolWidth":1,"data":"0x4000","mask":"0x4000"})" );
   }

   // A process that dies over the line at its SDK call with that number.
   void die( const std::string &line, int call ) const {
      const auto ran = run( { "batch", write( "line", line ), "--switch", file( "s" ), "--fail-sdk-call",
                              std::to_string( call ) } );
      EXPECT_NE( ran.code, 0 ) << ran.printed;
   }

   void sql( const std::string &text ) const {
      sqlite3 *database = nullptr;
      ASSERT_EQ( sqlite3_open( file( "s/store.db" ).c_str(), &database ), SQLITE_OK );
      EXPECT_EQ( sqlite3_exec( database, text.c_str(), nullptr, nullptr, nullptr ), SQLITE_OK ) << text;
      sqlite3_close( database );
   }
};

TEST_F( SwitchCommands, AChipFileMayRepeatWhatTheSwitchIsAndChangeNothing ) {
   const std::pair<const char *, const char *> refused[] = {
      { R"({"tcamRowBits":500})", "its tcamRowBits is 192, --chip says 500" },
      { R"({"ruleBits":1})", "its ruleBits is 128, --chip says 1" },
      { R"({"portBitmapBits":64})", "its portBitmapBits is 512, --chip says 64" },
      { R"({"flexibleBits":48})", "its flexibleBits is 64, --chip says 48" },
      { R"({"flexibleBits":56,"fixedBits":8})", "its flexibleBits is 64, --chip says 56" },
      { R"({"sourceTrunkMapBits":12})", "its sourceTrunkMapBits is 16, --chip says 12" },
      { R"({"portBits":4,"ports":4})", "its portBits is 9, --chip says 4" },
      { R"({"ports":5})", "its ports are not those that --chip says; Port5 only there" },
      { R"({"ports":[1,2,3,5]})",
        "its ports are not those that --chip says; Port4 only on the switch; Port5 only there" },
      { R"({"ports":4,"cpuPorts":[9]})", "its CPU ports are not those that --chip says" },
      { R"({"variant":"testSdk6"})", "its variant is sdk6, --chip says testSdk6" },
   };
   for ( const auto &[ chip, complaint ] : refused ) {
      write( "chip.json", chip );
      const auto ran = run( { "restart", "--switch", file( "s" ), "--chip", file( "chip.json" ) } );
      EXPECT_EQ( ran.code, 2 ) << chip;
      EXPECT_EQ( ran.complained,
                 "quarra-tcam: storeOfAnother: switch " + file( "s" ) + ": " + complaint + "\n" );
   }
   // A file that names no ports has its profile's, which says nothing of the switch's.
   for ( const auto *taken :
         { "{}", R"({"ports":4})", R"({"ports":510})", R"({"variant":"sdk6","tcamRowBits":192})" } ) {
      write( "chip.json", taken );
      const auto ran = run( { "restart", "--switch", file( "s" ), "--chip", file( "chip.json" ) } );
      EXPECT_EQ( ran.code, 0 ) << taken << ran.complained;
   }
   write( "profile.json", R"({"profile":"hsdk-1024"})" );
   expectTranscript( R"(
$ restart --switch @/s --variant testSdk6
quarra-tcam: storeOfAnother: switch @/s: its variant is sdk6, --variant says testSdk6
exit 2
$ batch @/one.jsonl --switch @/h --variant hsdk
{"version":1,"ok":false,"error":{"code":"groupNotCreated","message":"group 13 entry 1: a fixed-width group gets its class IDs when it is created","line":1}}
$ restart --switch @/h --chip @/profile.json
quarra-tcam: storeOfAnother: switch @/h: its chip is hsdk-256, --chip says hsdk-1024
exit 2
$ restart --switch @/h --variant hsdk
switch @/h: variant hsdk, chip hsdk-256; 0 entries
  in flight: nothing
  0 SDK calls, 0 of them writes
)" );
}

TEST_F( SwitchCommands, TheSwitchIsTheOneThatIsThere ) {
   write( "letter", "Dear Sir" );
   expectTranscript( R"(
$ usage --switch @/none
quarra-tcam: storeMissing: switch @/none: there is none; apply and batch make one
exit 5
$ damage bit Port1 1 --switch @/none
quarra-tcam: storeMissing: switch @/none: there is none; apply and batch make one
exit 5
$ usage --switch @
quarra-tcam: storeMissing: switch @: the directory has files, but no store.db
exit 5
$ usage --switch @/s -c scenarios/overlap.json
quarra-tcam: --switch is a switch that is there: it takes no --config, --map or --bindings
exit 2
$ usage --switch @/s --bindings
quarra-tcam: --switch is a switch that is there: it takes no --config, --map or --bindings
exit 2
$ usage
quarra-tcam: there is no switch to ask: give it with --switch DIR, or the configuration that it holds with --config FILE
exit 2
$ restart --sync
quarra-tcam: --sync is about a switch that lasts: --switch DIR is missing (--help explains)
exit 2
$ restart --cold
quarra-tcam: --cold is about a switch that lasts: --switch DIR is missing (--help explains)
exit 2
$ switch --switch @/s
switch @/s: 1 entry; 4 ports (Port1-Port4)
  store: version 1, 3 commits, 65536 bytes; the chip's tables: 98368 bytes
variant sdk6, chip sdk6-64
...
  T         13        1          1                         0
)" );
}

TEST_F( SwitchCommands, DamageIsFoundByTheAuditAndMendedByTheRepair ) {
   expectTranscript( R"(
$ damage bit Port1 3 --switch @/s
bit 3 of Port1 is set
$ damage bit 2 14 --switch @/s
bit 14 of Port2 is clear
$ damage entry 1 --switch @/s
entry 1 is off the chip
$ damage entry 1 --switch @/s
quarra-tcam: damage: there is no entry 1 on the chip
exit 2
$ damage word Port2 9 5 --switch @/s
the word of Port2 in table 9 is 5
$ damage word Port3 10 4294967295 --switch @/s
the word of Port3 in table 10 is 4294967295
$ audit --switch @/s
switch @/s: 1 entry, 10 words of port tables and 65536 bits of ports' values compared; 5 drifts
  drift         where           expected                   found
  entryMissing  entry 1 (T|A)   data bits 14 mask bits 14  nothing
  portBit       Port1 bit 3     0                          1
  portBit       Port2 bit 14    1                          0
  portWord      Port2 table 9   0x0                        0x5
  portWord      Port3 table 10  0x0                        0xffffffff
exit 1
$ repair --switch @/s -s
switch @/s: 1 entry, 10 words of port tables and 65536 bits of ports' values compared; 5 drifts
...
  5 repaired by 7 SDK writes, 0 left

  SDK function                              calls
  bcm_subport_port_group_subport_multi_set      2
  fieldEntryCreate                              1
  fieldEntryInstall                             1
  portTableSet                                  2
  vm_field_qualify_SubportGroupIds              1
  all                                           7
$ audit --switch @/s
switch @/s: 1 entry, 10 words of port tables and 65536 bits of ports' values compared; 0 drifts
$ repair --switch @/s -s
switch @/s: 1 entry, 10 words of port tables and 65536 bits of ports' values compared; 0 drifts

  SDK function  calls
  all               0
$ damage foo 1 --switch @/s
quarra-tcam: damage: expected entry ENTRY, bit PORT BIT or word PORT TABLE VALUE
exit 2
$ damage entry 1 2 --switch @/s
quarra-tcam: damage: expected entry ENTRY, bit PORT BIT or word PORT TABLE VALUE
exit 2
$ damage word Port1 8 1 --switch @/s
quarra-tcam: damage: table 8: expected 9 or 10, the tables of ports' words
exit 2
$ damage word Port1 11 1 --switch @/s
quarra-tcam: damage: table 11: expected 9 or 10, the tables of ports' words
exit 2
$ damage bit Port1 64 --switch @/s
quarra-tcam: damage: expected a number up to 63, got "64"
exit 2
$ damage bit Port1 1x --switch @/s
quarra-tcam: damage: expected a number up to 63, got "1x"
exit 2
)" );
}

// One SDK call that fails, of a repair too, and the exit code says so.
TEST_F( SwitchCommands, TheTextTellsOfTheFirst50DriftsAndTheDocumentOfAll ) {
   std::string many;
   for ( int entry = 100; entry < 152; ++entry ) {
      many += R"({"op":"install","group":16,"entry":)" + std::to_string( entry ) + ",\"ports\":[3]}\n";
   }
   ASSERT_EQ( run( { "batch", write( "many", many ), "--switch", file( "s" ) } ).code, 0 );
   for ( int entry = 100; entry < 152; ++entry ) {
      run( { "damage", "entry", std::to_string( entry ), "--switch", file( "s" ) } );
   }
   expectTranscript( R"(
$ audit --switch @/s
...
  entryMissing  entry 149  data bits 15 mask bits 15,16,17,18  nothing
  and 2 more; --all lists them
exit 1
$ audit --all --switch @/s
...
  entryMissing  entry 151  data bits 15 mask bits 15,16,17,18  nothing
exit 1
)" );
   const auto document = run( { "audit", "-j", "--switch", file( "s" ) } ).printed;
   EXPECT_NE( document.find( R"("kind":"entryMissing","entry":151,)" ), std::string::npos ) << document;
}

TEST_F( SwitchCommands, TheNextProcessTellsWhatBecameOfTheRequestInFlight ) {
   die( R"({"op":"install","group":13,"entry":5,"ports":[3],"label":"T|B"})", 3 );
   expectTranscript( R"(
$ restart --switch @/s
switch @/s: variant sdk6, chip sdk6-64; 1 entry
  in flight: the installation of entry 5 of group 13 (T|B), over which a process died, is undone
  2 SDK calls, 2 of them writes
  SDK function                              calls
  bcm_subport_port_group_subport_multi_set      1
  fieldEntryDestroy                             1
  all                                           2
quarra-tcam: switch @/s: the installation of entry 5 of group 13 (T|B), over which a process died, is undone
$ restart --switch @/s
switch @/s: variant sdk6, chip sdk6-64; 1 entry
  in flight: nothing
  0 SDK calls, 0 of them writes
)" );
   die( R"({"op":"remove","group":13,"entry":1})", 1 );
   expectTranscript( R"(
$ restart --switch @/s -j
{"version":1,"ok":true,"switch":"@/s","variant":"sdk6","chip":"sdk6-64","entries":0,"inFlight":{"request":"remove","outcome":"done","group":13,"entry":1,"label":"T|A"},"cold":null,"sdkWrites":2,"sdkCalls":{"bcm_subport_port_group_subport_multi_set":1,"fieldEntryDestroy":1}}
quarra-tcam: switch @/s: the removal of entry 1 of group 13 (T|A), over which a process died, is done
)" );
}

TEST_F( SwitchCommands, AColdStartTellsWhyAndWhatIsBack ) {
   sql( "PRAGMA user_version = 9" );
   expectTranscript( R"(
$ usage --switch @/s
quarra-tcam: storeNewer: store @/s/store.db: its version is 9, this agent knows versions up to 1
exit 5
$ restart --switch @/s --cold
switch @/s: variant sdk6, chip sdk6-64; 1 entry
  in flight: nothing
  6 SDK calls, 6 of them writes
...
quarra-tcam: switch @/s: started cold: 1 entry left the chip, 1 is back; the store was of no use: storeNewer: store @/s/store.db: its version is 9, this agent knows versions up to 1
$ restart --switch @/s --cold -j
{"version":1,"ok":true,"switch":"@/s","variant":"sdk6","chip":"sdk6-64","entries":1,"inFlight":null,"cold":{"why":null,"chipWasReset":false,"taken":1,"back":1,"unreadable":0,"refused":[]},"sdkWrites":6,"sdkCalls":{"bcm_subport_port_group_subport_multi_set":2,"fieldEntryCreate":1,"fieldEntryDestroy":1,"fieldEntryInstall":1,"vm_field_qualify_SubportGroupIds":1}}
quarra-tcam: switch @/s: started cold: 1 entry left the chip, 1 is back
)" );
   // Of a store that nothing can be read of, only the options tell what the switch was.
   write( "s/store.db", std::string( 5000, 'x' ) );
   expectTranscript( R"(
$ restart --switch @/s --cold
quarra-tcam: storeDamaged: switch @/s: its store does not tell what it is: give --variant, and --chip where its chip is not the variant's default one
exit 5
$ restart --switch @/s --cold --variant sdk6 --chip @/four.json
switch @/s: variant sdk6, chip sdk6-64; 0 entries
...
quarra-tcam: switch @/s: started cold: 1 entry left the chip, 0 are back; the store was of no use: storeDamaged: store @/s/store.db: file is not a database
exit 1
$ switch --switch @/s
switch @/s: 0 entries; 4 ports (Port1-Port4)
...
)" );
}

} // namespace
} // namespace QuarraTest
