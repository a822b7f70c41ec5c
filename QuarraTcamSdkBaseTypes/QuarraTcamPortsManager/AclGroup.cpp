#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager/PortUnion.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager/ProgramOperation.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

namespace {

// Of most requests no port is asked for: they are passed over before anything is copied.
bool holdsOtherPorts( const IntfGroupInfo::Ptr &held, const IntfGroupInfo &asked ) {
   return held && !held->ethernet() && !held->portId().intersects( asked.portId() );
}

} // namespace

bool QuarraTcamPortsManager::programClassIdForIntfGroup( TcamGroupId tcamGroupId,
                                                         const RequestKey &requestKey, U32 entryId,
                                                         const IntfGroupConst &intfGroup ) {
   TRACE( 1, "programClassIdForIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( !!intfGroup );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( classIdStatus->poolStatuss() );
   NODRA_ASSERT( classIdStatus->requestStatusHas( requestKey ) );
   NODRA_ASSERT( classIdStatus->requestStatus( requestKey )->entryRefHas( entryId ) );
   NODRA_ASSERT( classIdStatus->lastPoolNum() );
   NODRA_ASSERT( classIdStatus->requestStatus( requestKey )->intfGroup() );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   const auto held = intfGroup; // the caller may pass what the index holds, which the clean-up lets go
   if ( classIdConfig->classIdPoolWidth() > 1 ) {
      cleanupConflictingIntfs( tcamGroupId, requestKey, held );
   }
   const auto *space = classIdSpace( classIdConfig->classIdType() );
   NODRA_ASSERT_TEXT( space, "0 && \"Invalid classId type\"" );
   const auto operation = programOperation( space->field );
   NODRA_ASSERT_TEXT( ( this->*operation.program )( tcamGroupId, requestKey, entryId, held ),
                      operation.text( "tcamGroupId, requestKey, entryId, intfGroup" ).c_str() );
   return true;
}

// A bit is shared by all requests of the group that hold it, so it is never programmed for one request alone
// but for the union of the others and the new ports.
bool QuarraTcamPortsManager::programAclGroupClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                     U32 entryId, const IntfGroupConst &intfGroup ) {
   TRACE( 1, "programAclGroupClassId"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   NODRA_ASSERT( !!intfGroup );
   const auto &requestStatus = classIdStatus->requestStatus( requestKey );
   NODRA_ASSERT( !!requestStatus );
   if ( intfGroup->isEqual( requestStatus->intfGroup() ) ) {
      TRACE( 2, "Asked interface set is already programmed with the class Id" );
      return true;
   }
   NODRA_ASSERT( requestStatus->poolId() );
   NODRA_ASSERT( classIdStatus->poolStatusHas( requestStatus->poolId() ) );
   const auto &pool = classIdStatus->poolStatus( requestStatus->poolId() );
   const U8 widthOfClassId = pool->size();
   const auto &quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
   NODRA_ASSERT( !!quarraTcamAttr );
   const U8 firstBit =
      firstBitOf( getClassIdTypeForGroup( tcamGroupId ), quarraTcamAttr->aclGroupFlexibleWidthSize() );
   const auto startBit = static_cast<U8>( pool->baseOffset() + firstBit );
   NODRA_ASSERT( widthOfClassId );
   if ( intfGroup->ethernet() ) {
      NODRA_ASSERT( widthOfClassId == 1 );
   }
   constexpr U8 classIdBits = 16;
   for ( U8 i = 0; i < widthOfClassId && i < classIdBits; ++i ) {
      if ( !( ( requestStatus->classId() >> i ) & 1 ) ) {
         continue;
      }
      const auto bitPos = static_cast<U8>( startBit + i );
      const auto tempIntfGroup = getIntfGroupForBitPos( tcamGroupId, requestKey, bitPos );
      appendIntfGroup( tempIntfGroup, intfGroup );
      if ( intfGroup->ethernet() ) {
         NODRA_ASSERT( !tempIntfGroup->ethernet() );
         NODRA_ASSERT( !tempIntfGroup->portIds() );
         tempIntfGroup->ethernetIs( true );
      }
      programBitForIntfGroup( bitPos, tempIntfGroup );
   }
   requestStatus->intfGroup()->deepCopy( intfGroup );
   return true;
}

// Known behaviour fixed-width-union: compares bits as the pools hold them. A fixed-width group's `bitPos`
// lies above the flexible space, which its pools do not count, so its union holds what happens to match
// unshifted.
// Known behaviour positions-modulo-64: they are compared in a word of 64 bits.
IntfGroupInfo::Ptr QuarraTcamPortsManager::getIntfGroupForBitPos( TcamGroupId tcamGroupId,
                                                                  const RequestKey &requestKey, U8 bitPos ) {
   TRACE( 1, "getIntfGroupForBitPos"
                << " TcamGroupId: " << tcamGroupId << " bitPos: " << bitPos );
   auto intfGroup = intfGroupInfoFactory();
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   if ( !classIdStatus ) {
      return intfGroup;
   }
   const U64 mask = U64{ 1 } << bitPos % 64;
   PortUnion ports;
   const PoolStatus *pool = nullptr; // of the request before, most often of this one too
   for ( const auto &[ otherKey, other ] : classIdStatus->requestStatus() ) {
      if ( otherKey == requestKey ) {
         continue;
      }
      if ( !pool || pool->poolId() != other->poolId() ) {
         pool = classIdStatus->poolStatus( other->poolId() ).get();
         NODRA_ASSERT( !!pool );
      }
      if ( mask & U64{ other->classId() } << pool->baseOffset() % 64 ) {
         TRACE( 1, "appendIntfGroup" );
         NODRA_ASSERT( !!other->intfGroup() );
         ports.add( *other->intfGroup() );
      }
   }
   ports.addTo( *intfGroup );
   return intfGroup;
}

// Known behaviour union-without-ethernet: the flag is not taken over.
void QuarraTcamPortsManager::appendIntfGroup( const IntfGroupInfo::Ptr &target,
                                              const IntfGroupConst &source ) {
   TRACE( 1, "appendIntfGroup" );
   NODRA_ASSERT( !!target );
   NODRA_ASSERT( !!source );
   for ( const auto &port : source->portId() ) {
      target->portIdIs( port );
   }
}

void QuarraTcamPortsManager::programBitForIntfGroup( U8 bitPos, const IntfGroupConst &intfGroup ) {
   TRACE( 1, "programBitForIntfGroup"
                << " bitPos: " << bitPos );
   TRACE( 2, "IntfGroup for bit pos is: " );
   dumpIntfGroup( intfGroup );
   NODRA_ASSERT( !!intfGroup );
   NODRA_ASSERT( !!portsHelper() );
   portsHelper()->setAclGroupClassId( bitPos, intfGroup );
   programmedBitIs( bitPos, intfGroup );
}

void QuarraTcamPortsManager::dumpIntfGroup( const IntfGroupConst &intfGroup ) {
   if ( intfGroup ) {
      intfGroup->dumpTrace();
   } else {
      TRACE( 2, "Empty IntfGroup" );
   }
}

QuarraTcamPortsManager::IntfGroupConst QuarraTcamPortsManager::getIntfGroup( TcamGroupId tcamGroupId,
                                                                             const RequestKey &requestKey,
                                                                             U32 entryId ) {
   TRACE( 1, "getIntfGroup"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey
                << " EntryId: " << entryId );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   NODRA_ASSERT( classIdTcamGroupStatus( tcamGroupId )->requestStatusHas( requestKey ) );
   const auto &requestStatus = classIdTcamGroupStatus( tcamGroupId )->requestStatus( requestKey );
   NODRA_ASSERT( !!requestStatus->intfGroup() );
   return requestStatus->intfGroup();
}

// Known behaviour newest-takes-port. The others keep their class IDs and entries, even without a port left.
void QuarraTcamPortsManager::cleanupConflictingIntfs( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                      const IntfGroupConst &intfGroup ) {
   NODRA_ASSERT( !!intfGroup );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   // A copy: the caller may pass what the index holds, which the loop lets go.
   const auto asked = intfGroup; // NOLINT(performance-unnecessary-copy-initialization)
   for ( const auto &[ otherKey, other ] : classIdStatus->requestStatus() ) {
      if ( otherKey == requestKey || holdsOtherPorts( other->intfGroup(), *asked ) ) {
         continue;
      }
      const auto intfs = intfGroupInfoFactory();
      intfs->deepCopy( other->intfGroup() );
      NODRA_ASSERT( other->entryRefs() );
      const U32 otherEntryId = other->entryRef().front();
      NODRA_ASSERT( !intfs->ethernet() && "Feature cannot have value based class id reservation" );
      const auto otherIntfGroup = intfGroupInfoFactory();
      otherIntfGroup->deepCopy( intfs );
      for ( const auto &port : intfs->portId() ) {
         if ( !asked->portIdHas( port ) ) {
            continue;
         }
         TRACE( 3, "Conflicting intf: " << port << " found for key: " << otherKey );
         if ( classIdStatus->intfGroupHashToIntfGroupInfoHas( otherIntfGroup->hash() ) ) {
            // The index shares the group, so it must not hold it while it changes.
            deleteIntfGroupFromIntfGroupInfo( tcamGroupId, otherKey, otherIntfGroup );
            otherIntfGroup->portIdDel( port );
            populateIntfGroupHashToIntfGroupInfo( tcamGroupId, otherKey, otherIntfGroup );
         } else {
            otherIntfGroup->portIdDel( port );
         }
         const auto *space = classIdSpace( classIdConfig->classIdType() );
         NODRA_ASSERT_TEXT( space, "0 && \"Invalid classId type\"" );
         const auto operation = programOperation( space->field );
         NODRA_ASSERT_TEXT(
            ( this->*operation.program )( tcamGroupId, otherKey, otherEntryId, otherIntfGroup ),
            operation.text( "tcamGroupId, otherKey, otherEntryId, otherIntfGroup" ).c_str() );
      }
   }
}

QuarraTcamPortsManager::IntfGroupConst QuarraTcamPortsManager::getIntfGroupFromPbmp( TcamGroupId tcamGroupId,
                                                                                     const bcm_pbmp_t &pbmp,
                                                                                     bool ethernet ) {
   TRACE( 1, "getIntfGroupFromPbmp" );
   return portsHelper() ? portsHelper()->getIntfGroupFromPbmp( tcamGroupId, pbmp, ethernet ) : nullptr;
}

QuarraTcamPortsManager::IntfGroupConst QuarraTcamPortsManager::getIntfGroupFromIntfProfile(
   const IntfProfile::PtrConst &profile ) {
   TRACE( 1, "getIntfGroupFromIntfProfile" );
   return portsHelper() ? portsHelper()->getIntfGroupFromIntfProfile( profile ) : nullptr;
}

} // namespace QuarraTcam
