#include "lab/ChipFile.h"

#include "lab/TextFile.h"
#include "tests/Lines.h"
#include "tools/Nearest.h"
#include "tools/Options.h"

// What a chip file and the words of the command line choose.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using namespace QuarraAgent;

// The numbers of a chip, its ports, and the CPU's, in a line.
std::string lineOf( const ChipChoice &choice ) {
   const auto &chip = choice.chip;
   std::string text = std::string( choice.variant->name ) + " " + chip.profile;
   for ( const U32 number : { U32{ chip.flexibleBits }, U32{ chip.fixedBits }, U32{ chip.sourceTrunkMapBits },
                              U32{ chip.portBits }, chip.tcamRowBits, chip.ruleBits, chip.portBitmapBits } ) {
      text += " " + std::to_string( number );
   }
   text += " |";
   if ( chip.ports.size() > 5 ) {
      text += " " + std::to_string( chip.ports.size() ) + " from " + chip.ports.front().intf + " to " +
              chip.ports.back().intf;
   } else {
      for ( const auto &port : chip.ports ) {
         text += " " + port.intf;
      }
   }
   text += " |";
   for ( const auto &port : chip.cpuPorts ) {
      text += " " + portName( port );
   }
   return text;
}

TEST( ChipFile, ChangesWhatItNamesAndNothingElse ) {
   struct Case {
      const char *variant, *text, *chip;
   };
   const Case cases[] = {
      { "sdk6", "{}", "sdk6 sdk6-64 64 0 16 9 192 128 512 | 510 from Port1 to Port510 | Port0" },
      { "hsdk", "{}", "hsdk hsdk-256 32 128 0 8 192 128 257 | 255 from Port1 to Port255 | Port0" },
      { "sdk6",
        R"({"flexibleBits":20,"fixedBits":12,"sourceTrunkMapBits":9,"tcamRowBits":11,"ruleBits":0,)"
        R"("portBitmapBits":7})",
        "sdk6 sdk6-64 20 12 9 9 11 0 7 | 510 from Port1 to Port510 | Port0" },
      { "testSdk6", R"({"ports":3})", "testSdk6 sdk6-64 64 0 16 9 192 128 512 | Port1 Port2 Port3 | Port0" },
      { "sdk6", R"({"ports":[7,{"module":2,"port":5}],"cpuPorts":[9]})",
        "sdk6 sdk6-64 64 0 16 9 192 128 512 | Port7 Port2/5 | Port9" },
      { "sdk6", R"({"cpuPorts":[]})", "sdk6 sdk6-64 64 0 16 9 192 128 512 | 510 from Port1 to Port510 |" },
      { "sdk6", R"({"variant":"testHsdk"})",
        "testHsdk hsdk-256 32 128 0 8 192 128 257 | 255 from Port1 to Port255 | Port0" },
      { "hsdk", R"({"profile":"hsdk-1024","portBits":10})",
        "hsdk hsdk-1024 32 128 0 10 192 128 1025 | 1023 from Port1 to Port1023 | Port0" },
      { "sdk6", R"({"profile":"hsdk-1024","variant":"hsdk","fixedBits":40})",
        "hsdk hsdk-1024 32 40 0 10 192 128 1025 | 1023 from Port1 to Port1023 | Port0" },
      { "hsdk", R"({"portBits":1,"ports":1})", "hsdk hsdk-256 32 128 0 1 192 128 257 | Port1 | Port0" },
   };
   for ( const auto &[ variant, text, chip ] : cases ) {
      EXPECT_EQ( lineOf( parseChip( text, "f", defaultChoice( variant ) ) ), chip ) << text;
   }
}

// The last that is taken and the first that is not.
TEST( ChipFile, LimitsAreTheGenerations ) {
   struct Case {
      const char *variant, *text, *refusal; // empty: taken
   };
   const Case cases[] = {
      { "sdk6", R"({"flexibleBits":64})", "" },
      { "sdk6", R"({"flexibleBits":65})", "aclGroupFlexibleWidth 65: expected 0 to 64" },
      { "sdk6", R"({"flexibleBits":56,"fixedBits":8})", "" },
      { "sdk6", R"({"flexibleBits":56,"fixedBits":9})", "expected at most 64 together" },
      { "sdk6", R"({"flexibleBits":57,"fixedBits":7})", "expected at most 56, or 64" },
      { "sdk6", R"({"sourceTrunkMapBits":17})", "sourceTrunkMap 17: expected 0 to 16" },
      { "sdk6", R"({"ports":[1022]})", "" },
      { "sdk6", R"({"ports":[1023]})", "a port below 1023" },
      { "sdk6", R"({"ports":[{"module":63,"port":1}]})", "" },
      { "sdk6", R"({"ports":[1,{"module":1,"port":1}]})", "one ACL-group value for a port number" },
      { "sdk6", R"({"ports":[0]})", "one ACL-group value for a port number" },
      { "sdk6", R"({"tcamRowBits":0})", "tcamRowBits" },
      { "sdk6", R"({"tcamRowBits":1})", "" },
      { "hsdk", R"({"flexibleBits":64,"fixedBits":96})", "" },
      { "hsdk", R"({"flexibleBits":64,"fixedBits":97})", "expected at most 160 together" },
      { "hsdk", R"({"flexibleBits":57,"fixedBits":8})", "expected at most 56, or 64" },
      { "hsdk", R"({"flexibleBits":63,"fixedBits":0})", "" },
      { "hsdk", R"({"portBits":4,"ports":15})", "" },
      { "hsdk", R"({"portBits":4,"ports":16})", "a port below 16" },
      { "hsdk", R"({"portBits":10})", "" },
      { "hsdk", R"({"portBits":11})", "portBits" },
      { "hsdk", R"({"ports":[{"module":1,"port":1}]})", "system ports belong to module 0" },
   };
   for ( const auto &[ variant, text, refusal ] : cases ) {
      std::string said;
      try {
         parseChip( text, "f", defaultChoice( variant ) );
      } catch ( const InputErrors &errors ) {
         said = errors.lines().front();
      }
      EXPECT_EQ( said.empty(), std::string( refusal ).empty() ) << variant << text << said;
      EXPECT_THAT( said, ::testing::HasSubstr( refusal ) ) << variant << text;
   }
}

TEST( SdkCallFailure, IsANumberOfACallOfOneFunctionOrOfAny ) {
   struct Case {
      const char *text;
      U64 nth;
      int code;
      const char *function;
   };
   const Case cases[] = {
      { "1", 1, -1, "" },
      { "12:-7", 12, -7, "" },
      { "fieldEntryCreate:3", 3, -1, "fieldEntryCreate" },
      { "bcmlt_entry_commit:18446744073709551615:-2147483648", 18446744073709551615u, -2147483647 - 1,
        "bcmlt_entry_commit" },
   };
   for ( const auto &[ text, nth, code, function ] : cases ) {
      const auto failure = sdkCallFailure( text );
      EXPECT_EQ( failure.nth, nth ) << text;
      EXPECT_EQ( failure.code, code ) << text;
      EXPECT_EQ( failure.function, function ) << text;
   }
   for ( const char *refused :
         { "", "0", "-1", "1:", "1:0", "1:7", "1:-7:", "x", "1x", "fieldEntryCreate",
           "fieldEntryCreate:", "fieldEntryCreate:0", "fieldEntrycreate:1", "1:-1x", ":1" } ) {
      EXPECT_THROW( sdkCallFailure( refused ), InputError ) << refused;
   }
}

TEST( Nearest, IsTheWordOfFewestEditsUpToAThirdOfWhatWasTyped ) {
   const std::vector<std::string> words = { "apply",   "plan",         "batch",   "check",
                                            "restart", "--statistics", "--switch" };
   struct Case {
      const char *typed, *word; // empty: none is near
   };
   const Case cases[] = {
      { "aply", "apply" },
      { "appply", "apply" },
      { "applu", "apply" },
      { "palpy", "" },
      { "appyl", "apply" },
      { "lpan", "plan" },
      { "pla", "plan" },
      { "p", "" },
      { "bacht", "" },
      { "bathc", "batch" },
      { "rsetrat", "restart" },
      { "rstrt", "" },
      { "resrta", "" },
      { "--statstics", "--statistics" },
      { "--swich", "--switch" },
      { "--siwtch", "--switch" },
      { "", "" },
      { "unrelated", "" },
   };
   for ( const auto &[ typed, word ] : cases ) {
      EXPECT_EQ( QuarraTool::nearest( typed, words ), word ) << typed;
      EXPECT_EQ( QuarraTool::suggestion( typed, words ),
                 *word ? ": did you mean " + std::string( word ) + "?" : "" );
   }
   EXPECT_EQ( QuarraTool::nearest( "abcd", { "abce", "abcd", "abcf" } ), "abcd" );
   EXPECT_EQ( QuarraTool::nearest( "abcd", { "abce", "abcf" } ), "abce" ) << "the first of those alike";
   const std::string longest( 64, 'a' );
   EXPECT_EQ( QuarraTool::nearest( longest, { longest } ), longest );
   EXPECT_EQ( QuarraTool::nearest( longest + 'a', { longest } ), "" ) << "no word of ours is as long";
}

} // namespace
} // namespace QuarraTest
