#include "lab/PlanRun.h"

#include <algorithm>

#include "lab/Usage.h"

namespace QuarraLab {

using namespace QuarraTcam;
using Kind = ChangeStep::Kind;

namespace {

ClassIdPlace placeOf( const Holder &holder ) {
   return { holder.group.value(), std::string( stringValue( typeOf( holder.group ) ) ),
            holder.pool->baseOffset(), holder.pool->size(), holder.request->classId() };
}

// An entry's coming or going changes what ports carry: nobody shares its class ID, or it is a reserved one,
// whose ports change with each entry.
bool changesPorts( const ClassIdRequestStatus &request ) {
   return request.entryRefs() == 1 || request.entryRefHas( INVALID_ENTRY_ID );
}

} // namespace

U64 sdkWritesOf( const Switch &theSwitch, const std::map<std::string, U64> &calls ) {
   const auto &tableFunctions = theSwitch.agent().variant().generation.tableFunctions;
   U64 writes = 0;
   U64 words = 0;
   for ( const auto &[ function, made ] : calls ) {
      const bool ofTables = std::ranges::find( tableFunctions, function ) != tableFunctions.end();
      writes += ofTables ? 0 : made;
      words += function == "portTableSet" ? made : 0;
   }
   return tableFunctions.empty() ? writes : writes + theSwitch.chip().portWrites() - words;
}

std::vector<PeakOfSpace> peaksNow( const Switch &theSwitch ) {
   std::vector<PeakOfSpace> peaks;
   for ( const auto &now : levelsOf( theSwitch ) ) {
      peaks.push_back( { now.name, now.size, now.used, now.used, now.used, now.largestFreeRun } );
   }
   return peaks;
}

PlanRun::PlanRun( Switch &theSwitch, const WantedEntries &wanted, Plan &plan, const ChangeOptions &options )
   : switch_( theSwitch ), agent_( theSwitch.agent() ), change_( agent_, wanted, options ), plan_( plan ) {
   heldBefore_ = heldNow();
   plan_.spaces = peaksNow( switch_ );
   std::vector<WatchedRule> watched;
   std::map<U32, std::size_t> ruleOf;
   for ( std::size_t i = 0; i < change_.rules().size(); ++i ) {
      const auto &rule = change_.rules()[ i ];
      const auto *const before =
         rule.entryBefore ? &agent_.entries().at( *rule.entryBefore ).request : nullptr;
      const auto flags = flagsOf( before );
      watched.push_back(
         { flags,
           rule.fate == RuleFate::stays ? flags : flagsOf( rule.wanted ? &wanted[ *rule.wanted ] : nullptr ),
           before && before->ethernet } );
      if ( before ) {
         ruleOf.emplace( before->entry, i );
      }
   }
   watch_.emplace( switch_, std::move( watched ), ruleOf );
   calls_ = switch_.chip().callCounts();
   writes_ = sdkWritesOf( switch_, calls_ );
}

void PlanRun::run() {
   change_.run( *this );
   finish();
}

std::shared_ptr<const PortFlags> PlanRun::flagsOf( const InstallRequest *request ) {
   auto &flags = request ? flags_[ { request->ethernet, request->ports } ] : flags_[ { false, {} } ];
   if ( !flags ) {
      const auto &ports = switch_.ports();
      PortFlags made( ports.size(), request && request->ethernet );
      for ( std::size_t i = 0; request && i < request->ports.size(); ++i ) {
         const auto place = std::ranges::lower_bound( ports, request->ports[ i ] );
         if ( place != ports.end() && *place == request->ports[ i ] ) {
            made[ static_cast<std::size_t>( place - ports.begin() ) ] = true;
         }
      }
      flags = std::make_shared<PortFlags>( std::move( made ) );
   }
   return flags;
}

PlanRun::HeldByEntry PlanRun::heldNow() const {
   HeldByEntry held;
   for ( const auto &holder : holdersOf( switch_ ) ) {
      const auto &ports = holder.request->intfGroup()->portId();
      const auto one = std::make_shared<const Held>(
         Held{ placeOf( holder ), std::make_shared<PortSet>( ports.begin(), ports.end() ) } );
      for ( const U32 entry : holder.request->entryRef() ) {
         if ( entry != INVALID_ENTRY_ID ) {
            held.emplace( entry, one );
         }
      }
   }
   return held;
}

// ---- The steps

void PlanRun::begins( const ChangeStep &step, std::optional<std::size_t> rule ) {
   watch_->begins( plan_.steps.size() + 1 );
   if ( rule ) {
      watch_->entryStandsFor( step.request.entry, *rule );
   }
   step_ = PlanStep{ step };
   if ( step.kind == Kind::remove ) {
      tellPlace();
   }
}

void PlanRun::ends( const ChangeStep &step ) {
   if ( step.kind == Kind::install ) {
      tellPlace();
   }
   auto calls = switch_.chip().callCounts();
   for ( const auto &[ function, number ] : calls ) {
      const auto before = calls_.find( function );
      if ( const U64 made = number - ( before == calls_.end() ? 0 : before->second ) ) {
         step_.sdkCalls.emplace( function, made );
      }
   }
   const U64 writes = sdkWritesOf( switch_, calls );
   calls_ = std::move( calls );
   step_.sdkWrites = writes - writes_;
   writes_ = writes;
   watch_->ends( step_.changesPorts );
   // Only what lends a class ID or gives it back takes bits or frees them.
   if ( step_.changesPorts || !step_.place ) {
      measure();
   }
   plan_.steps.push_back( std::move( step_ ) );
}

void PlanRun::tellPlace() {
   const auto holder = holderOf( agent_, agent_.entries().at( step_.request.entry ) );
   step_.place = placeOf( holder );
   step_.changesPorts = changesPorts( *holder.request );
}

void PlanRun::measure() {
   for ( const auto &now : levelsOf( switch_ ) ) {
      const auto item = std::ranges::find( plan_.spaces, now.name, &PeakOfSpace::name );
      if ( item == plan_.spaces.end() ) {
         plan_.spaces.push_back( { now.name, now.size, 0, now.used, 0 } );
      } else {
         item->peak = std::max( item->peak, now.used );
      }
   }
}

// ---- The outcome

const GainedAndLost<QuarraModPort> &PlanRun::difference( const std::shared_ptr<const PortSet> &before,
                                                         const std::shared_ptr<const PortSet> &after ) {
   const auto [ item, isNew ] = differences_.try_emplace( { before, after } );
   if ( isNew ) {
      auto &[ gained, lost ] = item->second;
      std::ranges::set_difference( *after, *before, std::inserter( gained, gained.end() ) );
      std::ranges::set_difference( *before, *after, std::inserter( lost, lost.end() ) );
   }
   return item->second;
}

void PlanRun::finish() {
   const auto held = heldNow();
   const auto heldBy = []( const HeldByEntry &all, const std::optional<U32> &entry ) {
      const auto item = entry ? all.find( *entry ) : all.end();
      return item == all.end() ? nullptr : item->second.get();
   };
   for ( const auto &change : change_.rules() ) {
      PlannedRule rule{ change };
      const auto *const before = heldBy( heldBefore_, rule.entryBefore );
      const auto *const after = heldBy( held, rule.entryAfter );
      if ( before ) {
         rule.placeBefore = before->place;
      }
      if ( after ) {
         rule.placeAfter = after->place;
      }
      if ( before && after ) {
         rule.ports = difference( before->ports, after->ports );
      }
      plan_.rules.push_back( std::move( rule ) );
   }
   const auto levels = levelsOf( switch_ );
   for ( auto &space : plan_.spaces ) {
      const auto now = std::ranges::find( levels, space.name, &Level::name );
      space.after = now == levels.end() ? 0 : now->used;
      space.largestFreeRun = now == levels.end() ? 0 : now->largestFreeRun;
   }
   if ( !watch_->allIsRight() ) {
      plan_.mismatches = checkMatches( switch_ );
   }
   tellWhatWasWrong();
}

void PlanRun::tellWhatWasWrong() {
   std::map<std::tuple<std::size_t, std::size_t, std::size_t, bool>, std::set<QuarraModPort>> ports;
   for ( const auto &one : watch_->wrong() ) {
      ports[ { one.begins, one.ends, one.rule, one.lost } ].insert( switch_.ports()[ one.port ] );
   }
   // The step that installs an entry, counted from 1.
   std::map<U32, std::size_t> installedBy;
   for ( std::size_t i = 0; i < plan_.steps.size(); ++i ) {
      if ( plan_.steps[ i ].kind == ChangeStep::Kind::install ) {
         installedBy[ plan_.steps[ i ].request.entry ] = i + 1;
      }
   }
   for ( const auto &[ key, wrongOn ] : ports ) {
      const auto &[ begins, ends, rule, lost ] = key;
      const auto &planned = plan_.rules[ rule ];
      const bool isOfNew =
         planned.entryAfter && ( !planned.entryBefore || installedBy[ *planned.entryAfter ] <= ends );
      plan_.wrong.push_back(
         { planned.rule, isOfNew ? planned.entryAfter : planned.entryBefore, lost, begins, ends, wrongOn } );
   }
}

} // namespace QuarraLab
