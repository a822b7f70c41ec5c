#include "lab/Usage.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"

namespace QuarraLab {

using namespace QuarraTcam;

namespace {

// The runs of free bits, as lengths.
std::vector<U32> freeRuns( const Vesk::Bitmap &bitmap ) {
   std::vector<U32> runs;
   for ( U32 bit = 0; bit < bitmap.size(); ++bit ) {
      if ( bitmap.test( bit ) ) {
         continue;
      }
      if ( runs.empty() || bit == 0 || bitmap.test( bit - 1 ) ) {
         runs.push_back( 0 );
      }
      ++runs.back();
   }
   return runs;
}

SpaceUsage usageOfSpace( const QuarraTcamPortsManager &manager, const Space &space ) {
   const auto &bitmap = *manager.classIdHwStatus( space.type );
   const auto runs = freeRuns( bitmap );
   return { space, bitmap.count(), runs.empty() ? 0 : *std::ranges::max_element( runs ),
            static_cast<U32>( runs.size() ) };
}

// How many runs of so many bits a search for the lowest free run finds, one after the other; takes them.
U32 takeRuns( std::vector<U32> &runs, U32 bits ) {
   U32 taken = 0;
   for ( U32 &run : runs ) { // a run is used up from its low end
      taken += run / bits;
      run %= bits;
   }
   return taken;
}

U32 classIdsOfWidth( U32 width ) {
   return ( U32{ 1 } << width ) - 1;
}

// Class IDs of the group's pools that are not lent.
U32 freeInPools( const ClassIdTcamGroupStatus *status ) {
   U32 free = 0;
   if ( status ) {
      for ( const auto &[ id, pool ] : status->poolStatus() ) {
         free += pool->classIdPools();
      }
   }
   return free;
}

} // namespace

U32 furtherPortSets( const QuarraTcamPortsManager &manager, TcamGroupId group ) {
   const auto &config = *classIdTcamGroupsInfo.at( group );
   const auto type = config.classIdType();
   if ( isSystemAclGroup( group ) || config.classIdPoolBits() != 0 || !manager.classIdHwStatusHas( type ) ) {
      return 0;
   }
   const auto &bitmap = *manager.classIdHwStatus( type );
   const auto *status = manager.classIdTcamGroupStatus( group ).get();
   const U32 numPools = config.classIdNumPools();
   const U32 width = config.classIdPoolWidth();
   auto runs = freeRuns( bitmap );
   if ( poolsComeWithGroup( type ) ) {
      const bool fits = std::ranges::any_of( runs, [ & ]( U32 run ) { return run >= numPools * width; } );
      return status ? freeInPools( status ) : fits ? numPools * classIdsOfWidth( width ) : 0;
   }
   U32 sets = freeInPools( status );
   if ( numPools * width > bitmap.size() + 1 ) {
      return sets; // the agent refuses what the library would abort on
   }
   sets += takeRuns( runs, numPools * width ) * numPools * classIdsOfWidth( width );
   sets += takeRuns( runs, numPools ) * numPools; // pools of one bit lend one class ID each
   return sets;
}

namespace {

GroupUsage usageOfGroup( const QuarraTcamPortsManager &manager, TcamGroupId group ) {
   const auto &config = *classIdTcamGroupsInfo.at( group );
   GroupUsage usage{ group, config.classIdType(), config.classIdPoolWidth() };
   if ( const auto &status = manager.classIdTcamGroupStatus( group ) ) {
      usage.pools = status->poolStatuss();
      for ( const auto &[ id, pool ] : status->poolStatus() ) {
         usage.bits += pool->size();
      }
      usage.classIdsLent = status->requestStatuss();
      for ( const auto &[ key, request ] : status->requestStatus() ) {
         const bool reserved = request->entryRefHas( INVALID_ENTRY_ID );
         usage.classIdsReserved += reserved;
         usage.entries += request->entryRefs() - reserved;
      }
   }
   usage.furtherPortSets = furtherPortSets( manager, group );
   return usage;
}

std::vector<TableUsage> usageOfTables( const Switch &theSwitch ) {
   std::map<std::pair<std::string, TcamGroupId>, TableUsage> tables;
   for ( const auto &holder : holdersOf( theSwitch ) ) {
      std::map<std::string, U32> entries; // of this class ID, by table
      for ( const U32 id : holder.request->entryRef() ) {
         if ( id != INVALID_ENTRY_ID ) {
            ++entries[ tableOf( ruleOf( theSwitch.agent().entries().at( id ).request ) ) ];
         }
      }
      for ( const auto &[ table, number ] : entries ) {
         auto &usage = tables[ { table, holder.group } ];
         usage.table = table;
         usage.group = holder.group;
         usage.entries += number;
         ++usage.classIds;
         usage.shared += entries.size() > 1;
      }
   }
   std::vector<TableUsage> list;
   for ( const auto &[ key, usage ] : tables ) {
      list.push_back( usage );
   }
   return list;
}

} // namespace

Usage usageOf( const Switch &theSwitch ) {
   const auto &manager = theSwitch.agent().manager();
   Usage usage;
   for ( const auto &space : spacesOf( theSwitch ) ) {
      usage.spaces.push_back( usageOfSpace( manager, space ) );
   }
   for ( const auto group : getTcamGroups() ) {
      usage.groups.push_back( usageOfGroup( manager, group ) );
   }
   usage.tables = usageOfTables( theSwitch );
   return usage;
}

std::vector<Level> levelsOf( const Switch &theSwitch ) {
   const auto &manager = theSwitch.agent().manager();
   std::vector<Level> levels;
   for ( const auto &space : spacesOf( theSwitch ) ) {
      const auto usage = usageOfSpace( manager, space );
      levels.push_back(
         { std::string( stringValue( space.type ) ), usage.used, space.size, usage.largestFreeRun } );
   }
   for ( const auto group : getTcamGroups() ) {
      const auto &status = manager.classIdTcamGroupStatus( group );
      if ( !status || !poolsComeWithGroup( typeOf( group ) ) ) {
         continue;
      }
      const auto &pool = status->poolStatus( status->lastPoolNum() );
      if ( pool && pool->size() > 1 ) {
         levels.push_back( { "group " + std::to_string( group.value() ), status->requestStatuss(),
                             classIdsOfWidth( pool->size() ) } );
      }
   }
   return levels;
}

JsonOut usageJson( const Usage &usage ) {
   auto spaces = JsonOut::array();
   for ( const auto &space : usage.spaces ) {
      spaces.push_back( { { "space", stringValue( space.space.type ) },
                          { "bits", space.space.size },
                          { "used", space.used },
                          { "free", space.free() },
                          { "largestFreeRun", space.largestFreeRun },
                          { "freeRuns", space.freeRuns } } );
   }
   auto groups = JsonOut::array();
   for ( const auto &group : usage.groups ) {
      groups.push_back( { { "group", group.group.value() },
                          { "space", stringValue( group.type ) },
                          { "poolWidth", group.poolWidth },
                          { "pools", group.pools },
                          { "bits", group.bits },
                          { "classIds", group.classIdsLent },
                          { "reservedAtStartUp", group.classIdsReserved },
                          { "entries", group.entries },
                          { "furtherPortSets", group.furtherPortSets } } );
   }
   auto tables = JsonOut::array();
   for ( const auto &table : usage.tables ) {
      tables.push_back( { { "table", table.table },
                          { "group", table.group.value() },
                          { "entries", table.entries },
                          { "classIds", table.classIds },
                          { "shared", table.shared } } );
   }
   return { { "spaces", std::move( spaces ) },
            { "groups", std::move( groups ) },
            { "tables", std::move( tables ) } };
}

} // namespace QuarraLab
