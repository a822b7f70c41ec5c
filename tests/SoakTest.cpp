#include <csignal>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "soak/Child.h"
#include "soak/Soak.h"

// The plain model beside the library: that they agree, and that a difference would be seen.
namespace QuarraTest {
namespace {

using namespace QuarraSoak;
using namespace QuarraTcam;
using enum ClassIdType;

class SoakOnEveryVariant : public ::testing::TestWithParam<const char *> {};

TEST_P( SoakOnEveryVariant, LibraryAndModelAgree ) {
   const SoakOptions options{ .variants = { QuarraAgent::variantOf( GetParam() ) },
                              .seed = 20,
                              .operations = 3000 };
   const auto result = soak( options, nullptr );
   ASSERT_FALSE( result.failure ) << "seed " << result.failure->seed << ": " << result.failure->what;
   EXPECT_GE( result.tally.operations, options.operations );
   for ( const auto event : { Event::sharedKey, Event::portTaken, Event::allEthernet, Event::poolGone } ) {
      EXPECT_GT( result.tally.events[ static_cast<std::size_t>( event ) ], 0u )
         << eventNames[ static_cast<std::size_t>( event ) ];
   }
   EXPECT_GT( result.tally.outcomes.at( "noRoom" ), 0u );
}

INSTANTIATE_TEST_SUITE_P( Variants, SoakOnEveryVariant,
                          ::testing::Values( "sdk6", "hsdk", "testSdk6", "testHsdk" ),
                          []( const auto &variant ) { return std::string( variant.param ); } );

// Each changes one thing that the comparison must look at.
TEST( VerifyAll, SeesEveryKindOfState ) {
   struct Change {
      const char *difference; // begins so
      std::function<void( QuarraTcamPortsManager & )> make;
   };
   const auto group = []( auto &manager ) -> auto & {
      return *manager.classIdTcamGroupStatus( 13 );
   };
   const auto request = [=]( auto &manager ) -> auto & {
      return *group( manager ).requestStatus().begin()->second;
   };
   const auto port = []( U32 number ) { return QuarraCentral::QuarraModPort( 0, number ); };
   const Change changes[] = {
      { "space aclGroupFlexibleWidth",
        []( auto &m ) { m.classIdHwStatus( aclGroupFlexibleWidth )->set( 63 ); } },
      { "groups that hold pools", []( auto &m ) { m.classIdTcamGroupStatusIs( 14 ); } },
      { "group 13 last pool", [ = ]( auto &m ) { group( m ).lastPoolNumInc( 1 ); } },
      { "group 13 pools", [ = ]( auto &m ) { group( m ).poolStatusIs( 9 ); } },
      { "group 13 pool 1 offset", [ = ]( auto &m ) { group( m ).poolStatus( 1 )->baseOffsetIs( 2 ); } },
      { "group 13 pool 1 width", [ = ]( auto &m ) { group( m ).poolStatus( 1 )->sizeIs( 2 ); } },
      { "group 13 pool 1 queue", [ = ]( auto &m ) { group( m ).poolStatus( 1 )->classIdPoolEnq( 1 ); } },
      { "group 13 pool 1: another mask",
        [ = ]( auto &m ) { group( m ).poolStatus( 1 )->tcamMask()->set( 1 ); } },
      { "group 13 requests", [ = ]( auto &m ) { group( m ).requestStatusIs( RequestKey( "x", 0, "x" ) ); } },
      { "group 13 request", [ = ]( auto &m ) { request( m ).classIdIs( 2 ); } },
      { "group 13 request", [ = ]( auto &m ) { request( m ).poolIdIs( 2 ); } },
      { "group 13 request", [ = ]( auto &m ) { request( m ).entryRefIs( 7 ); } },
      { "group 13 request", [ = ]( auto &m ) { request( m ).intfGroup()->portIdIs( port( 3 ) ); } },
      { "group 13 index", [ = ]( auto &m ) { group( m ).intfGroupHashToIntfGroupInfoDelAll(); } },
      { "group 13: an empty hash", [ = ]( auto &m ) { group( m ).intfGroupHashToIntfGroupInfoIs( 1 ); } },
      { "ports with bit",
        [ = ]( auto &m ) {
           auto ports = intfGroupInfoFactory();
           ports->portIdIs( port( 4 ) );
           m.portsHelper()->setAclGroupClassId( group( m ).poolStatus( 1 )->baseOffset(), ports );
        } },
      { "posted words",
        [ = ]( auto &m ) {
           m.sourceTrunkMapConfig()->postRequest( { 1, port( 1 ), 9 }, 0 );
        } },
      { "TCAM entry 1: not installed",
        []( auto & ) {
           SdkShim->fieldEntryDestroy( 0, 1 );
           SdkShim->fieldEntryCreate( 0, 1, { .endBit = 63 } );
        } },
      { "TCAM entries", []( auto & ) { SdkShim->fieldEntryCreate( 0, 8, { .endBit = 63 } ); } },
      { "table 9 port 0/1", [ = ]( auto & ) { SdkShim->portTableSet( 0, 9, port( 1 ), 1 ); } },
      { "TCAM entry 1 mask",
        [ = ]( auto &m ) {
           const auto qualifier = m.getClassId( 13, group( m ).requestStatus().begin()->first, 1 );
           qualifier->mask()->set( 63 );
           SdkShim->fieldEntryDestroy( 0, 1 );
           SdkShim->fieldEntryCreate( 0, 1, { .endBit = 63 } );
           m.programClassIdQualifierInHw( 0, 13, 1, qualifier );
           SdkShim->fieldEntryInstall( 0, 1 );
        } },
   };
   for ( const auto &change : changes ) {
      Trial trial( QuarraLab::defaultChoice( "sdk6" ) );
      const Operation install{ Operation::Kind::install, { 13, 1, { { port( 1 ), port( 2 ) } } } };
      ASSERT_EQ( trial.carryOut( install ), "" );
      change.make( trial.theSwitch().agent().manager() );
      const auto difference = verifyAll( trial.model(), trial.theSwitch() );
      EXPECT_TRUE( difference.starts_with( change.difference ) )
         << change.difference << " gives: " << difference;
   }
}

TEST( Histories, ShortenToWhatFails ) {
   History history = { "chip" };
   for ( int i = 0; i < 100; ++i ) {
      history.push_back( std::to_string( i ) );
   }
   const auto has = []( const History &lines, const char *line ) {
      return std::find( lines.begin(), lines.end(), line ) != lines.end();
   };
   shorten( history, [ & ]( const History &lines ) { return has( lines, "17" ) && has( lines, "80" ); } );
   EXPECT_EQ( history, History( { "chip", "17", "80" } ) );
}

// A history is replayed as it was recorded, by the model and by whoever feeds its lines to the batch command.
TEST( Histories, ReplayWhatWasPlayed ) {
   History history;
   Tally tally;
   SeededChoices choices( 5 );
   const auto &variant = *QuarraAgent::variantOf( "testHsdk" );
   ASSERT_EQ(
      playEpisode( variant, choices, 200, tally, [ & ]( const auto &line ) { history.push_back( line ); } ),
      "" );
   EXPECT_EQ( history.size(), tally.operations + 1 );
   EXPECT_EQ( replay( history ), "" );
}

TEST( Children, TellHowTheyEnded ) {
   const auto end = []( auto work ) { return Child( work ).end(); };
   EXPECT_TRUE( end( []( std::FILE * ) { return 0; } ).clean() );
   EXPECT_FALSE( end( []( std::FILE * ) { return 1; } ).clean() );
   const auto aborted = end( []( std::FILE *output ) -> int {
      std::fputs( "out", output );
      std::fflush( output );
      std::fputs( "err", stderr );
      std::abort();
   } );
   EXPECT_TRUE( aborted.aborted() );
   EXPECT_EQ( aborted.output + aborted.errors, "outerr" );
   const auto more = end( []( std::FILE *output ) {
      std::fputs( std::string( 1 << 20, 'x' ).c_str(), output ); // more than a pipe holds
      return 0;
   } );
   EXPECT_EQ( more.output.size(), 1u << 20 );
}

// ---- Soak as a process

SoakOptions oneVariant( U64 operations, double seconds = 0 ) {
   return { .variants = { QuarraAgent::variantOf( "sdk6" ) },
            .seed = 3,
            .operations = operations,
            .seconds = seconds };
}

bool hasChildren() {
   return waitpid( -1, nullptr, WNOHANG ) >= 0;
}

// A soak of 100 operations made 4,000, one of 1,000,000 made 15,000 more than that.
TEST( Soak, EndsWithTheEpisodeThatPassesTheNumber ) {
   auto options = oneVariant( 300 );
   U64 expected = 0;
   for ( U64 episode = 0; expected < options.operations; ++episode ) {
      SeededChoices choices( options.seed * 1000003 + episode );
      Tally tally;
      ASSERT_EQ( playEpisode( *options.variants.front(), choices, 180, tally, nullptr ), "" );
      expected += tally.operations;
   }
   for ( const U32 jobs : { 1u, 3u } ) {
      options.jobs = jobs;
      const auto result = soak( options, nullptr );
      EXPECT_TRUE( result.good() ) << result.problem;
      EXPECT_EQ( result.tally.operations, expected ) << jobs;
   }
}

TEST( Soak, EndsWithItsTime ) {
   const auto result = soak( oneVariant( 0, 0.5 ), nullptr );
   EXPECT_TRUE( result.good() ) << result.problem;
   EXPECT_GT( result.tally.operations, 0u );
   EXPECT_LT( result.seconds, 2.5 ); // a second more than it promises, for a busy machine
}

// `--ops` near the end of its range became 0 pieces of work: nothing was done, and "Library and model agree".
TEST( Soak, WhatWasNotDoneIsNoAgreement ) {
   const auto result = soak( oneVariant( ~U64{ 0 }, 0.000001 ), nullptr );
   EXPECT_FALSE( result.good() );
   EXPECT_THAT( result.problem, ::testing::HasSubstr( "0 operations were carried out" ) );
}

// `sleep 1 & exec quarra-tcam soak`: the sleep's end was taken for the end of a piece of work, and the soak
// crashed.
TEST( Soak, LeavesTheChildrenOfOthersAlone ) {
   const pid_t other = fork();
   if ( other == 0 ) {
      _exit( 7 );
   }
   EXPECT_TRUE( soak( oneVariant( 50 ), nullptr ).good() );
   int status = 0;
   ASSERT_EQ( waitpid( other, &status, 0 ), other );
   EXPECT_EQ( WEXITSTATUS( status ), 7 );
}

// With no descriptors left the soak ended in an exception that nobody caught, and its children went on.
TEST( Soak, WithoutRoomForAProcessSaysSo ) {
   const auto ending = Child( []( std::FILE *output ) {
                          for ( const int room : { 2, 8 } ) {
                             int end = 0; // of the numbers, so many of which are free
                             for ( int free = 0; free < room; ++end ) {
                                free += fcntl( end, F_GETFD ) < 0;
                             }
                             rlimit limit{};
                             getrlimit( RLIMIT_NOFILE, &limit );
                             limit.rlim_cur = static_cast<rlim_t>( end );
                             setrlimit( RLIMIT_NOFILE, &limit );
                             auto options = oneVariant( operationsOfAPiece + 1 );
                             options.jobs = 4;
                             const auto result = soak( options, nullptr );
                             std::fprintf( output, "%d %d\n", result.good(), hasChildren() );
                          }
                          return 0;
                       } ).end();
   EXPECT_EQ( ending.output, "0 0\n1 0\n" ) << ending.errors;
}

// An interrupt of the parent left the children running, and told nothing of what they had done.
TEST( Soak, EndsWithASignalAndTellsWhatItCovered ) {
   for ( const int signal : { SIGINT, SIGTERM, SIGHUP } ) {
      std::signal( signal, SIG_DFL ); // whoever runs the tests may ignore it
      auto options = oneVariant( 0, 60 );
      options.jobs = 2;
      const auto result = soak( options, [ & ]( const SoakResult &sofar ) {
         if ( sofar.tally.operations ) {
            raise( signal );
         }
      } );
      EXPECT_EQ( result.signal, signal );
      EXPECT_FALSE( result.good() );
      EXPECT_GT( result.tally.operations, 0u );
      EXPECT_LT( result.seconds, 30 );
      EXPECT_FALSE( hasChildren() );
   }
}

// A process that hung was waited for without end.
TEST( Soak, KillsAProcessThatDoesNotGoOn ) {
   auto options = oneVariant( 2000 );
   options.patience = std::chrono::seconds( 1 );
   bool stopped = false;
   const auto result = soak( options, [ & ]( const SoakResult & ) {
      const auto own = std::to_string( getpid() );
      std::ifstream children( "/proc/" + own + "/task/" + own + "/children" );
      for ( pid_t child = 0; children >> child; stopped = true ) {
         kill( child, SIGSTOP ); // each time, should somebody else let it go on
      }
   } );
   ASSERT_TRUE( stopped );
   ASSERT_TRUE( result.failure );
   EXPECT_THAT( result.failure->what, ::testing::HasSubstr( "did not go on" ) );
   EXPECT_FALSE( hasChildren() );
}

} // namespace
} // namespace QuarraTest
