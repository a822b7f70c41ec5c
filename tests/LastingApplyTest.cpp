#include <random>

#include "agent/Audit.h"
#include "lab/Plan.h"
#include "lab/Switch.h"
#include "lab/SwitchDir.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"
#include "tools/Apply.h"
#include "tools/KeepGoing.h"
#include "tools/Wanted.h"

namespace QuarraTest {
namespace {

using namespace QuarraTool;

// Configurations applied to a switch that lasts, one after the other; each apply is a process of its own.
class LastingApply : public ::testing::TestWithParam<std::string> {
 protected:
   // Rules by table: "USERS|R1" with its ports.
   using Rules = std::map<std::string, std::string>;

   std::unique_ptr<Switch> open() {
      auto choice = defaultChoice( GetParam() );
      choice.chip.ports = chipPortsOf( config( {} ) );
      return std::make_unique<Switch>( std::make_unique<SwitchDir>( path, choice ) );
   }

   static AclConfig config( const Rules &rules ) {
      QuarraLab::Json json = { { "ACL_TABLE", QuarraLab::Json::object() },
                               { "ACL_RULE", QuarraLab::Json::object() } };
      for ( const int port : { 0, 4, 8, 12, 16, 20 } ) {
         json[ "PORT" ][ "Ethernet" + std::to_string( port ) ] = QuarraLab::Json::object();
      }
      for ( const auto &[ rule, ports ] : rules ) {
         const auto table = rule.substr( 0, rule.find( '|' ) );
         json[ "ACL_TABLE" ][ table ] = {
            { "type", "L3" },
            { "ports", { "Ethernet0", "Ethernet4", "Ethernet8", "Ethernet12", "Ethernet16", "Ethernet20" } }
         };
         json[ "ACL_RULE" ][ rule ] = { { "PRIORITY", "1" }, { "IN_PORTS", ports } };
      }
      return parseConfigDb( json.dump(), "acl.json" );
   }

   std::unique_ptr<Applied> apply( const Rules &rules, const GroupMap &map = {},
                                   const std::vector<AclComplaint> &complaints = {} ) {
      auto applied = std::make_unique<Applied>( config( rules ), open(), map, complaints );
      calls = applied->theSwitch().chip().calls();
      EXPECT_TRUE( audit( applied->theSwitch().agent() ).drifts.empty() );
      return applied;
   }

   // The entries with a label, by label; each at the entry and on the ports that it has.
   static std::map<std::string, std::string> held( const Switch &theSwitch ) {
      std::map<std::string, std::string> held;
      for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
         std::string text = std::to_string( id ) + ":";
         for ( const auto &port : entry.request.ports ) {
            text += " " + std::to_string( port.port() );
         }
         held[ entry.request.label ] += text;
      }
      return held;
   }

   Directory directory;
   const std::string path = directory.file( "switch" );
   U64 calls = 0; // of the SDK, of the last apply
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, LastingApply, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST_P( LastingApply, OfTheSameConfigurationTakesNoSdkCall ) {
   const Rules rules = { { "A|R1", "Ethernet0,Ethernet4" },
                         { "A|R2", "Ethernet8" },
                         { "B|R1", "Ethernet12" } };
   const auto before = held( apply( rules )->theSwitch() );
   const auto again = apply( rules );
   EXPECT_EQ( calls, 0u );
   EXPECT_EQ( again->changes().stayed, 3u );
   EXPECT_EQ( held( again->theSwitch() ), before );
}

TEST_P( LastingApply, TakesAwayWhatIsGoneMovesWhatChangedAndLeavesTheRest ) {
   apply( { { "A|STAYS", "Ethernet0,Ethernet4" },
            { "A|GOES", "Ethernet8" },
            { "A|MOVES", "Ethernet12" },
            { "GONE|R1", "Ethernet20" } } );
   const auto stays = held( *open() ).at( "A|STAYS" );
   {
      const auto somebody = open();
      somebody->agent().createGroup( TcamGroupId( 17 ) );
      somebody->agent().install(
         { .group = TcamGroupId( 17 ), .entry = 900, .ports = { { 0, 6 } }, .rule = {}, .label = {} } );
   }
   auto applied = apply( { { "A|STAYS", "Ethernet0,Ethernet4" },
                           { "A|MOVES", "Ethernet12,Ethernet16" },
                           { "NEW|R1", "Ethernet20" } } );
   const auto now = held( applied->theSwitch() );
   EXPECT_EQ( now.size(), 4u ) << "three rules, and an entry without a label, which is somebody else's";
   EXPECT_EQ( now.at( "A|STAYS" ), stays );
   EXPECT_THAT( now.at( "A|MOVES" ), ::testing::EndsWith( ": 4 5" ) );
   EXPECT_THAT( now.at( "NEW|R1" ), ::testing::EndsWith( ": 6" ) );
   EXPECT_EQ( now.at( "" ), "900: 6" );
   for ( const auto &mismatch : applied->mismatches() ) { // in the wide pools of HSDK chips
      EXPECT_EQ( mismatch.reason, QuarraLab::Reason::bitWithoutOthers );
   }
   const auto done = applied->changes();
   EXPECT_EQ( done.came, 1u );
   EXPECT_EQ( done.changed, 1u );
   EXPECT_EQ( done.stayed, 1u );
   EXPECT_EQ( done.gone.size(), 2u );
   applied.reset();
   EXPECT_EQ( held( *open() ), now );
}

// In a group of wide pools an entry that changes is removed first: a new entry took its number meanwhile.
TEST_P( LastingApply, NewRulesTakeNoNumberOfOneThatComesBack ) {
   const GroupMap map = { { "L3", 16 } };
   apply( { { "B|R1", "Ethernet0" }, { "C|R1", "Ethernet4" } }, map );
   const auto applied =
      apply( { { "A|R1", "Ethernet12" }, { "B|R1", "Ethernet8" }, { "C|R1", "Ethernet16" } }, map );
   EXPECT_EQ( applied->refused(), 0u );
   EXPECT_EQ( applied->changes().changed, 2u );
   EXPECT_EQ( held( applied->theSwitch() ).size(), 3u );
}

// A rule that changed is on the chip at every moment where its class ID is a bit of its own: one of its two
// entries is.
TEST_P( LastingApply, ARuleThatChangesInAOneBitGroupNeverStopsMatching ) {
   apply( { { "A|R1", "Ethernet0,Ethernet4" } }, { { "L3", 13 } } );
   if ( QuarraTcam::classIdTcamGroupsInfo.at( TcamGroupId( 13 ) )->classIdType() !=
        QuarraTcam::ClassIdType::aclGroupFlexibleWidth ) {
      GTEST_SKIP() << "the group has room for one port set";
   }
   auto choice = defaultChoice( GetParam() );
   auto opened = std::make_unique<SwitchDir>( path, choice );
   choice = opened->choice();
   const auto chip = makeChip( *choice.variant, choice.chip );
   bool always = true;
   opened->start( *chip, [ & ]( const QuarraSimulator::SdkCallSeen & ) {
      bool matches = false;
      for ( const auto &[ id, entry ] : chip->tcamEntries() ) {
         matches |= chip->matches( id, { 0, 1 } );
      }
      always &= matches;
   } );
   QuarraAgent::TcamAgent agent( *choice.variant, choice.chip,
                                 QuarraTcam::quarraTcamPortsManagerFactory( "manager" ) );
   const auto dir = std::move( opened ); // goes first
   dir->start( agent );
   showAclGroupsOf( agent.variant(), agent.manager().portsHelper(), *chip );
   WantedEntries wanted = { agent.entries().begin()->second.request };
   wanted[ 0 ].ports = { { 0, 1 }, { 0, 3 } };
   ChangeObserver nobody;
   ChangeRun( agent, wanted ).run( nobody );
   EXPECT_TRUE( always );
   EXPECT_EQ( agent.entries().size(), 1u );
}

// Every class ID of a one-bit group is lent: a rule that changes has no room but its own, and one that is
// refused is as it was.
TEST_P( LastingApply, OneThatIsRefusedStaysAsItWas ) {
   const auto theSwitch = open();
   auto &agent = theSwitch->agent();
   const TcamGroupId group( 16 );
   agent.createGroup( group );
   WantedEntries wanted;
   for ( U32 set = 1; set < 64; ++set ) {
      wanted.push_back( { .group = group, .label = "T|R" + std::to_string( set ) } );
      for ( U32 port = 1; port <= 6; ++port ) {
         if ( set >> ( port - 1 ) & 1 ) {
            wanted.back().ports.push_back( { 0, port } );
         }
      }
   }
   ChangeObserver nobody;
   const auto refused = [ & ] {
      ChangeRun change( agent, wanted );
      change.run( nobody );
      std::map<std::string, RuleChange> refusals;
      for ( const auto &rule : change.rules() ) {
         if ( rule.fate == RuleFate::refused ) {
            refusals.emplace( rule.rule, rule );
         }
      }
      return refusals;
   };
   const auto before = refused();
   const auto entries = held( *theSwitch );
   wanted[ 0 ].group = TcamGroupId( 9999 ); // there is none
   const auto now = refused();
   EXPECT_EQ( now.size(), before.size() + 1 );
   EXPECT_EQ( now.at( "T|R1" ).code, "unknownGroup" );
   EXPECT_THAT( now.at( "T|R1" ).message, ::testing::EndsWith( "; it stays as it was" ) );
   EXPECT_EQ( held( *theSwitch ), entries );
}

// A rule that was mistyped in the file, and left out for it, lost its entry: the incident that this keeps
// away.
TEST_P( LastingApply, WhatTheFileHasWrongStaysAsItIs ) {
   apply( { { "A|R1", "Ethernet0" }, { "A|R2", "Ethernet4" } } );
   const auto before = held( *open() );
   auto reading = parseAcl( { { "acl.json", R"({ "PORT": { "Ethernet0": {}, "Ethernet4": {} },
      "ACL_TABLE": { "A": { "type": "L3", "ports": [ "Ethernet0", "Ethernet4" ] } },
      "ACL_RULE": { "A|R1": { "PRIORITY": "one", "IN_PORTS": "Ethernet0" },
                    "A|R2": { "PRIORITY": "1", "IN_PORTS": "Ethernet4" } } })" } } );
   ASSERT_EQ( reading.complaints.size(), 1u );
   const Applied applied( std::move( reading.config ), open(), {}, std::move( reading.complaints ) );
   EXPECT_EQ( held( applied.theSwitch() ), before );
   EXPECT_FALSE( applied.allFitAndMatch() );
}

TEST_P( LastingApply, OfPortsThatTheSwitchDoesNotHaveChangesNothing ) {
   apply( { { "A|R1", "Ethernet0" } } );
   const auto before = held( *open() );
   EXPECT_THROW( Applied( parseConfigDb( R"({ "PORT": { "Ethernet0": {}, "Ethernet99": {} },
                                             "ACL_TABLE": {}, "ACL_RULE": {} })",
                                         "acl.json" ),
                          open(), {} ),
                 QuarraLab::InputError );
   EXPECT_EQ( held( *open() ), before );
}

// Somebody plans, reads the plan, and applies the file then: nothing else may come of it.
TEST_P( LastingApply, DoesWhatThePlanForItSays ) {
   std::mt19937 random( 5 );
   const GroupMap groups = { { "L3", TcamGroupId( 16 ) } }; // wide pools, which run short
   Rules rules;
   for ( int round = 0; round < 30; ++round ) {
      for ( int number = 0; number < 8; ++number ) {
         const auto rule = ( number % 2 ? "A|R" : "B|R" ) + std::to_string( number );
         if ( random() % 3 == 0 ) {
            rules.erase( rule );
         } else if ( random() % 2 ) {
            rules[ rule ] = "Ethernet" + std::to_string( 4 * ( random() % 6 ) ) + ",Ethernet" +
                            std::to_string( 4 * ( random() % 6 ) );
         }
      }
      auto map = round / 10 % 2 ? groups : GroupMap();
      // What is wrong with a file is left out of it, a rule or all of a table (--keep-going).
      auto usable = rules;
      std::vector<AclComplaint> complaints;
      if ( round % 3 == 1 ) {
         const auto rule = "A|R" + std::to_string( 1 + 2 * ( random() % 4 ) );
         complaints.push_back( { "acl.json", "", "", "A", rule.substr( 2 ) } );
         usable.erase( rule );
      } else if ( round % 6 == 2 ) {
         complaints.push_back( { "acl.json", "", "", "B", "" } );
         std::erase_if( usable, []( const auto &item ) { return item.first.starts_with( "B|" ); } );
      }
      auto whole = map;
      std::unique_ptr<Switch> copy = open();
      whole.merge( GroupMap( defaultGroupMap( copy->agent().variant().generation ) ) );
      const auto wanted = wantedOf( config( usable ), whole, copy->agent().chip().ports );
      const auto plan = makePlan( std::move( copy ), wanted, { .change = keepingWhatIsWrong( complaints ) } );
      const auto applied = apply( usable, map, complaints );
      ASSERT_EQ( stateDigest( applied->theSwitch() ), plan.stateAfter ) << round;
      EXPECT_EQ( applied->refused(), plan.count( RuleFate::refused ) );
      EXPECT_EQ( applied->mismatches().size(), plan.mismatches.size() );
   }
}

} // namespace
} // namespace QuarraTest
