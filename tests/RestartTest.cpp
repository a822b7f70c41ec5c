#include "tests/Lasting.h"
#include "tests/Lines.h"

namespace QuarraTest {
namespace {

using QuarraSoak::Operation;
using Outcome = Restarted::Outcome;

class Restart : public ::testing::TestWithParam<std::string> {
 protected:
   // The answers, states and SDK calls of a history, one text a step.
   static std::vector<std::string> run( const History &history, bool restarts ) {
      std::vector<std::string> texts;
      Lasting lasting( history.choice, restarts );
      for ( const auto &operation : history.operations ) {
         const auto before = lasting.chip().callCounts();
         Nodra::Text text;
         text << operation.line() << "\n" << carryOut( lasting.agent(), operation ) << "\n";
         for ( const auto &[ function, calls ] : lasting.chip().callCounts() ) {
            text << function << " " << calls - ( before.contains( function ) ? before.at( function ) : 0 )
                 << "\n";
         }
         if ( restarts ) {
            const U64 calls = lasting.chip().calls();
            EXPECT_EQ( lasting.restart().outcome, Outcome::nothingInFlight );
            EXPECT_EQ( lasting.chip().calls(), calls ) << "SDK calls of a restart";
         }
         text << lasting.state();
         texts.push_back( text.string() );
      }
      return texts;
   }
};

INSTANTIATE_TEST_SUITE_P( EveryVariant, Restart, ::testing::ValuesIn( everyVariant() ),
                          []( const auto &variant ) { return variant.param; } );

TEST_P( Restart, AfterEachRequestChangesNothingThatComesLater ) {
   for ( U64 seed = 1; seed <= 4; ++seed ) {
      const auto history = makeHistory( GetParam(), seed, 50 );
      const auto without = run( history, false );
      const auto with = run( history, true );
      for ( std::size_t i = 0; i < with.size(); ++i ) {
         ASSERT_EQ( with[ i ], without[ i ] ) << "seed " << seed << " step " << i;
      }
   }
}

// What other groups match, as text.
std::string matchesOfOthers( Lasting &lasting, TcamGroupId group ) {
   const QuarraLab::ChipChoice &choice = lasting.choice();
   std::string text;
   for ( const auto &[ id, entry ] : lasting.agent().entries() ) {
      if ( entry.request.group != group ) {
         for ( const auto &port : choice.chip.ports ) {
            text += lasting.chip().matches( id, port.port ) ? '1' : '0';
         }
      }
   }
   return text;
}

// Dies at every SDK call and at every step of a commit of the history's last request.
class Deaths {
 public:
   explicit Deaths( const History &history ) : history_( history ) {}

   void verify() {
      for ( const bool atCalls : { true, false } ) {
         for ( U64 life = 1; dieAt( life, atCalls ); ++life ) {
            ++deaths;
         }
      }
   }
   U32 deaths = 0;

 private:
   // False when the request lived to its end.
   bool dieAt( U64 life, bool atCalls ) {
      Lasting lasting( history_.choice );
      for ( std::size_t i = 0; i + 1 < history_.operations.size(); ++i ) {
         carryOut( lasting.agent(), history_.operations[ i ] );
      }
      const auto &last = history_.operations.back();
      const auto before = lasting.state();
      const U64 writesBefore = writes( lasting.chip() );
      ( atCalls ? lasting.chip().callsToLive : lasting.commitStepsToLive ) = life;
      bool died = false;
      try {
         carryOut( lasting.agent(), last );
      } catch ( const Death & ) {
         died = true;
      }
      const U64 own = died ? 0 : writes( lasting.chip() ) - writesBefore;
      lasting.die();
      const U64 atDeath = writes( lasting.chip() );
      const auto restarted = lasting.start();
      const auto context = [ & ] {
         return Nodra::toText( last.line() ) + ( atCalls ? " call " : " commit step " ) +
                std::to_string( life );
      };
      const U64 recovery = writes( lasting.chip() ) - atDeath;
      const auto after = lasting.state();
      if ( !died ) {
         own_ = own;
         after_ = after;
         EXPECT_EQ( restarted.outcome, Outcome::nothingInFlight ) << context();
         EXPECT_EQ( recovery, 0u ) << context();
         checkOutcomes();
         return false;
      }
      recoveries_.push_back( recovery );
      texts_.push_back( context() );
      states_.push_back( after );
      outcomes_.push_back( restarted.outcome );
      before_ = before;
      return true;
   }

   void checkOutcomes() {
      for ( std::size_t i = 0; i < states_.size(); ++i ) {
         const bool undone = states_[ i ] == before_;
         EXPECT_TRUE( undone || states_[ i ] == after_ ) << texts_[ i ] << "\n"
                                                         << states_[ i ] << "before:\n"
                                                         << before_ << "after:\n"
                                                         << after_;
         EXPECT_LE( recoveries_[ i ], own_ ) << texts_[ i ];
         if ( outcomes_[ i ] == Outcome::undone ) {
            EXPECT_TRUE( undone ) << texts_[ i ];
         } else if ( outcomes_[ i ] == Outcome::done ) {
            EXPECT_EQ( states_[ i ], after_ ) << texts_[ i ];
         }
      }
      states_.clear();
      recoveries_.clear();
      texts_.clear();
      outcomes_.clear();
   }

   const History &history_;
   std::string before_;
   std::string after_;
   U64 own_ = 0;
   std::vector<std::string> states_, texts_;
   std::vector<U64> recoveries_;
   std::vector<Outcome> outcomes_;
};

TEST_P( Restart, ARequestInFlightIsWhollyUndoneOrDone ) {
   U32 deaths = 0;
   for ( U64 seed = 100; seed < 105; ++seed ) {
      auto history = makeHistory( GetParam(), seed, 28 );
      while ( history.operations.size() > 24 && !::testing::Test::HasFailure() ) {
         Deaths all( history );
         all.verify();
         deaths += all.deaths;
         history.operations.pop_back();
      }
   }
   EXPECT_GT( deaths, 50u );
}

TEST_P( Restart, NoOtherGroupsEntriesMatchOtherwiseOnTheWay ) {
   for ( U64 seed = 200; seed < 203; ++seed ) {
      const auto history = makeHistory( GetParam(), seed, 25 );
      for ( U64 life = 1; life < 40; life += 3 ) {
         Lasting lasting( history.choice );
         for ( std::size_t i = 0; i + 1 < history.operations.size(); ++i ) {
            carryOut( lasting.agent(), history.operations[ i ] );
         }
         const auto &last = history.operations.back();
         const TcamGroupId group( last.request.group );
         if ( QuarraTcam::classIdTcamGroupsInfo.contains( group ) &&
              QuarraTcam::classIdTcamGroupsInfo.at( group )->classIdPoolBits() ) {
            continue; // these groups share one bit of a word
         }
         const auto before = matchesOfOthers( lasting, group );
         lasting.chip().callsToLive = life;
         try {
            carryOut( lasting.agent(), last );
         } catch ( const Death & ) {}
         lasting.die();
         lasting.start();
         EXPECT_EQ( matchesOfOthers( lasting, group ), before ) << last.line() << " call " << life;
      }
   }
}

} // namespace
} // namespace QuarraTest
