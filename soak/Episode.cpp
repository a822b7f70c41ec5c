#include "soak/Episode.h"

#include <algorithm>
#include <sstream>

#include <fmt/format.h>

namespace QuarraSoak {

void Tally::add( const Tally &other ) {
   operations += other.operations;
   episodes += other.episodes;
   for ( std::size_t i = 0; i < events.size(); ++i ) {
      events[ i ] += other.events[ i ];
   }
   for ( const auto &[ outcome, count ] : other.outcomes ) {
      outcomes[ outcome ] += count;
   }
   for ( const auto &[ place, count ] : other.places ) {
      places[ place ] += count;
   }
}

std::string Tally::line() const {
   auto text = fmt::format( "tally {} {}", operations, episodes );
   for ( const U64 count : events ) {
      text += fmt::format( " {}", count );
   }
   text += fmt::format( " {}", outcomes.size() );
   for ( const auto *counts : { &outcomes, &places } ) {
      for ( const auto &[ word, count ] : *counts ) {
         text += fmt::format( " {} {}", word, count );
      }
   }
   return text;
}

std::optional<Tally> Tally::ofLine( const std::string &line ) {
   Tally tally;
   std::istringstream in( line );
   std::string word;
   in >> word >> tally.operations >> tally.episodes;
   for ( U64 &count : tally.events ) {
      in >> count;
   }
   if ( word != "tally" || !in ) {
      return std::nullopt;
   }
   std::size_t outcomes = 0;
   in >> outcomes;
   U64 sum = 0;
   for ( U64 count = 0; tally.outcomes.size() < outcomes && in >> word >> count; sum += count ) {
      tally.outcomes[ word ] = count;
   }
   for ( U64 count = 0; in >> word >> count; ) {
      tally.places[ word ] = count;
   }
   return sum == tally.operations ? std::optional( tally ) : std::nullopt;
}

namespace {

// An episode under way.
class Episode {
 public:
   Episode( const ChipChoice &chip, Choices &choices, Tally &tally, const Record &record,
            Clock::time_point end )
      : trial_( chip ),
        choices_( choices ),
        player_( choices, trial_.model() ),
        tally_( tally ),
        record_( record ),
        end_( end ) {}

   std::string play( U32 maxOperations );

 private:
   bool carryOut( const Operation &operation );
   void comeBack();

   Trial trial_;
   Choices &choices_;
   Player player_;
   Tally &tally_;
   const Record &record_;
   const Clock::time_point end_;
   bool timeIsOver_ = false;
   std::string difference_;
};

// Whether the episode goes on.
bool Episode::carryOut( const Operation &operation ) {
   timeIsOver_ = end_ != Clock::time_point::max() && Clock::now() >= end_;
   if ( timeIsOver_ ) {
      return false;
   }
   if ( record_ ) {
      record_( operation.line() );
   }
   difference_ = trial_.carryOut( operation );
   ++tally_.operations;
   ++tally_.outcomes[ trial_.outcome() ];
   return difference_.empty();
}

std::string Episode::play( U32 maxOperations ) {
   bool good = ( difference_ = verifyAll( trial_.model(), trial_.theSwitch() ) ).empty();
   for ( U32 left = choices_.between( 1, maxOperations ); good && left && !choices_.ended(); --left ) {
      good = carryOut( player_.next() );
   }
   if ( good && ( difference_ = trial_.compareMatches() ).empty() ) {
      comeBack();
   }
   for ( std::size_t i = 0; i < tally_.events.size(); ++i ) {
      tally_.events[ i ] += trial_.model().events()[ i ];
   }
   tally_.episodes += !timeIsOver_;
   return difference_;
}

void Episode::comeBack() {
   while ( const auto removal = player_.nextRemoval() ) {
      if ( !carryOut( *removal ) ) {
         return;
      }
   }
   difference_ = trial_.leftBehind();
}

} // namespace

std::string playEpisode( const QuarraAgent::Variant &variant, Choices &choices, U32 maxOperations,
                         Tally &tally, const Record &record, Clock::time_point end ) {
   const auto choice = drawChip( variant, choices );
   if ( record ) {
      record( chipLine( choice ) );
   }
   return Episode( choice, choices, tally, record, end ).play( maxOperations );
}

ChipChoice chipOf( const History &history ) {
   const auto json = QuarraLab::parseJson( history.front() );
   QuarraLab::JsonFields fields( json, "history" );
   fields.value( "op" );
   return readChip( fields, QuarraLab::defaultChoice( "testSdk6" ) );
}

std::string replay( const History &history ) {
   Trial trial( chipOf( history ) );
   for ( std::size_t i = 1; i < history.size(); ++i ) {
      auto difference = trial.carryOut( Operation::ofLine( history[ i ] ) );
      if ( !difference.empty() ) {
         return difference;
      }
   }
   auto difference = trial.compareMatches();
   return difference.empty() && trial.model().asAtStart() ? trial.leftBehind() : difference;
}

void shorten( History &history, const std::function<bool( const History & )> &fails ) {
   for ( std::size_t run = history.size() / 2; run > 0; run /= 2 ) {
      for ( std::size_t first = 1; first < history.size(); ) {
         auto shorter = history;
         const auto from = shorter.begin() + static_cast<std::ptrdiff_t>( first );
         shorter.erase( from, from + static_cast<std::ptrdiff_t>( std::min( run, history.size() - first ) ) );
         if ( fails( shorter ) ) {
            history = std::move( shorter );
         } else {
            first += run;
         }
      }
   }
}

} // namespace QuarraSoak
