#include "lab/Plan.h"

#include <cstdlib>
#include <fstream>
#include <random>

#include "lab/TextFile.h"
#include "lab/Why.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"
#include "tools/PlanLines.h"
#include "tools/PlanText.h"

// What a change does to a switch: the plan says it before, and the switch does exactly that.
namespace QuarraTest {
namespace {

using namespace QuarraLab;
using namespace QuarraTool;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

struct Table {
   std::string name;
   std::string type = "L3";
   std::vector<int> ports;
   int rules = 1;
};
using Tables = std::vector<Table>;

// Drives a switch by lines: each change is planned, and carried out line by line as planned.
class PlanTest : public ::testing::Test {
 protected:
   void use( const std::string &variant, const std::string &more = "" ) {
      batch_.reset(); // there is one chip at a time
      batch_ = std::make_unique<Batch>( defaultChoice( variant ) );
      ok( R"({"op":"chip","variant":")" + variant + R"(","ports":8)" + more + "}" );
   }

   const Switch &used() const { return *batch_->usedSwitch(); }

   JsonOut ok( const std::string &line ) {
      auto json = batch_->answer( line );
      EXPECT_TRUE( json.at( "ok" ).get<bool>() ) << line << "\n" << json.dump();
      return json;
   }

   static JsonOut configOf( const Tables &tables ) {
      JsonOut config = { { "PORT", JsonOut::object() },
                         { "ACL_TABLE", JsonOut::object() },
                         { "ACL_RULE", JsonOut::object() } };
      for ( int port = 1; port <= 8; ++port ) {
         config[ "PORT" ][ "Port" + std::to_string( port ) ] = JsonOut::object();
      }
      for ( const auto &table : tables ) {
         auto ports = JsonOut::array();
         for ( const int port : table.ports ) {
            ports.push_back( "Port" + std::to_string( port ) );
         }
         config[ "ACL_TABLE" ][ table.name ] = { { "type", table.type }, { "ports", ports } };
         for ( int rule = 1; rule <= table.rules; ++rule ) {
            config[ "ACL_RULE" ][ table.name + "|R" + std::to_string( rule ) ] = {
               { "PRIORITY", std::to_string( 1000 - rule ) }
            };
         }
      }
      return config;
   }

   JsonOut plan( const Tables &tables ) {
      const auto before = stateDigest( used() );
      auto json = ok( R"({"op":"plan","config":)" + configOf( tables ).dump() + ",\"map\":" + map + "}" );
      EXPECT_EQ( stateDigest( used() ), before ) << "a plan changes nothing";
      return json;
   }

   // Does what the plan says, and compares: SDK calls and class ID of each step, and all state at the end.
   void carryOut( const JsonOut &plan, const Tables &tables ) {
      std::map<std::string, const Table *> tableOf;
      for ( const auto &table : tables ) {
         tableOf[ table.name ] = &table;
      }
      std::map<std::string, JsonOut> portsBefore; // of what is refused, and gets its old entry back
      for ( const auto &rule : plan.at( "rules" ) ) {
         if ( rule.at( "fate" ) == "refused" && !rule.at( "entryBefore" ).is_null() ) {
            auto &ports = portsBefore[ rule.at( "rule" ) ] = JsonOut::array();
            for ( const auto &port : used().agent().entries().at( rule.at( "entryBefore" ) ).request.ports ) {
               ports.push_back( port.port() );
            }
         }
      }
      ok( R"({"op":"expect","state":)" + plan.at( "stateBefore" ).dump() + "}" );
      for ( const auto &step : plan.at( "steps" ) ) {
         JsonOut line = { { "op", step.at( "op" ) }, { "group", step.at( "group" ) } };
         if ( step.contains( "entry" ) ) {
            line[ "entry" ] = step.at( "entry" );
         }
         const bool isInstall = step.at( "op" ) == "install";
         if ( isInstall ) {
            const auto rule = step.at( "rule" ).get<std::string>();
            line[ "ports" ] = portsBefore.contains( rule )
                                 ? portsBefore.at( rule )
                                 : JsonOut( tableOf.at( QuarraLab::tableOf( rule ) )->ports );
            line[ "rule" ] = { { "feature", "acl" }, { "name", rule } };
            line[ "label" ] = rule;
         }
         const auto before = used().chip().callCounts();
         ok( line.dump() );
         auto calls = JsonOut::object();
         for ( const auto &[ function, number ] : used().chip().callCounts() ) {
            const auto made = number - ( before.contains( function ) ? before.at( function ) : 0 );
            if ( made ) {
               calls[ function ] = made;
            }
         }
         ASSERT_EQ( calls.dump(), step.at( "sdkCalls" ).dump() ) << line;
         if ( isInstall ) {
            const auto &place = step.at( "classId" );
            ok( JsonOut( { { "op", "expect" },
                           { "entry", step.at( "entry" ) },
                           { "offset", place.at( "offset" ) },
                           { "width", place.at( "width" ) },
                           { "classId", place.at( "classId" ) } } )
                   .dump() );
         }
         if ( plan.at( "verdict" ) == "fits" ) {
            stayersMatch( plan );
         }
      }
      ok( R"({"op":"expect","state":)" + plan.at( "stateAfter" ).dump() + "}" );
      ASSERT_EQ( ok( R"({"op":"check"})" ).at( "mismatches" ), plan.at( "mismatches" ) );
   }

   void stayersMatch( const JsonOut &plan ) {
      for ( const auto &rule : plan.at( "rules" ) ) {
         if ( rule.at( "fate" ) == "stays" ) {
            const auto entry = rule.at( "entryBefore" ).get<U32>();
            ASSERT_EQ( matchedPorts( used(), entry ), used().agent().entries().at( entry ).request.ports );
         }
      }
   }

   // Plans the change and carries it out.
   JsonOut change( const Tables &tables ) {
      auto json = plan( tables );
      carryOut( json, tables );
      return json;
   }

   // "install A|R1", ...
   static std::vector<std::string> stepsOf( const JsonOut &plan ) {
      std::vector<std::string> steps;
      for ( const auto &step : plan.at( "steps" ) ) {
         steps.push_back( step.at( "op" ).get<std::string>() + " " +
                          ( step.contains( "rule" ) ? step.at( "rule" ).get<std::string>()
                                                    : std::to_string( step.at( "group" ).get<int>() ) ) );
      }
      return steps;
   }

   static std::vector<U32> bitsOf( const JsonOut &plan, const std::string &space ) {
      for ( const auto &item : plan.at( "spaces" ) ) {
         if ( item.at( "name" ) == space ) {
            return { item.at( "before" ), item.at( "peak" ), item.at( "after" ) };
         }
      }
      return {};
   }

   std::string map = "{}"; // types to groups
   std::unique_ptr<Batch> batch_;
};

constexpr auto flexible = "aclGroupFlexibleWidth";

// On these chips 14 flexible bits are reserved at start-up.
TEST_F( PlanTest, WhereThereIsRoomTheNewComesBeforeTheOldGoes ) {
   use( "sdk6", R"(,"flexibleBits":17)" );
   EXPECT_EQ( change( { { "A", "L3", { 1, 2 }, 2 }, { "B", "L3", { 3, 4 } } } ).at( "verdict" ), "fits" );
   const auto plan = change( { { "A", "L3", { 1 }, 2 }, { "B", "L3", { 3 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fits" );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "install A|R1", "install A|R2", "remove A|R1", "remove A|R2",
                                              "install B|R1", "remove B|R1" ) );
   EXPECT_THAT( bitsOf( plan, flexible ), ElementsAre( 16, 17, 16 ) );
   const auto &first = plan.at( "rules" )[ 0 ];
   EXPECT_EQ( first.at( "fate" ), "changes" );
   EXPECT_EQ( first.at( "classIdBefore" ).at( "offset" ), 14 );
   EXPECT_EQ( first.at( "classIdAfter" ).at( "offset" ), 16 );
   EXPECT_EQ( first.at( "portsLost" ).size(), 1u );
   // The first entry of A: its bit on port 1, created, qualified, installed. The second shares the bit.
   EXPECT_EQ( plan.at( "steps" )[ 0 ].at( "sdkWrites" ), 4 );
   EXPECT_EQ( plan.at( "steps" )[ 1 ].at( "sdkWrites" ), 3 );
   EXPECT_EQ( change( { { "A", "L3", { 1 }, 2 }, { "B", "L3", { 3 } } } ).at( "steps" ).size(), 0u );
}

TEST_F( PlanTest, InAFullSpaceTheFewestRulesGoFirst ) {
   use( "sdk6", R"(,"flexibleBits":16)" );
   change( { { "A", "L3", { 1, 2 }, 2 }, { "B", "L3", { 3, 4 } } } );
   const auto plan = change( { { "A", "L3", { 1 }, 2 }, { "B", "L3", { 3 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fitsWithAGap" );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "remove B|R1", "install A|R1", "install A|R2", "remove A|R1",
                                              "remove A|R2", "install B|R1" ) );
   EXPECT_EQ( plan.at( "goFirst" ).dump(), R"([{"table":"B","rules":["B|R1"],"wholeTable":true}])" );
   ASSERT_EQ( plan.at( "wrongOnTheWay" ).size(), 1u );
   const auto &gap = plan.at( "wrongOnTheWay" )[ 0 ];
   EXPECT_EQ( gap.at( "rule" ), "B|R1" );
   EXPECT_EQ( gap.at( "expected" ), true );
   EXPECT_EQ( gap.at( "firstStep" ), 1 );
   EXPECT_EQ( gap.at( "lastStep" ), 6 );
   EXPECT_EQ( gap.at( "ports" ).dump(), R"([{"name":"Port3","port":3}])" );
   EXPECT_THAT( bitsOf( plan, flexible ), ElementsAre( 16, 16, 16 ) );
}

TEST_F( PlanTest, WhatGoesMakesRoomForWhatComes ) {
   use( "sdk6", R"(,"flexibleBits":16)" );
   change( { { "A", "L3", { 1 } }, { "B", "L3", { 2 } } } );
   const auto plan = change( { { "A", "L3", { 1 } }, { "C", "L3", { 3 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fits" );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "remove B|R1", "install C|R1" ) );
   // With room, what comes does not wait; and equal ports share the class ID.
   const auto renamed = change( { { "A2", "L3", { 1 } }, { "C", "L3", { 3 } } } );
   EXPECT_THAT( stepsOf( renamed ), ElementsAre( "install A2|R1", "remove A|R1" ) );
   EXPECT_EQ( renamed.at( "steps" )[ 0 ].at( "sdkWrites" ), 3 );
}

TEST_F( PlanTest, WhatDoesNotFitIsRefusedWithTheSmallestSetToLeaveOut ) {
   use( "sdk6", R"(,"flexibleBits":16)" );
   change( { { "A", "L3", { 1 }, 2 }, { "B", "L3", { 2 } } } );
   const auto plan = change( { { "A", "L3", { 1 }, 2 }, { "B", "L3", { 2 } }, { "C", "L3", { 3 }, 3 } } );
   EXPECT_EQ( plan.at( "verdict" ), "doesNotFit" );
   EXPECT_THAT( plan.at( "steps" ), IsEmpty() );
   EXPECT_EQ( plan.at( "rules" )[ 4 ].at( "error" ).at( "code" ), "noRoom" );
   EXPECT_EQ( plan.at( "reload" ).at( "refused" ), 3 );
   EXPECT_EQ( plan.at( "leaveOut" ).dump(), R"([{"table":"B","rules":["B|R1"],"wholeTable":true}])" );
}

TEST_F( PlanTest, FragmentationIsShownByAReload ) {
   use( "sdk6", R"(,"flexibleBits":22)" );
   map = R"({"L3V6":16})"; // pools of four bits
   Tables tables;
   for ( int port = 1; port <= 8; ++port ) {
      tables.push_back( { "T" + std::to_string( port ), "L3", { port } } );
   }
   change( tables ); // one bit each
   Tables after = { tables[ 1 ], tables[ 3 ], tables[ 5 ], tables[ 7 ] };
   change( after );
   for ( int port = 1; port <= 5; ++port ) {
      after.push_back( { "V" + std::to_string( port ), "L3V6", { port } } );
   }
   const auto plan = this->plan( after );
   EXPECT_EQ( plan.at( "verdict" ), "needsReload" );
   EXPECT_EQ( plan.at( "rules" ).back().at( "fate" ), "refused" )
      << "four single bits are left, no run of four";
   EXPECT_EQ( plan.at( "reload" ).at( "refused" ), 0 );
   const auto spaces = plan.at( "reload" ).at( "spaces" );
   EXPECT_EQ( spaces[ spaces.size() - 1 ].at( "after" ), 22 );
}

TEST_F( PlanTest, AClassIdThatDisturbsOthersNeedsAReload ) {
   use( "hsdk" );
   map = R"({"L3":16})";
   const auto first = change( { { "A", "L3", { 1 } }, { "B", "L3", { 2 } } } );
   EXPECT_THAT( stepsOf( first ), ElementsAre( "createGroup 16", "install A|R1", "install B|R1" ) );
   // Class ID 3 takes bit 1 from the ports of class ID 2.
   const auto plan = this->plan( { { "A", "L3", { 3 } }, { "B", "L3", { 2 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "needsReload" );
   EXPECT_EQ( plan.at( "mismatches" )[ 0 ].at( "cause" ), "bitWithoutOthers" );
   EXPECT_EQ( plan.at( "reload" ).at( "mismatches" ), 0 );
   EXPECT_THAT( stepsOf( change( {} ) ), ElementsAre( "remove A|R1", "remove B|R1", "deleteGroup 16" ) );
}

TEST_F( PlanTest, APortThatChangesHandsIsWrongForAWhile ) {
   map = R"({"L3":16})";
   use( "sdk6" );
   change( { { "A", "L3", { 1, 2 } } } );
   auto plan = change( { { "A", "L3", { 2, 3 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fitsWithAGap" );
   ASSERT_EQ( plan.at( "wrongOnTheWay" ).size(), 1u );
   auto gap = plan.at( "wrongOnTheWay" )[ 0 ];
   EXPECT_EQ( gap.at( "firstStep" ), 1 );
   EXPECT_EQ( gap.at( "lastStep" ), 1 ) << "the new class ID is on port 2 before the new entry is there";
   EXPECT_EQ( gap.at( "ports" ).dump(), R"([{"name":"Port2","port":2}])" );
   use( "hsdk" );
   change( { { "A", "L3", { 1, 2 } } } );
   plan = change( { { "A", "L3", { 2, 3 } } } );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "install A|R1", "remove A|R1" ) ) << "class IDs 1 and 2";
   // Class ID 3 has bit 1 as class ID 2 has, which would take it along when it goes.
   plan = change( { { "A", "L3", { 3, 4 } } } );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "remove A|R1", "install A|R1" ) );
   EXPECT_THAT( plan.at( "mismatches" ), IsEmpty() );
   gap = plan.at( "wrongOnTheWay" ).at( 0 );
   EXPECT_EQ( gap.at( "lastStep" ), 2 );
   EXPECT_EQ( gap.at( "ports" ).dump(), R"([{"name":"Port3","port":3}])" );
   // With the same ports the new entry shares the class ID, and comes before.
   EXPECT_THAT( stepsOf( change( { { "B", "L3", { 3, 4 } } } ) ),
                ElementsAre( "install B|R1", "remove A|R1" ) );
}

// A rule gives up its old entry so that others can change; none of them may keep what it gave up.
TEST_F( PlanTest, WhatGoesFirstFindsRoomOrGetsItsOldEntryBack ) {
   use( "sdk6", R"(,"flexibleBits":16)" );
   change( { { "S", "L3", { 1 } }, { "B", "L3", { 1 }, 2 }, { "A", "L3", { 2 } } } );
   const auto plan = change( { { "S", "L3", { 1 } }, { "B", "L3", { 3 }, 2 }, { "A", "L3", { 5 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "doesNotFit" );
   std::map<std::string, std::string> fates;
   for ( const auto &rule : plan.at( "rules" ) ) {
      fates[ rule.at( "rule" ) ] = rule.at( "fate" );
      EXPECT_FALSE( rule.at( "entryAfter" ).is_null() ) << rule;
   }
   EXPECT_EQ( fates.at( "A|R1" ), "changes" );
   EXPECT_EQ( fates.at( "B|R1" ), "refused" );
   EXPECT_EQ( fates.at( "B|R2" ), "refused" );
}

// There is no room for A's pool beside its old bit, but there is once the bit is back.
TEST_F( PlanTest, WhatChangesFromSingleBitsToAPoolNeedsNoReload ) {
   use( "sdk6", R"(,"flexibleBits":16)" );
   map = R"({"L3V6":16})";
   change( { { "A", "L3", { 1, 2 }, 2 }, { "B", "L3", { 3 } } } );
   const auto plan = change( { { "A", "L3V6", { 3 }, 2 }, { "B", "L3", { 3 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fits" );
   EXPECT_THAT( plan.at( "goFirst" ).dump(), HasSubstr( R"(["A|R1","A|R2"])" ) );
}

// B gives a class ID back, C takes one for good, D gives back what it takes: in this order or D has a gap.
TEST_F( PlanTest, WhatTakesAClassIdForGoodComesLast ) {
   use( "sdk6", R"(,"flexibleBits":17)" );
   change( { { "A", "L3", { 1 } }, { "B", "L3", { 3 } }, { "C", "L3", { 1 } }, { "D", "L3", { 2 } } } );
   const auto plan =
      change( { { "A", "L3", { 1 } }, { "B", "L3", { 1 } }, { "C", "L3", { 6 } }, { "D", "L3", { 4 } } } );
   EXPECT_EQ( plan.at( "verdict" ), "fits" );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "install B|R1", "remove B|R1", "install D|R1", "remove D|R1",
                                              "install C|R1", "remove C|R1" ) );
}

TEST_F( PlanTest, WhatIsOfNoConfigurationStays ) {
   use( "testSdk6" );
   ok( R"({"op":"install","group":13,"entry":7,"ports":[1,2]})" );
   ok( R"({"op":"install","group":13,"entry":8,"ports":[3],"label":"A|R1"})" );
   const auto plan = change( { { "B", "L3", { 1, 2 } } } );
   EXPECT_THAT( stepsOf( plan ), ElementsAre( "install B|R1", "remove A|R1" ) );
   EXPECT_EQ( plan.at( "steps" )[ 0 ].at( "entry" ), 9 );
   EXPECT_EQ( plan.at( "rules" )[ 0 ].at( "fate" ), "stays" );
}

// ---- The steps as a file

TEST_F( PlanTest, AFileOfStepsIsCarriedOutOnTheSwitchThatItIsForAndOnNoOther ) {
   const auto choice = defaultChoice( "sdk6" );
   const WantedEntries wanted = { { .group = QuarraTcam::TcamGroupId( 13 ),
                                    .ports = { { 0, 1 }, { 0, 2 } },
                                    .rule =
                                       QuarraTcam::RuleId( QuarraTcam::FeatureGroupType::acl, "A|R1" ) } };
   const Directory directory;
   const auto file = directory.file( "steps" );
   {
      const auto plan = makePlan( std::make_unique<Switch>( choice ), wanted );
      std::ofstream( file ) << planLines( plan );
      EXPECT_THAT( planText( plan ),
                   HasSubstr( "+ A|R1 (entry 1): group 13, aclGroupFlexibleWidth bit 14\n" ) );
   }
   batch_ = std::make_unique<Batch>( choice );
   EXPECT_EQ( carryOutLines( *batch_, file ).error, "" );
   EXPECT_EQ( used().agent().entries().size(), 1u );
   const auto state = stateDigest( used() );
   const auto again = carryOutLines( *batch_, file );
   EXPECT_THAT( again.error, HasSubstr( "the switch is not what it should be" ) );
   EXPECT_EQ( again.steps, 0u );
   EXPECT_EQ( stateDigest( used() ), state );
   std::ofstream( file ) << R"({"op":"remove","group":13,"entry":1})"
                         << "\n";
   EXPECT_THROW( carryOutLines( *batch_, file ), InputError ) << "a file that tells no state is no plan";
   std::ofstream( file ) << R"({"op":"expect","state":")" << state << "\"}\n"
                         << R"({"op":"remove","group":13,"entry":1})"
                         << "\n";
   EXPECT_THROW( carryOutLines( *batch_, file ), InputError )
      << "nor is one that was cut, which was half carried out";
   EXPECT_EQ( stateDigest( used() ), state );
}

// ---- Random changes

U32 changesOfEachVariant() {
   const char *number = std::getenv( "QUARRA_PLAN_CHANGES" );
   return number ? static_cast<U32>( std::strtoul( number, nullptr, 10 ) ) : 60;
}

// What the changes of one switch are drawn from.
struct Drawn {
   U32 tables = 0;
   bool disjoint = false; // no port is in two tables
};

// A table keeps what it was more often than not.
Tables changed( const Tables &before, const Drawn &drawn, std::mt19937 &random ) {
   const auto below = [ & ]( unsigned number ) { return static_cast<int>( random() % number ); };
   constexpr const char *types[] = { "L3", "L3V6", "MIRROR" };
   Tables after;
   for ( U32 i = 0; i < drawn.tables; ++i ) {
      const auto name = "T" + std::to_string( i );
      const auto old = std::ranges::find( before, name, &Table::name );
      if ( old != before.end() && below( 3 ) ) {
         after.push_back( *old );
      } else if ( below( 4 ) ) {
         Table table{ name, types[ below( 3 ) ], {}, 1 + below( 3 ) };
         for ( U32 port = 1; port <= 8; ++port ) {
            if ( drawn.disjoint ? ( port - 1 ) % drawn.tables == i && below( 2 ) : below( 3 ) == 0 ) {
               table.ports.push_back( static_cast<int>( port ) );
            }
         }
         after.push_back( table );
      }
   }
   return after;
}

TEST_F( PlanTest, IsWhatHappensThenForRandomChanges ) {
   std::map<std::string, U32> verdicts;
   for ( const auto &variant : everyVariant() ) {
      std::mt19937 random( 7 );
      Drawn drawn{};
      Tables tables;
      for ( U32 number = 0; number < changesOfEachVariant(); ++number ) {
         if ( number % 20 == 0 ) {
            const bool isSdk6 = variant.find( "dk6" ) != std::string::npos;
            use( variant, isSdk6 ? ",\"flexibleBits\":" + std::to_string( 15 + random() % 16 ) : "" );
            drawn = { 1 + static_cast<U32>( random() % 8 ), random() % 2 == 0 };
            map = random() % 2 ? R"({"L3V6":16})" : "{}"; // pools of four bits
            tables.clear();
         }
         tables = changed( tables, drawn, random );
         const auto plan = change( tables );
         ++verdicts[ plan.at( "verdict" ) ];
         if ( HasFatalFailure() || HasNonfatalFailure() ) {
            FAIL() << variant << ", change " << number << ":\n" << configOf( tables ) << "\n" << plan;
         }
      }
   }
   for ( const auto *verdict : { "fits", "fitsWithAGap", "doesNotFit" } ) {
      EXPECT_GT( verdicts[ verdict ], 0u ) << verdict << " was no change's; " << JsonOut( verdicts );
   }
   RecordProperty( "verdicts", JsonOut( verdicts ).dump() );
}

} // namespace
} // namespace QuarraTest
