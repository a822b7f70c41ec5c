#include <algorithm>
#include <cstdlib>
#include <sstream>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/BadInputs.h"
#include "tests/Mutations.h"
#include "tools/ApplyReport.h"

// Damaged inputs, 120,000 of them: each is carried out or refused in one line, and none crashes. A seed has
// its own test, so that they run side by side.
namespace QuarraTest {
namespace {

using namespace QuarraAcl;
using namespace QuarraLab;
using namespace QuarraTool;

// QUARRA_CASES_PERCENT makes fewer of them, for a slow build.
const unsigned casesOfASeed = []() -> unsigned {
   const char *percent = std::getenv( "QUARRA_CASES_PERCENT" );
   return 100u * static_cast<unsigned>( std::clamp( percent ? std::atoi( percent ) : 100, 1, 100 ) );
}();

const QuarraAgent::Variant &variantFor( unsigned seed ) {
   return QuarraAgent::variants()[ seed % QuarraAgent::variants().size() ];
}

// ---- Batch lines -----------------------------------------------------------------------------------------

std::vector<std::string> goodLines() {
   std::vector<std::string> lines;
   for ( const auto &text : textsIn( "fuzz/corpus/BatchLines" ) ) {
      std::istringstream in( text );
      for ( std::string line; std::getline( in, line ); ) {
         if ( line.find( R"("op":"chip")" ) == std::string::npos ) {
            lines.push_back( line );
         }
      }
   }
   return lines;
}

// A small switch that answers lines, good ones between the damaged ones.
class DamagedLines {
 public:
   explicit DamagedLines( const QuarraAgent::Variant &variant )
      : batch_( defaultChoice( std::string( variant.name ) ) ) {
      batch_.answer( R"({"op":"chip","ports":8})" );
      atStart_ = state();
   }

   // On HSDK chips the groups of the good lines come before their entries; on others this changes nothing.
   void createGroups() {
      for ( const char *group : { "10", "13", "14", "16" } ) {
         batch_.answer( fmt::format( R"({{"op":"createGroup","group":{}}})", group ) );
      }
   }

   JsonOut state() { return batch_.answer( R"({"op":"dump"})" ); }

   // "" when the line is carried out, or refused as it should be.
   std::string problem( const std::string &line, bool compared ) {
      const auto before = compared ? state() : JsonOut();
      const auto answer = batch_.answer( line );
      const bool refused = answer.at( "ok" ) == false;
      ( refused ? refused_ : carriedOut_ ) += 1;
      if ( compared && refused && state() != before ) {
         return "changed the state: " + JsonOut::diff( before, state() ).dump();
      }
      return answerProblem( answer );
   }

   // Removes what is there. "" when the switch is then as it was at the start.
   std::string removalProblem() {
      const auto entries = batch_.usedSwitch()->agent().entries();
      for ( const auto &[ id, entry ] : entries ) {
         batch_.answer(
            fmt::format( R"({{"op":"remove","group":{},"entry":{}}})", entry.request.group.value(), id ) );
      }
      const auto groups = state().at( "groups" );
      for ( const auto &group : groups ) {
         batch_.answer( fmt::format( R"({{"op":"deleteGroup","group":{}}})", group.at( "group" ).dump() ) );
      }
      const auto left = JsonOut::diff( atStart_, state() );
      return left.empty() ? "" : "left behind: " + left.dump();
   }

   unsigned refused() const { return refused_; }
   unsigned carriedOut() const { return carriedOut_; }

 private:
   Batch batch_;
   JsonOut atStart_;
   unsigned refused_ = 0;
   unsigned carriedOut_ = 0;
};

class GeneratedLines : public ::testing::TestWithParam<unsigned> {};

TEST_P( GeneratedLines, AreCarriedOutOrRefused ) {
   const auto seed = GetParam();
   const auto good = goodLines();
   Mutations mutations( seed, good );
   DamagedLines lines( variantFor( seed ) );
   for ( unsigned number = 0; number < casesOfASeed; ++number ) {
      if ( number % 100 == 0 ) {
         ASSERT_EQ( lines.removalProblem(), "" ) << "seed " << seed << ", up to case " << number;
         lines.createGroups();
      }
      const auto line = mutations.damaged( good[ mutations.below( good.size() ) ] );
      ASSERT_EQ( lines.problem( line, number % 10 == 0 ), "" )
         << "seed " << seed << ", case " << number << ": " << line;
   }
   EXPECT_EQ( lines.removalProblem(), "" ) << "seed " << seed;
   EXPECT_GT( lines.refused(), casesOfASeed / 2 ) << "the damage is none";
   EXPECT_GT( lines.carriedOut(), casesOfASeed / 20 ) << "nothing gets past the parser";
}

INSTANTIATE_TEST_SUITE_P( Seeds, GeneratedLines, ::testing::Range( 1u, 9u ) );

// ---- Configurations, in every format ----

// "" when the text is refused as it should be, or applied.
std::string problemOf( const std::string &text, const QuarraAgent::Variant &variant, unsigned &taken ) {
   try {
      auto config = parseAcl( { { "generated", text } } ).orRefuse();
      ++taken;
      const Applied applied( std::move( config ), defaultChoice( std::string( variant.name ) ), {} );
      for ( const auto &entry : applied.entries() ) {
         if ( !entry.refusedCode.empty() && !documentedCodes().contains( entry.refusedCode ) ) {
            return "no code of docs/tool.md: " + entry.refusedCode;
         }
      }
      std::istringstream report( applyReport( applied, false ) );
      for ( std::string line; std::getline( report, line ); ) {
         if ( oneLine( line ) != line ) {
            return "control characters in the report: " + oneLine( line );
         }
      }
      return applyJson( applied ).dump().empty() ? "no document" : "";
   } catch ( const InputError &error ) {
      return lineProblem( error.what() );
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      return documentedCodes().contains( refused.code() ) ? "" : "no code of docs/tool.md: " + refused.code();
   }
}

class GeneratedConfigurations : public ::testing::TestWithParam<unsigned> {};

TEST_P( GeneratedConfigurations, AreAppliedOrRefused ) {
   const auto seed = GetParam();
   auto good = textsIn( "fuzz/corpus/Configuration" );
   for ( const auto &text : textsIn( "fuzz/corpus/AclFormats" ) ) {
      good.push_back( text );
   }
   Mutations mutations( seed, good );
   unsigned taken = 0;
   for ( unsigned number = 0; number < casesOfASeed; ++number ) {
      const auto text = mutations.damaged( good[ mutations.below( good.size() ) ] );
      ASSERT_EQ( problemOf( text, variantFor( seed ), taken ), "" )
         << "seed " << seed << ", case " << number << ": " << text;
   }
   EXPECT_GT( taken, casesOfASeed / 10 ) << "nothing gets past the parser";
   EXPECT_LT( taken, casesOfASeed * 9 / 10 ) << "the damage is none";
}

INSTANTIATE_TEST_SUITE_P( Seeds, GeneratedConfigurations, ::testing::Range( 101u, 105u ) );

} // namespace
} // namespace QuarraTest
