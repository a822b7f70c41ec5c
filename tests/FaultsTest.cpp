#include "Nodra/Trace.h"
#include "simulator/ReturnCode.h"
#include "soak/Child.h"
#include "tests/Lines.h"

// Scenarios that reach every SDK call. Each call, failed in turn, ends in one line that names call, message
// and code, and then the abort.
namespace QuarraTest {
namespace {

using Lines = std::vector<std::string>;

std::string entryLine( int group, int entry, const std::string &ports, const std::string &rule = "" ) {
   return R"({"op":"install","group":)" + std::to_string( group ) + ",\"entry\":" + std::to_string( entry ) +
          ( ports == "ethernet" ? R"(,"ethernet":true)" : ",\"ports\":[" + ports + "]" ) +
          ( rule.empty() ? "}" : R"(,"rule":{"name":")" + rule + "\"}}" );
}

std::string removeLine( int group, int entry ) {
   return R"({"op":"remove","group":)" + std::to_string( group ) + ",\"entry\":" + std::to_string( entry ) +
          "}";
}

// The lines between the creation of a group and its deletion.
Lines inGroup( int group, Lines lines ) {
   const auto line = [ & ]( const std::string &op ) {
      return R"({"op":")" + op + R"(","group":)" + std::to_string( group ) + "}";
   };
   lines.insert( lines.begin(), line( "createGroup" ) );
   lines.push_back( line( "deleteGroup" ) );
   return lines;
}

struct Scenario {
   std::string name;
   std::string variants; // separated by blanks; empty: all
   std::string chip;     // what differs from a chip of ports 1 to 3 and a CPU's port 0
   Lines lines;          // ends as it began
};

const auto rillway = "PBMP_E_ALL for a Rillway group";
const auto l3Ctrl = "PBMP_E_ALL for l3 ctrl group";

// In a space that has room for a pool of four bits and two bits beside the system's rules.
const Lines fallback = { entryLine( 10, 1, "1" ), entryLine( 11, 2, "2" ), entryLine( 11, 3, "3" ),
                         removeLine( 10, 1 ),     removeLine( 11, 2 ),     removeLine( 11, 3 ) };

// Group 13 has one-bit pools, 16 and 17 wide ones, 2 is a system group; 51, 88 and 120 go to the source-trunk
// map on SDK6, 238 to its table of the VLAN field processor. On HSDK groups are fixed-width, but for 2
// and 88.
const Scenario scenarios[] = {
   { "OneBit", "", "", inGroup( 13, { entryLine( 13, 1, "1,2" ), removeLine( 13, 1 ) } ) },
   { "SharedClassId", "", "",
     inGroup( 17, { entryLine( 17, 1, "1,2" ), entryLine( 17, 2, "2,1" ), removeLine( 17, 1 ),
                    removeLine( 17, 2 ) } ) },
   { "OverlapInOneBitPools",
     "sdk6 testSdk6",
     "",
     { entryLine( 13, 1, "1,2" ), entryLine( 13, 2, "2,3" ), removeLine( 13, 1 ), removeLine( 13, 2 ) } },
   { "PortTakenFromAnOlderEntry", "", "",
     inGroup( 16, { entryLine( 16, 1, "1,2" ), entryLine( 16, 2, "2,3" ), removeLine( 16, 1 ),
                    removeLine( 16, 2 ) } ) },
   { "ClassIdOfTwoBits", "", "",
     inGroup( 16, { entryLine( 16, 1, "1" ), entryLine( 16, 2, "2" ), entryLine( 16, 3, "3" ),
                    removeLine( 16, 3 ), removeLine( 16, 2 ), removeLine( 16, 1 ) } ) },
   { "AllEthernet", "", "",
     inGroup( 13, { entryLine( 13, 1, "ethernet" ), entryLine( 13, 2, "ethernet" ), removeLine( 13, 1 ),
                    removeLine( 13, 2 ) } ) },
   { "SystemRule",
     "",
     "",
     { entryLine( 2, 1, "3", l3Ctrl ), entryLine( 2, 2, "3", l3Ctrl ), removeLine( 2, 1 ), removeLine( 2, 2 ),
       entryLine( 2, 3, "ethernet", l3Ctrl ), removeLine( 2, 3 ) } },
   { "RillwayRules",
     "",
     "",
     { entryLine( 88, 1, "ethernet", rillway ), entryLine( 89, 2, "1,2", rillway ), removeLine( 89, 2 ),
       removeLine( 88, 1 ) } },
   { "SourceTrunkMap",
     "sdk6 testSdk6",
     "",
     { entryLine( 51, 1, "1,2", "Broadcast skip rule" ), entryLine( 51, 2, "3" ), removeLine( 51, 1 ),
       removeLine( 51, 2 ) } },
   { "SourceTrunkMapOfTheVlanFieldProcessor",
     "testSdk6",
     "",
     { entryLine( 238, 1, "1,2" ), entryLine( 120, 2, "1" ), entryLine( 238, 3, "2,3" ), removeLine( 238, 1 ),
       removeLine( 120, 2 ), removeLine( 238, 3 ) } },
   { "CreatedAgain", "hsdk testHsdk", "",
     inGroup( 17, { entryLine( 17, 1, "1" ), removeLine( 17, 1 ), R"({"op":"deleteGroup","group":17})",
                    R"({"op":"createGroup","group":17})", entryLine( 17, 1, "2" ), removeLine( 17, 1 ) } ) },
   { "FallbackToOneBit", "sdk6 testSdk6", R"("flexibleBits":20)", fallback },
   { "FallbackToOneBitBesideFewerSystemRules", "testHsdk", R"("flexibleBits":18)", fallback },
   { "InstalledAgainWithOtherPorts", "", "",
     inGroup( 13, { entryLine( 13, 1, "1" ), removeLine( 13, 1 ), entryLine( 13, 1, "2,3" ),
                    removeLine( 13, 1 ) } ) },
   { "NoPort", "", "", inGroup( 16, { entryLine( 16, 1, "" ), removeLine( 16, 1 ) } ) },
   { "CpuPort", "", "", inGroup( 17, { entryLine( 17, 1, "0,1" ), removeLine( 17, 1 ) } ) },
   { "SeveralModules",
     "sdk6 testSdk6",
     R"("ports":[{"module":1,"port":5},{"module":40,"port":6}])",
     { entryLine( 13, 1, R"({"module":1,"port":5},{"module":40,"port":6})" ),
       entryLine( 51, 2, R"({"module":40,"port":6})" ), removeLine( 13, 1 ), removeLine( 51, 2 ) } },
};

using Calls = std::map<std::string, QuarraLab::U64>;

struct OnVariant {
   std::string variant;
   const Scenario *scenario;

   friend std::ostream &operator<<( std::ostream &out, const OnVariant &item ) {
      return out << item.scenario->name << "_" << item.variant;
   }
};

class Scenarios : public LinesTest, public ::testing::WithParamInterface<OnVariant> {
 protected:
   void start() {
      const auto &[ variant, scenario ] = GetParam();
      const bool hasPorts = scenario->chip.find( "ports" ) != std::string::npos;
      use( variant, std::string( R"(,"portBits":2)" ) + ( hasPorts ? "" : R"(,"ports":3)" ) +
                       ( scenario->chip.empty() ? "" : "," + scenario->chip ) );
   }

   // How a run of the line ends whose n-th SDK call, of all functions, fails.
   enum Outcome { refused = 1, noSuchCall, tolerated };
   QuarraSoak::Ending failing( const std::string &line, QuarraLab::U64 nth ) {
      return QuarraSoak::Child( [ & ]( std::FILE * ) -> int {
                chip().failCall( nth, QuarraSimulator::Code::busy );
                if ( !answer( line ).at( "ok" ).get<bool>() ) {
                   return refused;
                }
                return chip().pendingFailures() ? noSuchCall : tolerated;
             } )
         .end();
   }
   static QuarraSimulator::SimulatedChip &chip() {
      return dynamic_cast<QuarraSimulator::SimulatedChip &>( *SdkShim );
   }

   // The function that an error line names, or the line when it is none.
   static std::string functionOf( const std::string &line, const Calls &calls ) {
      for ( const auto &[ function, count ] : calls ) {
         // A look-up that fails though the entry is there leads to an insertion that the chip refuses.
         const auto *outcome = function == "bcmlt_entry_commit"
                                  ? R"((Operation still running \(-10\)|Entry exists \(-8\)))"
                                  : R"(Operation still running \(-10\))";
         const auto form =
            R"([A-Za-z0-9/]+\.cpp:[0-9]+ (SdkShim->)?)" + function + R"(\( .* \) API ERROR:)" + outcome;
         if ( ::testing::Matches( ::testing::MatchesRegex( form ) )( line ) ) {
            return function;
         }
      }
      return line;
   }

   // Fails each SDK call of the line, then carries it out: every call was named as often as it is made.
   void failEachCall( const std::string &line ) {
      std::vector<std::string> errors;
      QuarraLab::U64 lookUps = 0;
      auto ending = failing( line, 1 );
      for ( QuarraLab::U64 nth = 1; !ending.exitedWith( noSuchCall ); ending = failing( line, ++nth ) ) {
         if ( ending.exitedWith( tolerated ) ) {
            ++lookUps;
            continue;
         }
         ASSERT_TRUE( ending.aborted() ) << line << " call " << nth;
         ASSERT_EQ( ending.errorLines().size(), 2u ) << line << " call " << nth;
         ASSERT_THAT( ending.errorLines().back(), ::testing::EndsWith( "assertion failed: 0" ) );
         errors.push_back( ending.errorLines().front() );
      }
      ASSERT_EQ( ending.errorLines(), Lines() ) << line;

      auto expected = chip().callCounts();
      const auto before = std::exchange( expected, {} );
      ok( line );
      for ( const auto &[ function, count ] : chip().callCounts() ) {
         const auto item = before.find( function );
         if ( const auto made = count - ( item == before.end() ? 0 : item->second ) ) {
            expected[ function ] = made;
         }
      }
      Calls named;
      for ( const auto &error : errors ) {
         ++named[ functionOf( error, expected ) ];
      }
      // Only looking a table entry up may fail, and each allocated handle is looked up once.
      EXPECT_LE( lookUps,
                 expected.contains( "bcmlt_entry_allocate" ) ? expected[ "bcmlt_entry_allocate" ] : 0 );
      named[ "bcmlt_entry_commit" ] += lookUps;
      expected[ "bcmlt_entry_commit" ] += 0;
      EXPECT_EQ( named, expected ) << line;
   }
};

TEST_P( Scenarios, EndInOneLineAndAnAbortWhicheverSdkCallFails ) {
   start();
   EXPECT_EQ( chip().calls(), 0u ) << "set-up leaves the chip alone";
   for ( const auto &line : GetParam().scenario->lines ) {
      failEachCall( line );
   }
   EXPECT_GT( chip().calls(), 0u );
}

// A trace that changes what it shows, or that cannot show it, would do so only where tracing is on.
TEST_P( Scenarios, RunTheSameWithEveryTraceOn ) {
   const auto run = [ & ] {
      start();
      std::vector<JsonOut> answers;
      for ( const auto &line : GetParam().scenario->lines ) {
         answers.push_back( ok( line ) );
         answers.push_back( state() );
      }
      return answers;
   };
   const auto quiet = run();
   Nodra::MemoryTrace trace;
   Nodra::traceLevelsIs( "*/0-9" );
   EXPECT_EQ( run(), quiet );
   Nodra::traceLevelsDelAll();
   EXPECT_GT( trace.lines().size(), 100u );
}

std::vector<OnVariant> everyScenario() {
   std::vector<OnVariant> all;
   for ( const auto &variant : everyVariant() ) {
      for ( const auto &scenario : scenarios ) {
         std::istringstream names( scenario.variants );
         const bool listed = std::find( std::istream_iterator<std::string>( names ), {}, variant ) !=
                             std::istream_iterator<std::string>();
         if ( scenario.variants.empty() || listed ) {
            all.push_back( { variant, &scenario } );
         }
      }
   }
   return all;
}

INSTANTIATE_TEST_SUITE_P( Variants, Scenarios, ::testing::ValuesIn( everyScenario() ),
                          []( const auto &item ) { return ::testing::PrintToString( item.param ); } );

} // namespace
} // namespace QuarraTest
