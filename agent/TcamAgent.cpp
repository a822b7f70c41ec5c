#include "agent/TcamAgent.h"

#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "Sdk/SdkCall.h"
#include "agent/ChipState.h"
#include "agent/RequestChecks.h"
#include "agent/SystemAclFeatures.h"

namespace QuarraAgent {

using namespace QuarraTcam;

static Nodra::TraceHandle unitTrace( "TcamAgent" );

TcamAgent::TcamAgent( const Variant &variant, const ChipConfig &chip, QuarraTcamPortsManager::Ptr manager )
   : variant_( variant ), chip_( chip ), manager_( std::move( manager ) ) {
   checkChip( variant, chip );
   RequestChecks::startUpFits( variant, chip );
   for ( const auto &port : chip.ports ) {
      chipPorts_.insert( port.port );
   }
   for ( const auto &port : chip.cpuPorts ) {
      chipPorts_.insert( port );
   }
   bringUpManager( *manager_, variant, chip );
   portTableService_.emplace( manager_->sourceTrunkMapConfig() );
   manager_->doSetup();
   publishSystemAclAttributes( getQuarraTcamCommonData()->chipInfo() );
   portTableService_->drain();
}

std::optional<QualifierHintInfo> TcamAgent::createGroup( TcamGroupId group ) {
   TRACE( 1, "createGroup"
                << " TcamGroupId: " << group );
   const auto &config = RequestChecks::knownGroup( group );
   if ( sourceTrunkMapTableOf( config.classIdType() ) ) {
      return std::nullopt;
   }
   RequestChecks::spaceIsWideEnough( *manager_, config );
   // A group whose pools come with it takes them now. Where there is none, nothing has changed.
   if ( poolsComeWithGroup( config.classIdType() ) && !manager_->classIdTcamGroupStatusHas( group ) &&
        !manager_->reservePoolOfWidth( group, config.classIdPoolWidth() ) ) {
      throw RequestChecks::noPool( *manager_, config );
   }
   const auto hint = manager_->createAclGroupBitmapHint( group );
   if ( journal_ ) {
      journal_->ends( group, INVALID_ENTRY_ID );
   }
   return hint;
}

void TcamAgent::deleteGroup( TcamGroupId group ) {
   TRACE( 1, "deleteGroup"
                << " TcamGroupId: " << group );
   RequestChecks::groupCanBeDeleted( *manager_, RequestChecks::knownGroup( group ), entries_ );
   // Groups other than fixed-width ones lost their pools with their last entry.
   if ( manager_->classIdTcamGroupStatusHas( group ) ) {
      manager_->clearClassIdPool( group );
      if ( journal_ ) {
         journal_->ends( group, INVALID_ENTRY_ID );
      }
   }
}

// A source-trunk-map word is written port by port, so there all ethernet ports are spelled out.
IntfGroupInfo::PtrConst TcamAgent::intfGroupOf( const InstallRequest &request ) const {
   const auto type = RequestChecks::knownGroup( request.group ).classIdType();
   if ( request.ethernet && sourceTrunkMapTableOf( type ) ) {
      return manager_->getIntfGroupFromPbmp( request.group, getPbmpEAll( scsd() ), false );
   }
   auto profile = std::make_shared<IntfProfile>();
   profile->allEthernetIs( request.ethernet );
   for ( const auto &port : request.ports ) {
      profile->portIdIs( port );
   }
   return manager_->getIntfGroupFromIntfProfile( profile );
}

// The bits that the group's hint allows, in a value whose fixed-width space begins above the flexible one.
Sdk::QualifierFrame TcamAgent::frameOf( const ClassIdTcamGroupConfig &config ) const {
   if ( const U8 table = sourceTrunkMapTableOf( config.classIdType() ) ) {
      return { .sourceTrunkMapTable = table };
   }
   const auto hint = manager_->createAclGroupBitmapHint( config.tcamGroupId() );
   return { .firstBit = firstBitOf( config.classIdType(), chip_.flexibleBits ),
            .startBit = hint.startBit,
            .endBit = hint.endBit };
}

// The ports carry the class ID by now. The entry matches nothing before it is installed, so at no time a port
// that it was not asked for.
void TcamAgent::writeEntry( const ClassIdTcamGroupConfig &config, U32 entry,
                            const BitmapQualifier::PtrConst &qualifier ) {
   const int unit = SdkShim->vmSingleUnit();
   const auto frame = frameOf( config );
   SDK_CALL( SdkShim->fieldEntryCreate( unit, entry, frame ) );
   manager_->programClassIdQualifierInHw( static_cast<U32>( unit ), config.tcamGroupId(), entry, qualifier );
   SDK_CALL( SdkShim->fieldEntryInstall( unit, entry ) );
}

// A rule that was reserved at start-up has its key; every other entry goes by its interface group.
RequestKey TcamAgent::keyOf( const InstallRequest &request, const IntfGroupInfo::PtrConst &intfGroup ) const {
   const auto ruleId = request.rule.value_or( RuleId( featureOf( request.group ), "" ) );
   if ( !isSystemAclGroup( request.group ) && request.rule ) {
      auto key = RequestChecks::keyOfReservedRule( ruleId );
      if ( RequestChecks::knownGroup( request.group ).requestKeyHas( key ) ) {
         return key;
      }
   }
   return manager_->getRequestKey( request.group, request.entry, ruleId, intfGroup );
}

Installed TcamAgent::install( const InstallRequest &request ) {
   TRACE( 1, "install"
                << " TcamGroupId: " << request.group << " EntryId: " << request.entry );
   try {
      return installEntry( request );
   } catch ( const RequestRefused & ) {
      if ( journal_ ) {
         journal_->refused();
      }
      throw;
   }
}

Installed TcamAgent::installEntry( const InstallRequest &request ) {
   const auto &config = RequestChecks::knownGroup( request.group );
   RequestChecks::freeEntryId( entries_, request );
   RequestChecks::knownPorts( chip_, chipPorts_, request );
   RequestChecks::ethernetFits( config, request );
   RequestChecks::knownRule( *manager_, config, request );
   const auto intfGroup = intfGroupOf( request );
   const auto key = keyOf( request, intfGroup ); // known behaviour key-number-used, where it is refused below
   RequestChecks::keyCanBeReserved( *manager_, config, request, key, *intfGroup );

   if ( journal_ ) {
      journal_->begins( { false, request } );
   }
   if ( !manager_->reserveClassIdForIntfGroup( request.group, key, request.entry, intfGroup ) ) {
      throw RequestChecks::noRoom( *manager_, config, request.entry );
   }
   manager_->programClassIdForIntfGroup( request.group, key, request.entry, intfGroup );
   portTableService_->drain();
   auto installed = describe( request, key );
   writeEntry( config, request.entry, installed.qualifier );
   countAsker( entries_.emplace( request.entry, Entry{ request, key } ).first->second );
   if ( journal_ ) {
      journal_->ends( request.group, request.entry );
   }
   return installed;
}

Installed TcamAgent::describe( const InstallRequest &request, const RequestKey &key ) const {
   const auto &status = manager_->classIdTcamGroupStatus( request.group );
   const auto &requestStatus = status->requestStatus( key );
   const auto &pool = status->poolStatus( requestStatus->poolId() );
   return { key,
            requestStatus->classId(),
            requestStatus->poolId(),
            pool->baseOffset(),
            pool->size(),
            manager_->getClassId( request.group, key, request.entry ) };
}

// The entry goes before its class ID does, so that it never matches what the class ID stands for next.
void TcamAgent::remove( TcamGroupId group, U32 entry ) {
   TRACE( 1, "remove"
                << " TcamGroupId: " << group << " EntryId: " << entry );
   RequestChecks::knownGroup( group );
   const auto item = entries_.find( entry );
   if ( item == entries_.end() || item->second.request.group != group ) {
      Nodra::Text text;
      text << "group " << group << " entry " << entry << ": no such entry is installed";
      if ( item != entries_.end() ) {
         text << " there; it is in group " << item->second.request.group;
      }
      throw RequestRefused( "unknownEntry", text.string() );
   }
   if ( journal_ ) {
      journal_->begins( { true, item->second.request } );
   }
   const int unit = SdkShim->vmSingleUnit();
   SDK_CALL( SdkShim->fieldEntryDestroy( unit, entry ) );
   removeEntry( item );
   portTableService_->drain();
   if ( journal_ ) {
      journal_->ends( group, entry );
   }
}

// The records of an entry that is off the chip, and the ports' bits. Words are left posted.
void TcamAgent::removeEntry( std::map<U32, Entry>::iterator item ) {
   const auto group = item->second.request.group;
   const U32 entry = item->first;
   const auto ruleId = item->second.request.rule.value_or( RuleId( featureOf( group ), "" ) );
   const auto key = manager_->getRequestKeyForEntryId( group, entry, ruleId );
   manager_->clearClassIdAndIntfGroup( group, key, entry );
   const auto removed = entries_.extract( item ).mapped();
   forgetPorts( removed );
}

TcamAgent::AskedPorts::AskedPorts( const Entry &entry, const IntfGroupInfo &intfGroup )
   : group( entry.request.group ),
     key( entry.key ),
     ethernet( intfGroup.ethernet() ),
     ports( intfGroup.portId().begin(), intfGroup.portId().end() ) {}

bool TcamAgent::reservedAtStartUp( TcamGroupId group, const RequestKey &key ) const {
   const auto &status = manager_->classIdTcamGroupStatus( group );
   return status && status->requestStatusHas( key ) &&
          status->requestStatus( key )->entryRefHas( INVALID_ENTRY_ID );
}

void TcamAgent::countAsker( const Entry &entry ) {
   if ( reservedAtStartUp( entry.request.group, entry.key ) ) {
      ++askers_[ AskedPorts( entry, *intfGroupOf( entry.request ) ) ];
   }
}

// A key that was reserved at start-up outlives its entries, and the library leaves the ports of each in its
// index. There they would lead a later entry of the same ports to that key, and never go: the agent takes
// them out with the last entry that asked for them.
void TcamAgent::forgetPorts( const Entry &entry ) {
   const auto group = entry.request.group;
   if ( !reservedAtStartUp( group, entry.key ) ) {
      return;
   }
   const auto intfGroup = intfGroupOf( entry.request );
   const auto askers = askers_.find( AskedPorts( entry, *intfGroup ) );
   NODRA_ASSERT( askers != askers_.end() );
   if ( --askers->second ) {
      return;
   }
   askers_.erase( askers );
   const auto &indexed =
      manager_->classIdTcamGroupStatus( group )->intfGroupHashToIntfGroupInfo( intfGroup->hash() );
   if ( indexed && indexed->requestKeyToIntfGroupHas( entry.key ) ) {
      manager_->deleteIntfGroupFromIntfGroupInfo( group, entry.key, intfGroup );
   }
}

} // namespace QuarraAgent
