#include "agent/RequestChecks.h"

#include <algorithm>
#include <bit>
#include <optional>

#include "Nodra/Text.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/SystemAclFeatures.h"

namespace QuarraAgent::RequestChecks {
namespace {

using namespace QuarraTcam;
using enum ClassIdType;
using enum ClassIdAllocationStrategy;
using Nodra::Text;

[[noreturn]] void refuse( const char *code, const Text &message ) {
   throw RequestRefused( code, message.string() );
}

// "group 16 entry 9: "
Text groupAndEntry( const InstallRequest &request ) {
   Text text;
   text << "group " << request.group << " entry " << request.entry << ": ";
   return text;
}

U32 runBits( const ClassIdTcamGroupConfig &config ) {
   return U32{ config.classIdNumPools() } * config.classIdPoolWidth();
}

const ClassIdTcamGroupStatus *statusOf( const QuarraTcamPortsManager &manager, TcamGroupId group ) {
   return manager.classIdTcamGroupStatus( group ).get();
}

// The pool that lends the next class ID, or null.
const PoolStatus *lendingPool( const ClassIdTcamGroupStatus &status ) {
   const auto &pools = status.poolStatus();
   const auto item = std::find_if( pools.begin(), pools.end(),
                                   []( const auto &pool ) { return pool.second->classIdPools() > 0; } );
   return item == pools.end() ? nullptr : item->second.get();
}

// " 20 of 64 bits of aclGroupFlexibleWidth are free; held: group 1: 1, group 2: 4"
std::string spaceUse( const QuarraTcamPortsManager &manager, ClassIdType type ) {
   const auto &bitmap = *manager.classIdHwStatus( type );
   Text text;
   text << bitmap.size() - bitmap.count() << " of " << bitmap.size() << " bits of " << type
        << " are free; held by";
   std::map<TcamGroupId, U32> holders;
   for ( const auto &[ group, status ] : manager.classIdTcamGroupStatus() ) {
      for ( const auto &[ poolId, pool ] : status->poolStatus() ) {
         if ( knownGroup( group ).classIdType() == type && knownGroup( group ).classIdPoolBits() == 0 ) {
            holders[ group ] += pool->size();
         }
      }
   }
   const char *separator = " ";
   for ( const auto &[ group, bits ] : holders ) {
      text << separator << "group " << group << ": " << bits;
      separator = ", ";
   }
   text << ( holders.empty() ? " no group" : "" );
   return text.string();
}

void spaceExists( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config ) {
   if ( !manager.classIdHwStatusHas( config.classIdType() ) ) {
      refuse( "noSpace", Text() << "group " << config.tcamGroupId() << ": the chip has no "
                                << config.classIdType() << " space" );
   }
}

} // namespace

const ClassIdTcamGroupConfig &knownGroup( TcamGroupId group ) {
   const auto item = classIdTcamGroupsInfo.find( group );
   if ( item != classIdTcamGroupsInfo.end() ) {
      return *item->second;
   }
   Text text;
   text << "group " << group << " uses no class IDs on this chip; groups that do:";
   for ( const auto &[ known, config ] : classIdTcamGroupsInfo ) {
      text << " " << known;
   }
   refuse( "unknownGroup", text );
}

RequestKey keyOfReservedRule( const RuleId &rule ) {
   return { rule.name(), 0, rule.name() };
}

void freeEntryId( const std::map<U32, Entry> &entries, const InstallRequest &request ) {
   if ( request.entry == INVALID_ENTRY_ID ) {
      refuse( "entryIdInvalid", groupAndEntry( request ) << "entry ids count from 1" );
   }
   if ( const auto taken = entries.find( request.entry ); taken != entries.end() ) {
      refuse( "entryTaken", groupAndEntry( request ) << "the entry is installed already, in group "
                                                     << taken->second.request.group );
   }
}

void knownPorts( const ChipConfig &chip, const PortSet &chipPorts, const InstallRequest &request ) {
   if ( request.ethernet && !request.ports.empty() ) {
      refuse( "portsAndEthernet", groupAndEntry( request )
                                     << "an entry of all ethernet ports lists no ports, got "
                                     << request.ports.size() );
   }
   // Ports in rising order, as they mostly are, take one walk.
   if ( std::ranges::is_sorted( request.ports ) && std::ranges::includes( chipPorts, request.ports ) ) {
      return;
   }
   for ( const auto &port : request.ports ) {
      if ( !chipPorts.has( port ) ) {
         refuse( "unknownPort", groupAndEntry( request )
                                   << "port " << port.port() << " of module " << port.modId()
                                   << " is not on chip " << chip.profile << ", which has "
                                   << chip.ports.size() << " ports and " << chip.cpuPorts.size()
                                   << " of the CPU" );
      }
   }
}

void ethernetFits( const ClassIdTcamGroupConfig &config, const InstallRequest &request ) {
   if ( request.ethernet && config.classIdPoolWidth() > 1 ) {
      refuse( "ethernetNeedsWidthOne",
              groupAndEntry( request )
                 << "all ethernet ports need a class ID of one bit, the group's pools have "
                 << config.classIdPoolWidth() );
   }
}

// In a system group the chip's attributes say which rules have a key. In another one the agent makes the key
// of a rule that was reserved from the rule's name, which then must come from the group's own feature.
void knownRule( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                const InstallRequest &request ) {
   const auto group = request.group;
   if ( isSystemAclGroup( group ) ) {
      if ( !request.rule ) {
         refuse( "ruleRequired", groupAndEntry( request ) << "an entry of a system group names its rule" );
      }
      const auto *status = statusOf( manager, group );
      const auto table = getSystemAclAttributes( getQuarraTcamCommonData()->chipInfo() );
      const auto feature = table->reservationAttr()->featureGroup(
         SystemAclFeatureGroupKey( request.rule->featureGroupType() ) );
      if ( status && feature && feature->requestKeyHas( *request.rule ) &&
           status->requestStatusHas( feature->requestKey( *request.rule ) ) ) {
         return;
      }
   } else if ( !request.rule || !config.requestKeyHas( keyOfReservedRule( *request.rule ) ) ||
               request.rule->featureGroupType() == featureOf( group ) ) {
      return;
   }
   Text text = groupAndEntry( request );
   text << "rule \"" << request.rule->name() << "\" of feature " << request.rule->featureGroupType()
        << " is not reserved in the group; reserved for feature " << featureOf( group ) << ":";
   const char *separator = " ";
   for ( const auto &[ key, flag ] : config.requestKey() ) {
      text << separator << "\"" << key.name() << "\"";
      separator = ", ";
   }
   text << ( config.requestKeys() ? "" : " none" );
   refuse( "unknownRule", text );
}

void keyCanBeReserved( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                       const InstallRequest &request, const RequestKey &key,
                       const IntfGroupInfo &intfGroup ) {
   const auto *status = statusOf( manager, request.group );
   if ( status && status->requestStatusHas( key ) ) {
      const auto &sameHash = status->intfGroupHashToIntfGroupInfo( intfGroup.hash() );
      if ( sameHash && sameHash->requestKeyToIntfGroupHas( key ) &&
           sameHash->requestKeyToIntfGroup( key )->portId() != intfGroup.portId() ) {
         refuse( "indexCollision", groupAndEntry( request )
                                      << "these ports have the hash of other ports that key " << key
                                      << " had; install the entry with one port more or less" );
      }
      return;
   }
   if ( config.classIdPoolBits() != 0 ) {
      refuse( "fixedOffsetGroup", groupAndEntry( request )
                                     << "the group's class ID lies at bit "
                                     << std::countr_zero( config.classIdPoolBits() )
                                     << " and belongs to the rules reserved at start-up: name one of them" );
   }
   spaceExists( manager, config );
   if ( poolsComeWithGroup( config.classIdType() ) && !status ) {
      refuse( "groupNotCreated", groupAndEntry( request )
                                    << "a fixed-width group gets its class IDs when it is created" );
   }
   if ( !( status && lendingPool( *status ) ) ) {
      spaceIsWideEnough( manager, config );
   }
}

// A search for one bit more than there are finds nothing; for more than that it aborts.
void spaceIsWideEnough( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config ) {
   spaceExists( manager, config );
   const auto type = config.classIdType();
   const U32 size = manager.classIdHwStatus( type )->size();
   const bool growsByOneBit = !poolsComeWithGroup( type );
   if ( runBits( config ) > size + ( growsByOneBit ? 1 : 0 ) ) {
      refuse( "spaceTooNarrow", Text() << "group " << config.tcamGroupId() << ": it takes "
                                       << runBits( config ) << " bits at once, " << type << " has " << size );
   }
}

RequestRefused noPool( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config ) {
   Text text;
   text << "group " << config.tcamGroupId() << ": no run of " << counted( runBits( config ), "bit", "bits" )
        << " is free: " << spaceUse( manager, config.classIdType() );
   return { "noRoom", text.string() };
}

void groupCanBeDeleted( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                        const std::map<U32, Entry> &entries ) {
   const auto group = config.tcamGroupId();
   if ( isSystemAclGroup( group ) ) {
      refuse( "systemGroup", Text() << "group " << group << " is a system group and cannot be deleted" );
   }
   if ( config.requestKeys() ) {
      refuse( "groupReserved",
              Text() << "group " << group << " holds class IDs reserved at start-up and cannot be deleted" );
   }
   constexpr U32 namedAtMost = 10;
   Text users;
   U32 count = 0;
   for ( const auto &[ id, entry ] : entries ) {
      if ( entry.request.group == group && ++count <= namedAtMost ) {
         users << ( count > 1 ? ", " : "" ) << id;
      }
   }
   if ( count > namedAtMost ) {
      users << " and " << count - namedAtMost << " more";
   }
   if ( count ) {
      refuse( "groupInUse", Text() << "group " << group << " still has "
                                   << counted( count, "entry", "entries" ) << ": " << users.string() );
   }
   if ( poolsComeWithGroup( config.classIdType() ) && !statusOf( manager, group ) ) {
      refuse( "groupNotCreated", Text() << "group " << group << " was not created" );
   }
}

void startUpFits( const Variant &variant, const ChipConfig &chip ) {
   const auto &[ flexible, ifpSourceTrunkMapBits ] = variant.generation.startUp;
   const struct {
      ClassIdType type;
      U32 needed;
      U32 size;
   } spaces[] = { { ifpSourceTrunkMap, ifpSourceTrunkMapBits, chip.sourceTrunkMapBits },
                  { aclGroupFlexibleWidth, flexible, chip.flexibleBits } };
   for ( const auto &[ type, needed, size ] : spaces ) {
      if ( needed > size ) {
         refuse( "chipTooSmall", Text() << "chip " << chip.profile << ": the rules reserved at start-up need "
                                        << needed << " bits of " << type << ", the chip has " << size );
      }
   }
}

RequestRefused noRoom( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                       U32 entry ) {
   Text text;
   text << "group " << config.tcamGroupId() << " entry " << entry << ": no class ID is free";
   const auto *status = statusOf( manager, config.tcamGroupId() );
   if ( poolsComeWithGroup( config.classIdType() ) ) {
      text << ": the group's "
           << counted( ( 1u << config.classIdPoolWidth() ) - 1, "class ID is", "class IDs are" )
           << " lent to " << counted( status->requestStatuss(), "port set", "port sets" )
           << ", and a fixed-width group does not grow";
   } else {
      text << " in the group's pools, and there is no run of " << runBits( config )
           << ( runBits( config ) > 1 ? " bits nor a single bit for a new one: " : " bit for a new one: " )
           << spaceUse( manager, config.classIdType() );
   }
   return { "noRoom", text.string() };
}

} // namespace QuarraAgent::RequestChecks
