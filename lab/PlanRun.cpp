#include "lab/PlanRun.h"

#include <algorithm>
#include <limits>

#include "lab/Usage.h"

namespace QuarraLab {

using namespace QuarraTcam;
using QuarraAgent::Entry;
using QuarraAgent::RequestRefused;
using Fate = PlannedRule::Fate;
using Kind = PlanStep::Kind;

namespace {

std::vector<QuarraModPort> rising( std::vector<QuarraModPort> ports ) {
   if ( !std::ranges::is_sorted( ports ) ) {
      std::ranges::sort( ports );
   }
   return ports;
}

bool asksTheSame( const QuarraAgent::InstallRequest &one, const QuarraAgent::InstallRequest &other ) {
   return one.group == other.group && one.ethernet == other.ethernet &&
          ( one.ports == other.ports || rising( one.ports ) == rising( other.ports ) );
}

const ClassIdRequestStatus &requestOf( const TcamAgent &agent, const Entry &entry ) {
   return *agent.manager().classIdTcamGroupStatus( entry.request.group )->requestStatus( entry.key );
}

ClassIdPlace placeOf( const Holder &holder ) {
   const auto type = classIdTcamGroupsInfo.at( holder.group )->classIdType();
   return { holder.group.value(), std::string( stringValue( type ) ), holder.pool->baseOffset(),
            holder.pool->size(), holder.request->classId() };
}

ClassIdPlace placeOf( const TcamAgent &agent, const Entry &entry ) {
   const auto &request = requestOf( agent, entry );
   const auto &pool =
      agent.manager().classIdTcamGroupStatus( entry.request.group )->poolStatus( request.poolId() );
   return placeOf( Holder{ entry.request.group, pool.get(), &request } );
}

// Its coming or going changes what ports carry: nobody shares the class ID, or it is a reserved one, whose ports
// change with each entry.
bool changesPorts( const TcamAgent &agent, const Entry &entry ) {
   const auto &request = requestOf( agent, entry );
   return request.entryRefs() == 1 || request.entryRefHas( INVALID_ENTRY_ID );
}

} // namespace

bool isOfConfiguration( const QuarraAgent::InstallRequest &request ) {
   return !request.label.empty();
}

bool mustBeCreated( const Switch &theSwitch, TcamGroupId group ) {
   const auto item = classIdTcamGroupsInfo.find( group );
   return item != classIdTcamGroupsInfo.end() &&
          item->second->classIdType() == ClassIdType::aclGroupFixedWidth &&
          !theSwitch.agent().manager().classIdTcamGroupStatusHas( group );
}

U64 sdkWritesOf( const QuarraSimulator::SimulatedChip &chip, const std::map<std::string, U64> &calls ) {
   U64 writes = 0;
   U64 words = 0;
   bool logicalTables = false;
   for ( const auto &[ function, made ] : calls ) {
      const bool ofLogicalTables = function.starts_with( "bcmlt_entry_" );
      writes += ofLogicalTables ? 0 : made;
      words += function == "portTableSet" ? made : 0;
      logicalTables = logicalTables || ofLogicalTables;
   }
   return logicalTables ? writes + chip.portWrites() - words : writes;
}

std::vector<PeakOfSpace> fillOf( const Switch &theSwitch ) {
   const auto &manager = theSwitch.agent().manager();
   std::vector<PeakOfSpace> spaces;
   for ( const auto &space : spacesOf( theSwitch ) ) {
      const U32 used = manager.classIdHwStatus( space.type )->count();
      spaces.push_back( { std::string( stringValue( space.type ) ), space.size, used, used, used } );
   }
   for ( const auto &[ group, config ] : classIdTcamGroupsInfo ) {
      const auto &status = manager.classIdTcamGroupStatus( group );
      if ( config->classIdType() != ClassIdType::aclGroupFixedWidth || !status ) {
         continue;
      }
      const auto &pool = status->poolStatus( status->lastPoolNum() );
      if ( pool && pool->size() > 1 ) {
         const U32 used = status->requestStatuss();
         spaces.push_back(
            { "group " + std::to_string( group.value() ), ( 1U << pool->size() ) - 1, used, used, used } );
      }
   }
   return spaces;
}

bool PlanRun::Bundle::done() const {
   return std::ranges::all_of( wishes, &Wish::done );
}

PlanRun::PlanRun( Switch &theSwitch, const WantedEntries &wanted, Plan &plan )
   : switch_( theSwitch ), agent_( theSwitch.agent() ), plan_( plan ) {
   heldBefore_ = heldNow();
   plan_.spaces = fillOf( switch_ );
   bundleUp( pairUp( wanted ) );
   std::map<U32, std::size_t> ruleOf;
   for ( std::size_t rule = 0; rule < plan_.rules.size(); ++rule ) {
      if ( const auto &entry = plan_.rules[ rule ].entryBefore ) {
         ruleOf.emplace( *entry, rule );
         lastEntry_ = std::max( lastEntry_, *entry );
      }
   }
   watch_.emplace( switch_, watched_, ruleOf );
   calls_ = switch_.chip().callCounts();
   writes_ = sdkWritesOf( switch_.chip(), calls_ );
}

std::shared_ptr<const PortFlags> PlanRun::flagsOf( const InstallRequest *request ) {
   auto &flags =
      request ? flags_[ { request->ethernet, rising( request->ports ) } ] : flags_[ { false, {} } ];
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

std::size_t PlanRun::addRule( const Entry *before, const InstallRequest *after ) {
   PlannedRule rule;
   rule.rule = ruleOf( after ? *after : before->request );
   rule.fate = !before ? Fate::comes : !after ? Fate::goes : Fate::stays;
   if ( before ) {
      rule.entryBefore = before->request.entry;
   }
   watched_.push_back( { flagsOf( before ? &before->request : nullptr ), flagsOf( after ),
                         before && before->request.ethernet } );
   plan_.rules.push_back( std::move( rule ) );
   return plan_.rules.size() - 1;
}

std::vector<PlanRun::Wish> PlanRun::pairUp( const WantedEntries &wanted ) {
   std::multimap<std::string, const Entry *> installed;
   for ( const auto &[ id, entry ] : agent_.entries() ) {
      if ( isOfConfiguration( entry.request ) ) {
         installed.emplace( ruleOf( entry.request ), &entry );
      } else {
         addRule( &entry, &entry.request );
      }
   }
   std::vector<Wish> changes;
   for ( const auto &request : wanted ) {
      wantedGroups_.insert( request.group );
      const auto [ first, last ] = installed.equal_range( ruleOf( request ) );
      if ( first == last ) {
         comers_.push_back( { addRule( nullptr, &request ), request } );
         continue;
      }
      const auto same = std::find_if(
         first, last, [ & ]( const auto &item ) { return asksTheSame( item.second->request, request ); } );
      const auto old = same == last ? first : same;
      const auto rule = addRule( old->second, &request );
      if ( same == last ) {
         plan_.rules[ rule ].fate = Fate::changes;
         changes.push_back( { rule, request } );
      }
      installed.erase( old );
   }
   for ( const auto &[ rule, entry ] : installed ) {
      goers_.push_back( addRule( entry, nullptr ) );
   }
   std::ranges::sort( goers_, {}, [ this ]( std::size_t rule ) { return plan_.rules[ rule ].entryBefore; } );
   return changes;
}

void PlanRun::bundleUp( std::vector<Wish> changes ) {
   std::map<std::pair<TcamGroupId, const ClassIdRequestStatus *>, std::size_t> places;
   for ( auto &wish : changes ) {
      const auto &entry = agent_.entries().at( *plan_.rules[ wish.rule ].entryBefore );
      const auto [ item, isNew ] =
         places.emplace( std::pair( entry.request.group, &requestOf( agent_, entry ) ), bundles_.size() );
      if ( isNew ) {
         bundles_.emplace_back();
      }
      bundles_[ item->second ].wishes.push_back( std::move( wish ) );
   }
}

std::map<U32, PlanRun::Held> PlanRun::heldNow() const {
   std::map<U32, Held> held;
   for ( const auto &holder : holdersOf( switch_ ) ) {
      const auto &ports = holder.request->intfGroup()->portId();
      const Held one{ placeOf( holder ), std::make_shared<PortSet>( ports.begin(), ports.end() ) };
      for ( const U32 entry : holder.request->entryRef() ) {
         if ( entry != INVALID_ENTRY_ID ) {
            held.emplace( entry, one );
         }
      }
   }
   return held;
}

// ---- The order of the steps

void PlanRun::run() {
   while ( !allDone() ) {
      bool progress = swapAll( false ) || swapAll( true );
      progress = ( !progress && comeAll() ) || progress;
      if ( !progress && !allDone() && !goAll() && !breakSmallest() ) {
         break;
      }
   }
   goAll();
   dropGroups();
   finish();
}

bool PlanRun::allDone() const {
   return std::ranges::all_of( bundles_, &Bundle::done ) && std::ranges::all_of( comers_, &Wish::done );
}

bool PlanRun::swapAll( bool oldAreGone ) {
   bool progress = false;
   for ( auto &bundle : bundles_ ) {
      if ( bundle.oldAreGone == oldAreGone && !bundle.done() ) {
         progress = swap( bundle ) || progress;
      }
   }
   return progress;
}

bool PlanRun::swap( Bundle &bundle ) {
   std::vector<std::size_t> replaced;
   for ( auto &wish : bundle.wishes ) {
      if ( !wish.done() && install( wish ) ) {
         replaced.push_back( wish.rule );
      }
   }
   if ( !bundle.oldAreGone ) {
      for ( const auto rule : replaced ) {
         remove( rule );
      }
   }
   return !replaced.empty();
}

bool PlanRun::comeAll() {
   bool progress = false;
   for ( auto &wish : comers_ ) {
      progress = ( !wish.done() && install( wish ) ) || progress;
   }
   return progress;
}

bool PlanRun::goAll() {
   const bool any = !goers_.empty();
   for ( const auto rule : goers_ ) {
      remove( rule );
   }
   goers_.clear();
   return any;
}

// The entries of nothing else hold the class ID of the old ones.
bool PlanRun::frees( const Bundle &bundle ) const {
   std::size_t old = 0;
   const ClassIdRequestStatus *request = nullptr;
   for ( const auto &wish : bundle.wishes ) {
      if ( !wish.done() ) {
         ++old;
         request = &requestOf( agent_, agent_.entries().at( *plan_.rules[ wish.rule ].entryBefore ) );
      }
   }
   return request && request->entryRefs() == old;
}

// Something that found no room draws on the space of the old entries.
bool PlanRun::couldHelp( const Bundle &bundle ) const {
   const auto &first = plan_.rules[ bundle.wishes.front().rule ];
   const auto group = agent_.entries().contains( *first.entryBefore )
                         ? agent_.entries().at( *first.entryBefore ).request.group
                         : bundle.wishes.front().request.group;
   const auto type = classIdTcamGroupsInfo.at( group )->classIdType();
   const auto needs = [ & ]( const Wish &wish ) {
      const auto item = classIdTcamGroupsInfo.find( wish.request.group );
      return !wish.done() && item != classIdTcamGroupsInfo.end() && item->second->classIdType() == type &&
             ( type != ClassIdType::aclGroupFixedWidth || wish.request.group == group );
   };
   return std::ranges::any_of( comers_, needs ) ||
          std::ranges::any_of(
             bundles_, [ & ]( const Bundle &other ) { return std::ranges::any_of( other.wishes, needs ); } );
}

bool PlanRun::breakSmallest() {
   const auto left = []( const Bundle &bundle ) {
      return std::ranges::count_if( bundle.wishes, []( const Wish &wish ) { return !wish.done(); } );
   };
   Bundle *smallest = nullptr;
   for ( auto &bundle : bundles_ ) {
      if ( !bundle.done() && !bundle.oldAreGone && frees( bundle ) && couldHelp( bundle ) &&
           ( !smallest || left( bundle ) < left( *smallest ) ) ) {
         smallest = &bundle;
      }
   }
   if ( !smallest ) {
      return false;
   }
   smallest->oldAreGone = true;
   for ( const auto &wish : smallest->wishes ) {
      if ( !wish.done() ) {
         plan_.rules[ wish.rule ].goesFirst = true;
         remove( wish.rule );
      }
   }
   return true;
}

// ---- The steps

bool PlanRun::install( Wish &wish ) {
   auto &rule = plan_.rules[ wish.rule ];
   const std::pair portSet( wish.request.group, wish.request.ports );
   if ( const auto known = roomless_.find( portSet ); known != roomless_.end() ) {
      std::tie( rule.code, rule.message ) = known->second;
      return false;
   }
   try {
      if ( mustBeCreated( switch_, wish.request.group ) ) {
         makeGroup( wish.request.group );
      }
      installOrThrow( wish );
      return true;
   } catch ( const RequestRefused &refused ) {
      rule.code = refused.code();
      rule.message = refused.what();
      if ( refused.code() == "noRoom" ) {
         roomless_.emplace( portSet, std::pair( rule.code, rule.message ) );
      } else {
         wish.refused = true;
      }
      return false;
   }
}

void PlanRun::installOrThrow( Wish &wish ) {
   U32 entry = lastEntry_;
   do {
      entry = entry == std::numeric_limits<U32>::max() ? 1 : entry + 1;
   } while ( agent_.entries().contains( entry ) );
   wish.request.entry = entry;
   begin();
   watch_->entryStandsFor( entry, wish.rule );
   agent_.install( wish.request );
   lastEntry_ = entry;
   wish.installed = true;
   plan_.rules[ wish.rule ].entryAfter = entry;
   const auto &installed = agent_.entries().at( entry );
   PlanStep step{ Kind::install, wish.request };
   step.place = placeOf( agent_, installed );
   step.changesPorts = changesPorts( agent_, installed );
   end( std::move( step ) );
}

void PlanRun::remove( std::size_t rule ) {
   const auto entry = agent_.entries().at( *plan_.rules[ rule ].entryBefore );
   PlanStep step{ Kind::remove, entry.request };
   step.place = placeOf( agent_, entry );
   step.changesPorts = changesPorts( agent_, entry );
   begin();
   agent_.remove( entry.request.group, entry.request.entry );
   leftGroups_.insert( entry.request.group );
   roomless_.clear();
   end( std::move( step ) );
}

void PlanRun::makeGroup( TcamGroupId group ) {
   begin();
   agent_.createGroup( group );
   end( { Kind::createGroup, { .group = group } } );
}

// A fixed-width group keeps its pool when its last entry goes. Where nothing is wanted of it any more, it goes, too.
void PlanRun::dropGroups() {
   for ( const auto group : leftGroups_ ) {
      const bool used = std::ranges::any_of(
         agent_.entries(), [ & ]( const auto &item ) { return item.second.request.group == group; } );
      if ( !used && !wantedGroups_.contains( group ) &&
           classIdTcamGroupsInfo.at( group )->classIdType() == ClassIdType::aclGroupFixedWidth ) {
         begin();
         agent_.deleteGroup( group );
         end( { Kind::deleteGroup, { .group = group } } );
      }
   }
}

void PlanRun::begin() {
   watch_->begins( plan_.steps.size() + 1 );
}

void PlanRun::end( PlanStep step ) {
   auto calls = switch_.chip().callCounts();
   for ( const auto &[ function, number ] : calls ) {
      const auto before = calls_.find( function );
      if ( const U64 made = number - ( before == calls_.end() ? 0 : before->second ) ) {
         step.sdkCalls.emplace( function, made );
      }
   }
   const U64 writes = sdkWritesOf( switch_.chip(), calls );
   calls_ = std::move( calls );
   step.sdkWrites = writes - writes_;
   writes_ = writes;
   watch_->ends( step.changesPorts );
   // Only what lends a class ID or gives it back takes bits or frees them.
   if ( step.changesPorts || !step.place ) {
      measure();
   }
   plan_.steps.push_back( std::move( step ) );
}

void PlanRun::measure() {
   for ( const auto &now : fillOf( switch_ ) ) {
      const auto item = std::ranges::find( plan_.spaces, now.name, &PeakOfSpace::name );
      if ( item == plan_.spaces.end() ) {
         plan_.spaces.push_back( { now.name, now.size, 0, now.peak, 0 } );
      } else {
         item->peak = std::max( item->peak, now.peak );
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
   const auto heldBy = []( const std::map<U32, Held> &all, const std::optional<U32> &entry ) {
      const auto item = entry ? all.find( *entry ) : all.end();
      return item == all.end() ? nullptr : &item->second;
   };
   for ( auto &rule : plan_.rules ) {
      if ( rule.entryBefore && !rule.entryAfter && agent_.entries().contains( *rule.entryBefore ) ) {
         rule.entryAfter = rule.entryBefore;
      }
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
   }
   const auto refuse = [ this ]( const Wish &wish ) {
      auto &rule = plan_.rules[ wish.rule ];
      if ( wish.installed ) {
         rule.code.clear();
         rule.message.clear();
      } else {
         rule.fate = Fate::refused;
      }
   };
   std::ranges::for_each( comers_, refuse );
   for ( const auto &bundle : bundles_ ) {
      std::ranges::for_each( bundle.wishes, refuse );
   }
   const auto usage = usageOf( switch_ );
   const auto fill = fillOf( switch_ );
   for ( auto &space : plan_.spaces ) {
      const auto now = std::ranges::find( fill, space.name, &PeakOfSpace::name );
      space.after = now == fill.end() ? 0 : now->after;
      const auto item = std::ranges::find_if( usage.spaces, [ & ]( const SpaceUsage &one ) {
         return stringValue( one.space.type ) == space.name;
      } );
      space.largestFreeRun = item == usage.spaces.end() ? 0 : item->largestFreeRun;
   }
   plan_.mismatches = checkMatches( switch_ );
   tellWhatWasWrong();
}

void PlanRun::tellWhatWasWrong() {
   std::map<std::tuple<std::size_t, std::size_t, std::size_t, bool>, std::set<QuarraModPort>> ports;
   for ( const auto &one : watch_->wrong() ) {
      ports[ { one.begins, one.ends, one.rule, one.lost } ].insert( switch_.ports()[ one.port ] );
   }
   for ( const auto &[ key, wrongOn ] : ports ) {
      const auto &[ begins, ends, rule, lost ] = key;
      const auto &planned = plan_.rules[ rule ];
      plan_.wrong.push_back( { planned.rule, planned.entryAfter ? planned.entryAfter : planned.entryBefore,
                               lost, begins, ends, wrongOn } );
   }
}

} // namespace QuarraLab
