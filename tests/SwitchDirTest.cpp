#include "lab/SwitchDir.h"

#include <csignal>
#include <fstream>

#include <unistd.h>

#include "agent/Audit.h"
#include "lab/Switch.h"
#include "soak/Child.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

using QuarraLab::Switch;
using QuarraLab::SwitchDir;

// A directory with a switch, used by one process after the other; each process is a child, or this one.
class SwitchDirTest : public ::testing::TestWithParam<std::string> {
 protected:
   std::unique_ptr<Switch> open() {
      return std::make_unique<Switch>(
         std::make_unique<SwitchDir>( path, QuarraLab::defaultChoice( GetParam() ) ) );
   }
   static void install( Switch &theSwitch, U32 entry ) {
      theSwitch.agent().createGroup( TcamGroupId( 16 ) );
      theSwitch.agent().install(
         { .group = TcamGroupId( 16 ), .entry = entry, .ports = { { 0, entry % 7 + 1 } }, .rule = {} } );
   }
   static std::string state( const Switch &theSwitch ) {
      return stateText( theSwitch.agent().manager(), theSwitch.chip() );
   }
   std::string refusal() {
      try {
         open();
      } catch ( const StoreRefused &refused ) {
         return refused.code();
      }
      return "ok";
   }

   Directory directory;
   const std::string path = directory.file( "switch" );
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, SwitchDirTest, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST_P( SwitchDirTest, ASwitchIsTheSameWhenItIsOpenedAgain ) {
   std::string before;
   for ( U32 entry = 1; entry <= 4; ++entry ) {
      const auto theSwitch = open();
      EXPECT_EQ( state( *theSwitch ), before.empty() ? state( *theSwitch ) : before );
      EXPECT_EQ( theSwitch->chip().calls(), 0u ) << "SDK calls of opening it";
      install( *theSwitch, entry );
      before = state( *theSwitch );
   }
   const auto theSwitch = open();
   EXPECT_EQ( theSwitch->agent().entries().size(), 4u );
   EXPECT_TRUE( audit( theSwitch->agent() ).drifts.empty() );
}

// More entries than the file of the chip's tables has rows for at first.
TEST_P( SwitchDirTest, TheChipsTablesGrowWithItsEntries ) {
   std::string before;
   {
      const auto theSwitch = open();
      for ( U32 entry = 1; entry <= 600; ++entry ) {
         theSwitch->agent().createGroup( TcamGroupId( 16 ) );
         theSwitch->agent().install(
            { .group = TcamGroupId( 16 ), .entry = entry, .ports = { { 0, entry % 3 + 1 } }, .rule = {} } );
      }
      for ( U32 entry = 1; entry <= 600; entry += 2 ) {
         theSwitch->agent().remove( TcamGroupId( 16 ), entry );
      }
      before = state( *theSwitch );
   }
   EXPECT_EQ( state( *open() ), before );
}

// Killed wherever it may be: the next process finds a switch, with all that was answered and at most one
// more.
TEST_P( SwitchDirTest, AKilledProcessLeavesTheSwitchWhole ) {
   U32 most = 0;
   for ( const useconds_t time : { 2000u, 6000u, 15000u, 30000u, 60000u, 90000u } ) {
      QuarraSoak::Child child( [ & ]( std::FILE *output ) {
         const auto theSwitch = open();
         for ( U32 entry = static_cast<U32>( theSwitch->agent().entries().size() ) + 1;; ++entry ) {
            install( *theSwitch, entry );
            std::fprintf( output, "%u\n", entry );
            std::fflush( output );
         }
         return 0;
      } );
      usleep( time );
      const auto ending = child.kill();
      U32 answered = 0;
      std::istringstream lines( ending.output );
      for ( U32 entry = 0; lines >> entry; ) {
         answered = entry;
      }
      const auto theSwitch = open();
      const auto entries = static_cast<U32>( theSwitch->agent().entries().size() );
      EXPECT_GE( entries, std::max( answered, most ) ) << ending.errors;
      EXPECT_LE( entries, std::max( answered, most ) + 1 );
      for ( U32 entry = 1; entry <= entries; ++entry ) {
         EXPECT_TRUE( theSwitch->agent().entries().contains( entry ) );
         EXPECT_TRUE( theSwitch->chip().tcamEntries().contains( entry ) );
      }
      EXPECT_EQ( theSwitch->chip().tcamEntries().size(), entries );
      most = entries;
   }
}

TEST_P( SwitchDirTest, ADirectoryThatIsNoSwitchIsRefusedAndLeftAlone ) {
   std::filesystem::create_directory( path );
   std::ofstream( path + "/letter" ) << "Dear Sir";
   EXPECT_EQ( refusal(), "storeMissing" );
   std::filesystem::remove( path + "/letter" );
   EXPECT_EQ( refusal(), "ok" ) << "an empty directory";
   std::filesystem::remove( path + "/chip" );
   EXPECT_EQ( refusal(), "storeMissing" );
   std::ofstream( path + "/chip" ) << "short";
   EXPECT_EQ( refusal(), "storeDamaged" );
   std::filesystem::remove_all( path );
   std::ofstream( path.c_str() ).close();
   EXPECT_EQ( refusal(), "storeFailed" ) << "a file";
}

// What a process leaves that died while it made the switch.
TEST_P( SwitchDirTest, ASwitchThatWasNotFinishedIsMadeAnew ) {
   std::filesystem::create_directory( path + ".new" );
   std::ofstream( path + ".new/chip" ) << "half";
   std::ofstream( path + ".new/store.db" ) << "half";
   EXPECT_EQ( refusal(), "ok" );
   EXPECT_FALSE( std::filesystem::exists( path + ".new" ) );
}

TEST_P( SwitchDirTest, ASecondProcessIsToldWhoHoldsTheSwitch ) {
   const auto theSwitch = open();
   QuarraSoak::Child second( [ & ]( std::FILE *output ) {
      try {
         const SwitchDir dir( path, QuarraLab::defaultChoice( GetParam() ) );
      } catch ( const StoreRefused &refused ) {
         std::fprintf( output, "%s: %s", refused.code().c_str(), refused.what() );
      }
      return 0;
   } );
   EXPECT_THAT( second.end().output, ::testing::AllOf( ::testing::StartsWith( "storeInUse" ),
                                                       ::testing::HasSubstr( std::to_string( getpid() ) ) ) );
}

} // namespace
} // namespace QuarraTest
