#include <array>
#include <csignal>
#include <sstream>

#include <sys/wait.h>
#include <unistd.h>

#include "simulator/ReturnCode.h"
#include "tests/Lines.h"

// Every SDK call of a scenario, failed in turn: one line that names call, message and code, then the abort.
namespace QuarraTest {
namespace {

using QuarraTool::ChipChoice;

// How a child process ended that carried out the lines, and what it wrote on standard error.
struct Ending {
   int status = 0;
   std::vector<std::string> lines;

   bool clean() const { return WIFEXITED( status ) && WEXITSTATUS( status ) == 0; }
   bool aborted() const { return WIFSIGNALED( status ) && WTERMSIG( status ) == SIGABRT; }
};

Ending runInChild( const ChipChoice &choice, const std::vector<std::string> &lines ) {
   std::array<int, 2> errors{};
   EXPECT_EQ( pipe( errors.data() ), 0 );
   const pid_t child = fork();
   if ( child == 0 ) {
      dup2( errors[ 1 ], STDERR_FILENO );
      Batch batch( choice );
      bool good = true;
      for ( const auto &line : lines ) {
         good = batch.answer( line ).at( "ok" ).get<bool>() && good;
      }
      _exit( good ? 0 : 1 );
   }
   close( errors[ 1 ] );
   std::string text;
   std::array<char, 4096> buffer{};
   for ( ssize_t n = 0; ( n = read( errors[ 0 ], buffer.data(), buffer.size() ) ) > 0; ) {
      text.append( buffer.data(), static_cast<std::size_t>( n ) );
   }
   close( errors[ 0 ] );
   Ending ending;
   waitpid( child, &ending.status, 0 );
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) {
      ending.lines.push_back( line );
   }
   return ending;
}

class Faults : public LinesTest, public ::testing::WithParamInterface<std::string> {
 protected:
   // A chip of few ports, so that a run on logical tables has some hundred calls.
   ChipChoice smallChip() {
      auto choice = QuarraTool::defaultChoice( GetParam() );
      choice.chip.portBits = 2;
      choice.chip.ports.resize( 3 );
      return choice;
   }

   static std::vector<std::string> scenario() {
      return { R"({"op":"createGroup","group":17})",
               installLine( 17, 1, "1,2" ),
               installLine( 17, 2, "2" ),
               installLine( 88, 3, "ethernet", rule( "PBMP_E_ALL for a Rillway group" ) ),
               installLine( 2, 4, "3", rule( "PBMP_E_ALL for l3 ctrl group" ) ),
               R"({"op":"remove","group":17,"entry":1})",
               R"({"op":"remove","group":88,"entry":3})" };
   }
};

TEST_P( Faults, EverySdkCallThatFailsEndsInOneLineAndAnAbort ) {
   const auto choice = smallChip();
   std::map<std::string, QuarraTool::U64> counts;
   {
      Batch batch( choice );
      for ( const auto &line : scenario() ) {
         ASSERT_TRUE( batch.answer( line ).at( "ok" ).get<bool>() ) << line;
      }
      counts = batch.usedSwitch()->chip().callCounts();
   }
   ASSERT_GE( counts.size(), 3u );
   for ( const auto &[ function, calls ] : counts ) {
      // Looking a table entry up may fail; each allocated handle is looked up once.
      const auto mayFail = function == "bcmlt_entry_commit" ? counts.at( "bcmlt_entry_allocate" ) : 0;
      QuarraTool::U64 tolerated = 0;
      for ( QuarraTool::U64 n = 1; n <= calls; ++n ) {
         auto failing = choice;
         failing.failures.push_back( { n, QuarraSimulator::Code::busy, function } );
         const auto ending = runInChild( failing, scenario() );
         if ( mayFail && ending.clean() ) {
            ++tolerated;
            continue;
         }
         ASSERT_TRUE( ending.aborted() ) << function << " call " << n;
         // A look-up that fails though the entry is there leads to an insertion that the chip refuses.
         const auto *outcome = mayFail ? R"((Operation still running \(-10\)|Entry exists \(-8\)))"
                                       : R"(Operation still running \(-10\))";
         const auto line = R"([A-Za-z0-9/]+\.cpp:[0-9]+ .*)" + function + R"(\( .* \) API ERROR:)" + outcome;
         const auto errors = std::count_if( ending.lines.begin(), ending.lines.end(), []( const auto &text ) {
            return text.find( " API ERROR:" ) != std::string::npos;
         } );
         ASSERT_EQ( errors, 1 ) << function << " call " << n;
         ASSERT_THAT( ending.lines.front(), ::testing::MatchesRegex( line ) );
         ASSERT_EQ( ending.lines.size(), 2u );
         ASSERT_THAT( ending.lines.back(), ::testing::EndsWith( "assertion failed: 0" ) );
      }
      EXPECT_LE( tolerated, mayFail ) << function;
      auto past = choice;
      past.failures.push_back( { calls + 1, QuarraSimulator::Code::busy, function } );
      EXPECT_TRUE( runInChild( past, scenario() ).clean() ) << function;
   }
}

INSTANTIATE_TEST_SUITE_P( Variants, Faults, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

} // namespace
} // namespace QuarraTest
