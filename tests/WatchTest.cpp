#include "soak/Watch.h"

#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/SwitchDir.h"
#include "soak/CrashEpisode.h"
#include "soak/Damage.h"
#include "soak/Life.h"
#include "soak/Soak.h"
#include "tests/Lasting.h"
#include "tests/Lines.h"

// Whether the checkers of the soak would see a fault: each is fed one.
namespace QuarraTest {
namespace {

using namespace QuarraSoak;
using namespace QuarraTcam;
using QuarraLab::SwitchDir;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr U16 oneBitGroup = 13;
constexpr U16 valueGroup = 16;
constexpr U16 wordGroup = 129; // its bits are in the words of table 9

ModelRequest request( U16 group, U32 entry, std::set<U32> numbers ) {
   ModelRequest request{ .group = group, .entry = entry };
   for ( const U32 number : numbers ) {
      request.wanted.ports.emplace( 0, number );
   }
   return request;
}

// A switch with an entry on ports 1 and 2 and one on port 3, and the SDK calls of an agent at fault.
class FaultyAgent {
 public:
   explicit FaultyAgent( U16 group ) : model( modelOf( theSwitch ) ), group_( group ) {
      carry( { Operation::Kind::install, request( group, 1, { 1, 2 } ) } );
      carry( { Operation::Kind::install, request( group, 2, { 3 } ) } );
      watch.begin( group, 2 );
   }

   void carry( const Operation &operation ) {
      Hint hint;
      carryOut( theSwitch, operation, hint );
      carryOut( model, operation, hint );
   }
   // The ports of an entry's one bit, whatever the records say.
   void putBit( U32 entry, std::set<U32> numbers ) {
      const auto ports = intfGroupInfoFactory();
      for ( const U32 number : numbers ) {
         ports->portIdIs( QuarraModPort( 0, number ) );
      }
      const auto bit = *model.qualifiers().at( entry ).data.begin();
      theSwitch.agent().manager().portsHelper()->setAclGroupClassId( static_cast<U8>( bit ), ports );
   }
   void putWord( U32 port, U32 word ) { SdkShim->portTableSet( 0, 9, { 0, port }, word ); }
   U32 word( U32 port ) { return theSwitch.chip().sourceTrunkMapWord( 9, { 0, port } ); }

   Switch theSwitch{ QuarraLab::defaultChoice( "sdk6" ) };
   Model model;
   Watch watch{ theSwitch };

 private:
   const U16 group_;
};

struct Fault {
   const char *name;
   U16 group;
   const char *complaint; // empty: it is none
   std::function<void( FaultyAgent & )> calls;
};

void PrintTo( const Fault &fault, std::ostream *out ) {
   *out << fault.name;
}

const Fault faults[] = {
   { "Nothing", oneBitGroup, "", []( auto & ) {} },
   { "ARequestAsItShouldBe", oneBitGroup, "",
     []( auto &agent ) {
        agent.carry( { Operation::Kind::remove, request( oneBitGroup, 2, {} ) } );
        agent.watch.begin( oneBitGroup, 2 );
        agent.carry( { Operation::Kind::install, request( oneBitGroup, 2, { 4 } ) } );
     } },
   { "AnotherEntryFlickers", oneBitGroup, "another entry 1 changes what it matches on port 0/2; 2 times",
     []( auto &agent ) {
        agent.putBit( 1, { 1 } );
        agent.putBit( 1, { 1, 2 } );
     } },
   { "TheOwnEntryLosesItsPortsBeforeItGoes", oneBitGroup, "the request's own entry 2 changes",
     []( auto &agent ) {
        agent.putBit( 2, {} );
        SdkShim->fieldEntryDestroy( 0, 2 );
     } },
   { "TheOwnEntryGetsItsPortsAfterItCame", oneBitGroup, "the request's own entry 2 changes",
     []( auto &agent ) {
        agent.carry( { Operation::Kind::remove, request( oneBitGroup, 2, {} ) } );
        agent.carry( { Operation::Kind::install, request( oneBitGroup, 2, {} ) } );
        agent.watch.begin( oneBitGroup, 2 );
        agent.putBit( 2, { 3 } );
     } },
   { "TheOwnEntryIsMadeTwice", oneBitGroup,
     "the request's own entry 2 changes what it matches on port 0/4; 3",
     []( auto &agent ) {
        const auto install = [ & ] {
           agent.theSwitch.agent().install(
              { .group = oneBitGroup, .entry = 2, .ports = { { 0, 4 } }, .rule = {} } );
        };
        agent.carry( { Operation::Kind::remove, request( oneBitGroup, 2, {} ) } );
        agent.watch.begin( oneBitGroup, 2 );
        install();
        agent.theSwitch.agent().remove( oneBitGroup, 2 );
        install();
     } },
   { "AWordPassesThroughAnotherValue", wordGroup, "another entry 1 changes what it matches on port 0/1; 2",
     []( auto &agent ) {
        const U32 before = agent.word( 1 );
        agent.putWord( 1, 0 );
        agent.putWord( 1, before );
     } },
   { "AnEntryThatWasThereBeforeTheWatchFlickers", oneBitGroup, "another entry 1",
     []( auto &agent ) {
        agent.watch.~Watch();
        new ( &agent.watch ) Watch( agent.theSwitch );
        agent.watch.begin( oneBitGroup, 2 );
        agent.putBit( 1, {} );
        agent.putBit( 1, { 1, 2 } );
     } },
};

class WatchSees : public ::testing::TestWithParam<Fault> {};

TEST_P( WatchSees, EachFaultAndNothingElse ) {
   FaultyAgent agent( GetParam().group );
   GetParam().calls( agent );
   const std::string complaint = GetParam().complaint;
   if ( complaint.empty() ) {
      EXPECT_EQ( agent.watch.end( agent.model ), "" );
   } else {
      EXPECT_THAT( agent.watch.end( agent.model ), HasSubstr( complaint ) );
   }
}

INSTANTIATE_TEST_SUITE_P( Faults, WatchSees, ::testing::ValuesIn( faults ),
                          []( const auto &fault ) { return std::string( fault.param.name ); } );

// ---- What entries match, against the model

TEST( CompareMatches, SeesAChipThatMatchesOtherwise ) {
   FaultyAgent agent( oneBitGroup );
   EXPECT_EQ( compareMatches( agent.model, agent.theSwitch ), "" );
   agent.putBit( 2, { 3, 4 } );
   EXPECT_THAT( compareMatches( agent.model, agent.theSwitch ),
                HasSubstr( "the match check, not the model, names entry 2 on port 0/4" ) );
   agent.putBit( 2, {} );
   EXPECT_THAT( compareMatches( agent.model, agent.theSwitch ), HasSubstr( "entry 2 on port 0/3" ) );
   agent.putBit( 2, { 3 } );
   EXPECT_EQ( compareMatches( agent.model, agent.theSwitch ), "" );
}

TEST( CompareMatches, SeesAMismatchThatIsNotThere ) {
   FaultyAgent agent( valueGroup );
   // The model believes that a newer entry took a port.
   Hint hint;
   carryOut( agent.model, { Operation::Kind::install, request( valueGroup, 3, { 1 } ) }, hint );
   EXPECT_THAT( compareMatches( agent.model, agent.theSwitch ),
                HasSubstr( "the model, not the match check, names entry 1 on port 0/1" ) );
}

// ---- Deaths

class Dying : public ::testing::Test {
 protected:
   Dying() {
      EXPECT_EQ( prepare( { chip, path }, { first }, before ).difference, "" );
      carryOut( after, second, hint );
   }
   Model modelWith( const Operation &operation ) {
      Model model = modelOf( Switch( chip ) );
      carryOut( model, operation, hint );
      return model;
   }
   LifeEnd dieAt( U64 step ) { return carryOut( Life{ chip, path, step }, deadly ); }

   Directory directory;
   const ChipChoice chip = QuarraLab::defaultChoice( "sdk6" );
   const std::string path = directory.file( "switch" );
   const Operation first{ Operation::Kind::install, request( oneBitGroup, 1, { 1, 2 } ) };
   const Operation second{ Operation::Kind::install, request( oneBitGroup, 2, { 3 } ) };
   Hint hint;
   Model before = modelWith( first );
   Model after = before;
   const DeadlyOperation deadly{ second, before, after, Outcome::done, {} };
};

// A process dies where it is told to, and the one after it finds everything as it should be.
TEST_F( Dying, EndsAtEachStepAndIsTakenOver ) {
   const std::string kept = path + ".kept";
   std::filesystem::copy( path, kept );
   const auto whole = dieAt( 0 );
   ASSERT_EQ( whole.difference, "" );
   EXPECT_GE( whole.steps, 12u ) << "four calls and two commits at least";
   for ( U64 step = 1; step <= whole.steps; ++step ) {
      std::filesystem::remove_all( path );
      std::filesystem::copy( kept, path );
      const auto end = dieAt( step );
      ASSERT_EQ( end.difference, "" );
      const auto expected = step == 1 || step + 1 == whole.steps ? "beforeCommit"
                            : step == 2 || step == whole.steps   ? "afterCommit"
                            : step % 2                           ? "beforeSdkCall"
                                                                 : "afterSdkCall";
      EXPECT_EQ( end.diedAt, expected ) << step;
      const auto next = takeOver( { chip, path }, deadly );
      EXPECT_EQ( next.difference, "" ) << step;
      EXPECT_EQ( next.restart, step == 1 || step == whole.steps ? "nothingInFlight" : "undone" ) << step;
   }
}

TEST_F( Dying, ATakeOverThatIsNotRightIsSeen ) {
   ASSERT_EQ( dieAt( 6 ).diedAt, "afterSdkCall" );
   const std::string kept = path + ".kept";
   std::filesystem::copy( path, kept );
   const auto again = [ & ] {
      std::filesystem::remove_all( path );
      std::filesystem::copy( kept, path );
   };
   // Another model before: an entry more.
   Model other = before;
   carryOut( other, { Operation::Kind::install, request( oneBitGroup, 7, { 5 } ) }, hint );
   EXPECT_THAT( takeOver( { chip, path }, { second, other, after, Outcome::done, {} } ).difference,
                HasSubstr( "the model has" ) );
   // Another request than the one that was in flight.
   again();
   const Operation third{ Operation::Kind::install, request( oneBitGroup, 3, { 3 } ) };
   EXPECT_THAT( takeOver( { chip, path }, { third, before, after, Outcome::done, {} } ).difference,
                HasSubstr( "another request" ) );
   // A chip that lost an entry's bit while nobody ran.
   again();
   {
      QuarraSimulator::SimulatedChip lame( QuarraLab::chipOptions( *chip.variant, chip.chip ) );
      QuarraLab::ChipImage image( path + "/chip" );
      image.follow( lame, QuarraLab::portsOf( chip.chip ) );
      lame.aclGroupIs( 1, Vesk::Bitmap( 0, 64, Vesk::HBitmap::BitState::clear ) );
      image.portChanged( 1 );
   }
   EXPECT_THAT( takeOver( { chip, path }, deadly ).difference, HasSubstr( "ports with bit" ) );
   // A store that is refused without a reason of the test's making.
   again();
   std::filesystem::resize_file( path + "/store.db", 100 );
   std::filesystem::remove( path + "/store.db-wal" );
   const auto refused = takeOver( { chip, path }, deadly );
   EXPECT_EQ( refused.restart, "refused" );
   EXPECT_THAT( refused.refusal, HasSubstr( "storeDamaged" ) );
}

class CrashSoak : public ::testing::TestWithParam<std::string> {};

TEST_P( CrashSoak, FindsEachDeathWhollyUndoneOrDone ) {
   const SoakOptions options{
      .variants = { QuarraAgent::variantOf( GetParam() ) }, .deaths = true, .seed = 11, .operations = 60
   };
   const auto result = soak( options, nullptr );
   ASSERT_FALSE( result.failure ) << "seed " << result.failure->seed << ": " << result.failure->what;
   EXPECT_EQ( result.problem, "" );
   auto places = result.tally.places;
   U64 deaths = 0;
   for ( const char *place : { "beforeSdkCall", "afterSdkCall", "beforeCommit", "afterCommit" } ) {
      EXPECT_GT( places[ place ], 0u ) << place;
      deaths += places[ place ];
   }
   EXPECT_EQ( deaths, result.tally.operations );
   EXPECT_GE( deaths, options.operations );
   EXPECT_GT( result.tally.outcomes.size(), 1u ) << "nothing was in flight";
}

INSTANTIATE_TEST_SUITE_P( Variants, CrashSoak, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST( CrashSoak, LeavesNoDirectoryBehind ) {
   const Directory directory;
   setenv( "TMPDIR", directory.file( "" ).c_str(), 1 );
   const auto result =
      soak( { .variants = { QuarraAgent::variantOf( "sdk6" ) }, .deaths = true, .seed = 5, .operations = 20 },
            nullptr );
   unsetenv( "TMPDIR" );
   EXPECT_TRUE( result.good() ) << result.problem;
   EXPECT_THAT( std::filesystem::directory_iterator( directory.file( "" ) ),
                std::filesystem::directory_iterator() );
}

// A history with a death that fails is told apart from one that does not, as its shortening needs.
TEST( CrashHistories, AreReplayed ) {
   const Directory directory;
   QuarraSoak::History history;
   Tally tally;
   SeededChoices choices( 3 );
   ASSERT_EQ( playCrashEpisode(
                 *QuarraAgent::variantOf( "sdk6" ), choices, tally,
                 [ & ]( const auto &line ) { history.push_back( line ); }, Clock::time_point::max(),
                 directory.file( "a" ) ),
              "" );
   EXPECT_GT( history.size(), 1u );
   EXPECT_EQ( replayCrash( history, directory.file( "a" ) ), "" );
   EXPECT_FALSE( std::filesystem::exists( directory.file( "a" ) ) );
}

// ---- Tearing and damaging

TEST( Damage, TearsACommitWithoutMixingItWithWhatFollows ) {
   const Directory directory;
   const auto put = [ & ]( const char *name, const std::string &content ) {
      std::ofstream( directory.file( name ) ) << content;
   };
   const auto dir = directory.file( "" );
   put( "store.db", "pages" );
   put( "store.db.before", "pages" );
   put( "store.db-wal.before", "0123456789old" );
   for ( U64 seed = 0; seed < 20; ++seed ) {
      put( "store.db-wal", "0123456789newer" );
      SeededChoices choices( seed );
      ASSERT_TRUE( tearCommit( dir, choices ) );
      const auto torn = contentOf( directory.file( "store.db-wal" ) );
      EXPECT_TRUE( torn.starts_with( "0123456789" ) ) << torn;
      EXPECT_TRUE( torn.size() == 13 || torn.starts_with( "0123456789newe" ) ) << torn;
   }
   put( "store.db", "the log went into it" );
   SeededChoices choices( 1 );
   EXPECT_FALSE( tearCommit( dir, choices ) );
}

} // namespace
} // namespace QuarraTest
