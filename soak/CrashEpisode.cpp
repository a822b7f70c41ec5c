#include "soak/CrashEpisode.h"

#include <filesystem>

#include <fmt/format.h>

#include "soak/Damage.h"
#include "soak/Life.h"

namespace QuarraSoak {
namespace {

namespace fs = std::filesystem;

constexpr U32 mostPrepared = 60;    // operations before the first deadly one
constexpr U32 mostDeadly = 4;       // operations over which processes die
constexpr U64 mostDeathsOfOne = 80; // of more steps, those at SDK calls are spread over them

// A directory whose switch goes from one state to the next.
class CrashEpisode {
 public:
   CrashEpisode( const ChipChoice &chip, Choices &choices, Tally &tally, Clock::time_point end,
                 const std::string &scratch )
      : chip_( chip ),
        choices_( choices ),
        tally_( tally ),
        end_( end ),
        scratch_( scratch ),
        model_( modelOf( Switch( chip ) ) ) {
      fs::create_directories( scratch_ );
   }
   CrashEpisode( const CrashEpisode & ) = delete;
   CrashEpisode &operator=( const CrashEpisode & ) = delete;
   ~CrashEpisode() {
      std::error_code ignored;
      fs::remove_all( scratch_, ignored );
   }

   const Model &model() const { return model_; }
   bool timeIsOver() const { return end_ != Clock::time_point::max() && Clock::now() >= end_; }

   std::string prepare( const std::vector<Operation> &operations ) {
      if ( auto difference = dieMakingIt(); !difference.empty() ) {
         return difference;
      }
      for ( const auto &operation : operations ) {
         Hint hint;
         carryOut( model_, operation, hint );
      }
      return textOf( QuarraSoak::prepare( { chip_, standing() }, operations, model_ ), "made" );
   }

   std::string dieOver( const Operation &operation );

 private:
   std::string standing() const { return scratch_ + "/standing"; }
   std::string dying() const { return scratch_ + "/dying"; }

   static void copy( const std::string &from, const std::string &to ) {
      fs::remove_all( to );
      fs::copy( from, to, fs::copy_options::recursive );
   }

   std::string textOf( const LifeEnd &end, const std::string &when ) const {
      return end.good() ? "" : when + ": " + end.difference;
   }

   std::string dieMakingIt();

   // A death at the step, and what comes after it. `steps` is how many the operation has.
   std::string dieAt( U64 step, U64 steps, const DeadlyOperation &deadly );
   std::string takeOver( const DeadlyOperation &deadly, U64 steps, bool damaged, const std::string &when );

   const ChipChoice chip_;
   Choices &choices_;
   Tally &tally_;
   const Clock::time_point end_;
   const std::string scratch_;
   Model model_; // of the standing switch
};

// A switch comes with one commit. The process after it makes the switch, or finds it whole.
std::string CrashEpisode::dieMakingIt() {
   for ( const U64 step : { 1u, 2u } ) {
      fs::remove_all( dying() );
      const auto died = QuarraSoak::prepare( { chip_, dying(), step }, {}, model_ );
      const auto when = fmt::format( "death at step {} of making the switch ({})", step, died.diedAt );
      if ( !died.good() || died.diedAt.empty() ) {
         return died.good() ? when + ": it took fewer steps" : textOf( died, when );
      }
      ++tally_.operations;
      ++tally_.places[ died.diedAt ];
      ++tally_.outcomes[ "made" ];
      if ( const auto next = QuarraSoak::prepare( { chip_, dying() }, {}, model_ ); !next.good() ) {
         return textOf( next, when );
      }
   }
   return "";
}

std::string CrashEpisode::takeOver( const DeadlyOperation &deadly, U64 steps, bool damaged,
                                    const std::string &when ) {
   const auto chip = contentOf( dying() + "/chip" );
   U64 stepsToLive = choices_.oneIn( 4 ) && !damaged ? choices_.between( 1, static_cast<U32>( steps ) ) : 0;
   auto end = QuarraSoak::takeOver( { chip_, dying(), stepsToLive }, deadly );
   if ( end.good() && !end.diedAt.empty() ) {
      ++tally_.places[ "inRecovery" ];
      end = QuarraSoak::takeOver( { chip_, dying() }, deadly );
   }
   if ( end.good() && end.restart == "refused" ) {
      if ( !damaged ) {
         return when + ": a sound store is refused: " + end.refusal;
      }
      if ( contentOf( dying() + "/chip" ) != chip ) {
         return when + ": the store is refused, and the chip was touched: " + end.refusal;
      }
   }
   ++tally_.outcomes[ end.restart ];
   return textOf( end, when );
}

std::string CrashEpisode::dieAt( U64 step, U64 steps, const DeadlyOperation &deadly ) {
   copy( standing(), dying() );
   const auto died = carryOut( Life{ chip_, dying(), step }, deadly );
   auto when = fmt::format( "death at step {} of {} ({})", step, steps, died.diedAt );
   if ( !died.good() || died.diedAt.empty() ) {
      return died.good() ? when + ": the operation took fewer steps" : textOf( died, when );
   }
   ++tally_.operations;
   ++tally_.places[ died.diedAt ];
   bool damaged = false;
   if ( died.diedAt == nameOf( Step::afterCommit ) && choices_.oneIn( 2 ) &&
        tearCommit( dying(), choices_ ) ) {
      ++tally_.places[ "withinCommit" ];
      when += ", the commit torn";
   } else if ( choices_.oneIn( 8 ) ) {
      const auto what = damageStore( dying(), choices_ );
      ++tally_.places[ "storeDamaged" ];
      when += ", " + what;
      damaged = true;
   }
   return takeOver( deadly, steps, damaged, when );
}

std::string CrashEpisode::dieOver( const Operation &operation ) {
   const auto before = model_;
   Hint hint;
   const auto outcome = carryOut( model_, operation, hint );
   const DeadlyOperation deadly{ operation, before, model_, outcome, hint };
   const auto next = scratch_ + "/next";
   copy( standing(), next );
   const auto whole = carryOut( Life{ chip_, next }, deadly );
   auto difference = textOf( whole, "without a death" );
   // Odd, so that deaths before calls and deaths after them take turns.
   const U64 stride = ( whole.steps + mostDeathsOfOne - 1 ) / mostDeathsOfOne | 1;
   const U64 phase = choices_.below( static_cast<U32>( stride ) );
   for ( U64 step = 1; step <= whole.steps && difference.empty() && !timeIsOver(); ++step ) {
      const bool atCommit = step <= 2 || step + 1 >= whole.steps;
      if ( atCommit || step % stride == phase ) {
         difference = dieAt( step, whole.steps, deadly );
      }
   }
   fs::remove_all( standing() );
   fs::rename( next, standing() );
   return difference.empty() ? "" : operation.line() + ": " + difference;
}

// Few ports and few bits of a port's number, so that an operation has no more than some dozens of SDK calls.
ChipChoice drawSmallChip( const QuarraAgent::Variant &variant, Choices &choices ) {
   constexpr U8 fewPortBits = 3;
   for ( ;; ) {
      auto chip = drawChip( variant, choices );
      if ( chip.chip.portBits <= fewPortBits || choices.ended() ) {
         return chip;
      }
   }
}

} // namespace

std::string playCrashEpisode( const QuarraAgent::Variant &variant, Choices &choices, Tally &tally,
                              const Record &record, Clock::time_point end, const std::string &scratch ) {
   const auto chip = drawSmallChip( variant, choices );
   const auto tell = [ & ]( const std::string &line ) {
      if ( record ) {
         record( line );
      }
   };
   tell( chipLine( chip ) );
   CrashEpisode episode( chip, choices, tally, end, scratch );
   std::vector<Operation> operations;
   Model ahead = episode.model(); // what the player knows of
   Player player( choices, ahead );
   const auto next = [ & ] {
      auto operation = player.next();
      Hint hint;
      carryOut( ahead, operation, hint );
      tell( operation.line() );
      return operation;
   };
   for ( U32 left = choices.below( mostPrepared ); left; --left ) {
      operations.push_back( next() );
   }
   auto difference = episode.prepare( operations );
   for ( U32 left = choices.between( 1, mostDeadly ); left && difference.empty() && !episode.timeIsOver();
         --left ) {
      difference = episode.dieOver( next() );
   }
   for ( std::size_t i = 0; i < tally.events.size(); ++i ) {
      tally.events[ i ] += ahead.events()[ i ];
   }
   tally.episodes += !episode.timeIsOver();
   return difference;
}

std::string replayCrash( const History &history, const std::string &scratch ) {
   const auto chip = chipOf( history );
   std::vector<Operation> operations;
   for ( std::size_t i = 1; i < history.size(); ++i ) {
      operations.push_back( Operation::ofLine( history[ i ] ) );
   }
   // What hits after a death is drawn anew each time.
   for ( U64 seed = 1; seed <= 3 && !operations.empty(); ++seed ) {
      SeededChoices choices( seed );
      Tally tally;
      CrashEpisode episode( chip, choices, tally, Clock::time_point::max(), scratch );
      auto difference = episode.prepare( { operations.begin(), operations.end() - 1 } );
      difference = difference.empty() ? episode.dieOver( operations.back() ) : difference;
      if ( !difference.empty() ) {
         return difference;
      }
   }
   return "";
}

} // namespace QuarraSoak
