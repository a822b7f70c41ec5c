#include "lab/Who.h"

#include <algorithm>

#include <fmt/format.h>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"

namespace QuarraLab {

using namespace QuarraTcam;
using enum QuarraTcam::ClassIdType;

namespace {

const auto &managerOf( const Switch &theSwitch ) {
   return theSwitch.agent().manager();
}

// What is typed for the space's name.
std::string_view shortName( ClassIdType type ) {
   switch ( type ) {
   case ifpSourceTrunkMap:
      return "ifp";
   case vfpSourceTrunkMap:
      return "vfp";
   case aclGroupFlexibleWidth:
      return "flexible";
   case aclGroupFixedWidth:
      return "fixed";
   case classIdInvalid:
   case classIdMax:
      break;
   }
   return "";
}

std::optional<Space> spaceOfType( const Switch &theSwitch, ClassIdType type ) {
   const auto spaces = spacesOf( theSwitch );
   const auto item = std::ranges::find( spaces, type, &Space::type );
   return item == spaces.end() ? std::nullopt : std::optional( *item );
}

} // namespace

ClassIdType typeOf( TcamGroupId group ) {
   const auto item = classIdTcamGroupsInfo.find( group );
   return item == classIdTcamGroupsInfo.end() ? classIdInvalid : item->second->classIdType();
}

std::vector<Space> spacesOf( const Switch &theSwitch ) {
   std::vector<Space> spaces;
   for ( const auto type : Nodra::enumerators<ClassIdType>() ) {
      if ( managerOf( theSwitch ).classIdHwStatusHas( type ) ) {
         spaces.push_back( { type, managerOf( theSwitch ).classIdHwStatus( type )->size(),
                             firstBitOf( type, theSwitch.agent().chip().flexibleBits ) } );
      }
   }
   return spaces;
}

std::optional<Space> spaceOf( const Switch &theSwitch, TcamGroupId group ) {
   return spaceOfType( theSwitch, typeOf( group ) );
}

Space spaceNamed( const Switch &theSwitch, const std::string &name ) {
   std::string known;
   for ( const auto &space : spacesOf( theSwitch ) ) {
      known += ( known.empty() ? "" : ", " ) + std::string( stringValue( space.type ) );
      if ( name == stringValue( space.type ) || name == shortName( space.type ) ) {
         return space;
      }
   }
   throw QuarraAgent::RequestRefused(
      "noSpace", fmt::format( "the chip has no class-ID space \"{}\"; it has {}", name, known ) );
}

Vesk::Bitmap carriedValue( const Switch &theSwitch, const Space &space, const QuarraModPort &port ) {
   Vesk::Bitmap value( 0, space.size, Vesk::HBitmap::BitState::clear );
   switch ( classIdSpace( space.type )->field ) {
   case ClassIdField::sourceTrunkMapWord: {
      const U32 word = theSwitch.sourceTrunkMapWord( space.type, port );
      for ( U32 bit = 0; bit < space.size; ++bit ) {
         if ( word >> bit & 1 ) {
            value.set( bit );
         }
      }
      break;
   }
   case ClassIdField::aclGroupValue:
      for ( const U32 bit : theSwitch.aclGroup( port ).setBits() ) {
         if ( bit >= space.firstBit && bit - space.firstBit < space.size ) {
            value.set( bit - space.firstBit );
         }
      }
      break;
   }
   return value;
}

U32 valueIn( const Vesk::Bitmap &value, const PoolStatus &pool ) {
   U32 inPool = 0;
   for ( U32 bit = 0; bit < pool.size(); ++bit ) {
      inPool |= U32{ value.test( pool.baseOffset() + bit ) } << bit;
   }
   return inPool;
}

std::vector<U32> Holder::bits() const {
   std::vector<U32> bits;
   for ( U32 bit = 0; bit < pool->size(); ++bit ) {
      if ( request->classId() >> bit & 1 ) {
         bits.push_back( pool->baseOffset() + bit );
      }
   }
   return bits;
}

Holder holderOf( const TcamAgent &agent, const QuarraAgent::Entry &entry ) {
   const auto group = entry.request.group;
   const auto &status = agent.manager().classIdTcamGroupStatus( group );
   const auto &request = status->requestStatus( entry.key );
   return { group, status->poolStatus( request->poolId() ).get(), request.get() };
}

std::vector<Holder> holdersOf( const Switch &theSwitch ) {
   std::vector<Holder> holders;
   for ( const auto group : getTcamGroups() ) {
      if ( const auto &status = managerOf( theSwitch ).classIdTcamGroupStatus( group ) ) {
         for ( const auto &[ key, request ] : status->requestStatus() ) {
            holders.push_back( { group, status->poolStatus( request->poolId() ).get(), request.get() } );
         }
      }
   }
   return holders;
}

std::vector<GroupPool> poolsOf( const Switch &theSwitch, ClassIdType type ) {
   std::vector<GroupPool> pools;
   for ( const auto group : getTcamGroups() ) {
      const auto &status = managerOf( theSwitch ).classIdTcamGroupStatus( group );
      if ( status && typeOf( group ) == type ) {
         for ( const auto &[ id, pool ] : status->poolStatus() ) {
            pools.push_back( { group, pool.get() } );
         }
      }
   }
   std::ranges::stable_sort(
      pools, {}, []( const GroupPool &item ) { return std::pair( item.pool->baseOffset(), item.group ); } );
   return pools;
}

std::string ruleOf( const QuarraAgent::InstallRequest &request ) {
   return !request.label.empty() || !request.rule ? request.label : request.rule->name();
}

std::string tableOf( const std::string &rule ) {
   const auto bar = rule.find( '|' );
   return bar == std::string::npos ? std::string() : rule.substr( 0, bar );
}

BitReport whoHoldsBit( const Switch &theSwitch, const Space &space, U32 bit ) {
   if ( bit >= space.size ) {
      throw QuarraAgent::RequestRefused(
         "outOfRange",
         fmt::format( "bit {}: {} has the bits 0 to {}", bit, stringValue( space.type ), space.size - 1 ) );
   }
   BitReport report{
      space, bit, managerOf( theSwitch ).classIdHwStatus( space.type )->test( bit ), {}, {}, {}
   };
   for ( const auto &pool : poolsOf( theSwitch, space.type ) ) {
      if ( pool.covers( bit ) ) {
         report.pools.push_back( pool );
      }
   }
   for ( const auto &holder : holdersOf( theSwitch ) ) {
      const auto bits = holder.bits();
      if ( typeOf( holder.group ) == space.type && std::ranges::binary_search( bits, bit ) ) {
         report.holders.push_back( holder );
      }
   }
   for ( const auto &port : theSwitch.ports() ) {
      if ( carriedValue( theSwitch, space, port ).test( bit ) ) {
         report.carriers.push_back( port );
      }
   }
   return report;
}

TableReport whoHoldsForTable( const Switch &theSwitch, const std::string &table ) {
   TableReport report{ table, {} };
   std::set<std::string> tables;
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      tables.insert( tableOf( ruleOf( entry.request ) ) );
   }
   for ( const auto &holder : holdersOf( theSwitch ) ) {
      TableReport::Share share{ holder, {} };
      for ( const U32 id : holder.request->entryRef() ) {
         if ( id != INVALID_ENTRY_ID &&
              tableOf( ruleOf( theSwitch.agent().entries().at( id ).request ) ) == table ) {
            share.entries.push_back( id );
         }
      }
      if ( !share.entries.empty() ) {
         std::ranges::sort( share.entries );
         report.shares.push_back( std::move( share ) );
      }
   }
   if ( report.shares.empty() || table.empty() ) {
      std::string names;
      for ( const auto &name : tables ) {
         names += name.empty() ? "" : ( names.empty() ? "" : ", " ) + name;
      }
      throw QuarraAgent::RequestRefused(
         "unknownTable", fmt::format( "no installed entry is a rule of a table \"{}\"; tables: {}", table,
                                      names.empty() ? "none" : names ) );
   }
   return report;
}

// ---- As JSON

JsonOut holderJson( const Switch &theSwitch, const PortsJson &ports, const Holder &holder ) {
   auto entries = JsonOut::array();
   for ( const U32 id :
         std::set<U32>( holder.request->entryRef().begin(), holder.request->entryRef().end() ) ) {
      if ( id != INVALID_ENTRY_ID ) {
         entries.push_back(
            { { "entry", id }, { "rule", ruleOf( theSwitch.agent().entries().at( id ).request ) } } );
      }
   }
   return { { "group", holder.group.value() },
            { "space", stringValue( typeOf( holder.group ) ) },
            { "pool", holder.pool->poolId() },
            { "classId", holder.request->classId() },
            { "bits", holder.bits() },
            { "key", keyJson( holder.request->requestKey() ) },
            { "reservedAtStartUp", holder.request->entryRefHas( INVALID_ENTRY_ID ) },
            { "entries", std::move( entries ) },
            { "ethernet", holder.request->intfGroup()->ethernet() },
            { "ports", ports.list( holder.request->intfGroup()->portId() ) } };
}

JsonOut bitReportJson( const Switch &theSwitch, const BitReport &report ) {
   const PortsJson ports( theSwitch );
   auto pools = JsonOut::array();
   for ( const auto &[ group, pool ] : report.pools ) {
      pools.push_back( { { "group", group.value() },
                         { "pool", pool->poolId() },
                         { "offset", pool->baseOffset() },
                         { "width", pool->size() },
                         { "freeClassIds", pool->classIdPools() } } );
   }
   auto holders = JsonOut::array();
   for ( const auto &holder : report.holders ) {
      holders.push_back( holderJson( theSwitch, ports, holder ) );
   }
   return { { "space", stringValue( report.space.type ) },
            { "bit", report.bit },
            { "bitOfValue", report.space.firstBit + report.bit },
            { "taken", report.taken },
            { "pools", std::move( pools ) },
            { "classIds", std::move( holders ) },
            { "ports", ports.list( report.carriers ) } };
}

JsonOut tableReportJson( const Switch &theSwitch, const TableReport &report ) {
   const PortsJson ports( theSwitch );
   auto shares = JsonOut::array();
   for ( const auto &share : report.shares ) {
      auto json = holderJson( theSwitch, ports, share.holder );
      json[ "entriesOfTable" ] = share.entries;
      shares.push_back( std::move( json ) );
   }
   return { { "table", report.table }, { "classIds", std::move( shares ) } };
}

} // namespace QuarraLab
