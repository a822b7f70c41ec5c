#include "lab/MatchCheck.h"
#include "agent/PortTableService.h"
#include "agent/SystemAclFeatures.h"
#include "tests/Library.h"
#include "tests/Lines.h"

// Whether entries match what they were asked for: which reasons are given, and that they are true; and what
// matches between two SDK calls.
namespace QuarraTest {
namespace {

using QuarraAgent::InstallRequest;
using QuarraLab::Mismatch;
using QuarraLab::Reason;
using QuarraLab::Switch;
using ::testing::ElementsAre;

using ModPorts = std::vector<QuarraModPort>;

ModPorts modPorts( std::initializer_list<U32> numbers ) {
   ModPorts result;
   for ( const U32 number : numbers ) {
      result.emplace_back( 0, number );
   }
   return result;
}

// "3 on 1: portTaken by 7", for each mismatch.
std::vector<std::string> found( const Switch &theSwitch ) {
   std::vector<std::string> texts;
   for ( const auto &mismatch : checkMatches( theSwitch ) ) {
      auto text = std::to_string( mismatch.entry ) + " on " + std::to_string( mismatch.port.port() ) + ": " +
                  reasonName( mismatch.reason );
      if ( mismatch.taker ) {
         text += " by " + std::to_string( *mismatch.taker );
      }
      texts.push_back( text );
   }
   return texts;
}

class SmallSwitch {
 public:
   explicit SmallSwitch( const std::string &variant, U32 ports = 8 ) : switch_( choice( variant, ports ) ) {}

   Switch *operator->() { return &switch_; }
   Switch &operator*() { return switch_; }

   void install( U16 group, U32 entry, std::initializer_list<U32> ports ) {
      switch_.agent().install( { group, entry, modPorts( ports ), false, {} } );
   }
   void installRule( U16 group, U32 entry, std::initializer_list<U32> ports, const std::string &rule ) {
      switch_.agent().install(
         { group, entry, modPorts( ports ), false, RuleId( QuarraAgent::featureOf( group ), rule ) } );
   }

 private:
   static QuarraLab::ChipChoice choice( const std::string &variant, U32 ports ) {
      auto choice = QuarraLab::defaultChoice( variant );
      choice.chip.ports.resize( ports );
      return choice;
   }

   Switch switch_;
};

// Three entries of group 10 with ports [1], [1,2], [1,3]: entry 2 was named as the one that took port 1 from
// entry 1, though entry 3 holds it; entry 3 was never named.
TEST( MatchCheck, NamesTheEntryThatHoldsThePortNow ) {
   SmallSwitch lab( "testSdk6" );
   lab.install( 10, 1, { 1 } );
   lab.install( 10, 2, { 1, 2 } );
   lab.install( 11, 4, { 1, 5 } ); // another group's entries take nothing
   lab.install( 10, 3, { 1, 3 } );
   lab.install( 11, 5, { 1 } );
   EXPECT_THAT( found( *lab ),
                ElementsAre( "1 on 1: portTaken by 3", "2 on 1: portTaken by 3", "4 on 1: portTaken by 5" ) );
   lab.install( 10, 6, { 1, 3 } );
   lab->agent().remove( 10, 3 );
   EXPECT_THAT( found( *lab ),
                ElementsAre( "1 on 1: portTaken by 6", "2 on 1: portTaken by 6", "4 on 1: portTaken by 5" ) )
      << "the request that took it lives on in entry 6";
   lab->agent().remove( 10, 6 );
   const auto mismatches = checkMatches( *lab );
   ASSERT_EQ( mismatches.size(), 3u );
   EXPECT_EQ( mismatches[ 0 ].taker, 0u );
   EXPECT_EQ( reasonText( lab->agent().variant(), mismatches[ 0 ] ),
              "a port carries one class ID of group 10, and a newer entry, removed since, took the port" );
   EXPECT_EQ( reasonText( lab->agent().variant(), mismatches[ 2 ] ),
              "a port carries one class ID of group 11, and a newer entry (entry 5) took the port" );
}

// `--fail-sdk-call bcmlt_entry_commit:10:-10` on a chip of four system ports: the look-up that should take
// bit 0 off port 2 fails, and the bit stays. The rule of fixed-width bits was blamed, which can only lose a
// bit.
TEST( MatchCheck, TellsALostBitFromOneThatAFailedLookUpLeft ) {
   for ( const bool failing : { false, true } ) {
      auto choice = QuarraLab::defaultChoice( "hsdk" );
      choice.chip.portBits = 2;
      choice.chip.ports.resize( 3 );
      if ( failing ) {
         choice.failures.push_back( { 10, -10, "bcmlt_entry_commit" } );
      }
      Switch theSwitch( choice );
      theSwitch.agent().createGroup( 16 );
      theSwitch.agent().install( { 16, 1, modPorts( { 1, 2 } ), false, {} } );
      if ( failing ) {
         theSwitch.agent().install( { 16, 2, modPorts( { 2 } ), false, {} } );
         EXPECT_THAT( found( theSwitch ), ElementsAre( "1 on 2: portTaken by 2", "2 on 2: failedLookUp" ) );
         continue;
      }
      theSwitch.agent().install( { 16, 2, modPorts( { 2, 3 } ), false, {} } );
      theSwitch.agent().install( { 16, 3, modPorts( { 3 } ), false, {} } ); // with bits 0 and 1
      EXPECT_THAT( found( theSwitch ), ElementsAre( "1 on 1: bitWithoutOthers", "1 on 2: portTaken by 2",
                                                    "2 on 2: bitWithoutOthers", "2 on 3: portTaken by 3" ) );
   }
}

// A pool of group 120 over the fixed offset took the bit off a port of group 102's entry as an entry of its
// own lost the port; the groups at the offset were blamed, of which there was no other.
TEST( MatchCheck, TellsAnOffsetBitThatWasTakenAlongFromASharedOne ) {
   SmallSwitch lab( "testSdk6" );
   lab.install( 120, 1, { 1, 3 } );
   lab.installRule( 102, 2, { 1, 2, 3 }, "PBMP_E_ALL for a Rillway group" );
   lab.install( 120, 3, { 3 } );
   EXPECT_THAT( found( *lab ), ::testing::IsSupersetOf( { "1 on 3: portTaken by 3", "2 on 1: offsetCleared",
                                                          "2 on 3: offsetCleared" } ) );
   lab.installRule( 102, 4, { 1, 2, 3, 4 }, "PBMP_E_ALL for a Rillway group" );
   EXPECT_THAT( found( *lab ),
                ::testing::Not( ::testing::Contains( ::testing::HasSubstr( "offsetCleared" ) ) ) )
      << "a newer entry of the rule put the bit there again";
}

TEST( MatchCheck, ComparesTheCpusPortForListsOnly ) {
   for ( const auto &variant : QuarraAgent::variants() ) {
      SCOPED_TRACE( variant.name );
      SmallSwitch lab{ std::string( variant.name ) };
      const RuleId rule( QuarraAgent::featureOf( 2 ), "PBMP_E_ALL for l3 ctrl group" );
      lab->agent().install( { 2, 1, {}, true, rule } );
      EXPECT_THAT( found( *lab ), ElementsAre() ) << "whether the CPU's port carries the bit or not";
      lab->agent().createGroup( 16 );
      lab.install( 16, 2, { 0, 3 } );
      lab.install( 16, 3, { 0 } );
      EXPECT_THAT( found( *lab ), ::testing::Contains( "2 on 0: portTaken by 3" ) );
   }
}

TEST( MatchCheck, GathersMismatchesByCause ) {
   SmallSwitch lab( "testSdk6" );
   const std::string rule = "L4 Micro BFD";
   lab.install( 16, 1, { 1, 2, 3 } );
   lab.install( 16, 2, { 2, 3, 4 } );
   lab.install( 16, 3, { 2, 4 } );
   lab.installRule( 2, 4, { 5 }, rule );
   lab.installRule( 2, 5, { 6 }, rule );
   const auto causes = QuarraLab::causesOf( checkMatches( *lab ), 2 );
   std::vector<std::tuple<Reason, bool, std::size_t, std::size_t, std::size_t, std::size_t>> seen;
   for ( const auto &cause : causes ) {
      seen.emplace_back( cause.first.reason, cause.first.expected, cause.mismatches, cause.entries,
                         cause.ports, cause.examples.size() );
   }
   EXPECT_THAT( seen, ElementsAre( std::tuple( Reason::portTaken, true, 4, 2, 3, 2 ),
                                   std::tuple( Reason::sameRule, true, 1, 1, 1, 1 ),
                                   std::tuple( Reason::sameRule, false, 1, 1, 1, 1 ) ) );
}

// A port's word was posted five times in one request, and written to the chip as often.
TEST( PortTables, AreWrittenOnceForAWordHoweverOftenItWasPosted ) {
   SmallSwitch lab( "sdk6" );
   const auto directory = lab->agent().manager().sourceTrunkMapConfig();
   QuarraAgent::PortTableService service( directory );
   const auto calls = lab->chip().callCounts()[ "portTableSet" ];
   const QuarraCentral::PortTabWriteRequestKey one( 1, QuarraModPort( 0, 1 ), 9 );
   const QuarraCentral::PortTabWriteRequestKey other( 1, QuarraModPort( 0, 1 ), 10 );
   for ( const U32 value : { 1u, 2u, 3u } ) {
      directory->postRequest( one, value );
   }
   directory->postRequest( other, 7 );
   directory->postRequest( one, 4 );
   service.drain();
   EXPECT_EQ( lab->chip().callCounts()[ "portTableSet" ] - calls, 2u );
   EXPECT_EQ( service.wordsWritten(), 2u );
   EXPECT_EQ( lab->chip().sourceTrunkMapWord( 9, QuarraModPort( 0, 1 ) ), 4u );
}

TEST( Switch, OfAProcessWithNoOtherUsesTheProcessesManager ) {
   EXPECT_EXIT(
      {
         auto choice = QuarraLab::defaultChoice( "testSdk6" );
         choice.onlySwitchOfProcess = true;
         const Switch theSwitch( choice );
         std::exit( &theSwitch.agent().manager() == getQuarraTcamPortsManager().get() ? 7 : 8 );
      },
      ::testing::ExitedWithCode( 7 ), "" );
   const Switch another( QuarraLab::defaultChoice( "testSdk6" ) );
   EXPECT_NE( &another.agent().manager(), getQuarraTcamPortsManager().get() );
}

// An agent that wrote the qualifier before the ports, or gave the class ID back before the entry went, passed
// every test: afterwards all is the same.
class BetweenTwoCalls : public ::testing::TestWithParam<std::string> {
 protected:
   // Looks on while the entry is installed or removed.
   void watch( U32 concerned, std::set<U32> asked, const std::function<void()> &request ) {
      const auto matchesOf = [ this ]( U32 entry ) {
         std::set<U32> ports;
         for ( const auto &port : lab->ports() ) {
            if ( lab->chip().matches( entry, port ) ) {
               ports.insert( port.port() );
            }
         }
         return ports;
      };
      std::map<U32, std::set<U32>> before;
      for ( const auto &[ id, entry ] : lab->chip().tcamEntries() ) {
         before.emplace( id, matchesOf( id ) );
      }
      before.erase( concerned );
      U32 calls = 0;
      lab->chip().observerIs( [ & ]( const auto &call ) {
         ++calls;
         for ( const auto &[ id, ports ] : before ) {
            ASSERT_EQ( matchesOf( id ), ports ) << "entry " << id << " after " << call.function;
         }
         const auto own = matchesOf( concerned );
         ASSERT_TRUE( std::ranges::includes( asked, own ) ) << "after " << call.function;
      } );
      request();
      lab->chip().observerIs( {} );
      EXPECT_GE( calls, 1u );
   }

   void install( U16 group, U32 entry, std::initializer_list<U32> ports ) {
      watch( entry, ports, [ & ] { lab.install( group, entry, ports ); } );
      EXPECT_EQ( found( *lab ), std::vector<std::string>() );
   }
   void remove( U16 group, U32 entry, std::set<U32> asked ) {
      watch( entry, std::move( asked ), [ & ] { lab->agent().remove( group, entry ); } );
   }

   SmallSwitch lab{ GetParam() };
};

TEST_P( BetweenTwoCalls, NoOtherEntryChangesItsMatchAndNoneMatchesAStrangePort ) {
   // Groups of one-bit pools on every variant; 88 is one that all have on demand or in advance.
   const U16 group = GetParam().ends_with( "dk6" ) ? 13 : 88;
   install( group, 1, { 1, 2 } );
   install( group, 2, { 2, 3 } );
   install( group, 3, { 1, 2 } );
   remove( group, 1, { 1, 2 } );
   remove( group, 2, { 2, 3 } );
   install( group, 4, { 4 } ); // the bit that entry 2 gave back
   install( group, 5, { 2, 3, 5 } );
   remove( group, 3, { 1, 2 } );
   remove( group, 4, { 4 } );
}

INSTANTIATE_TEST_SUITE_P( Variants, BetweenTwoCalls, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

} // namespace
} // namespace QuarraTest
