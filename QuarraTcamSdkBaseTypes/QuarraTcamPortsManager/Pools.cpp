#include <bit>
#include <optional>

#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManager" );

namespace {

// Inclusive range of bits of a hardware space.
struct BitRun {
   U8 startIdx;
   U8 endIdx;
};

// Marks the lowest free run. Bit indices count modulo 256. A run that ends at the bitmap's size was not
// found; one that ends beyond it never can be.
BitRun takeLowestFreeRun( Vesk::Bitmap &bitmap, U32 bits ) {
   const auto above = static_cast<U8>( bits - 1 );
   if ( above >= bitmap.size() ) {
      return { 0, above };
   }
   const auto start = lowestFreeRun( bitmap, U32{ above } + 1 );
   if ( !start ) {
      return { static_cast<U8>( bitmap.size() - above ), static_cast<U8>( bitmap.size() ) };
   }
   bitmap.rangeSet( *start, *start + above );
   return { static_cast<U8>( *start ), static_cast<U8>( *start + above ) };
}

// The chip layout keeps these bits for the group, so the bitmap is neither asked nor marked (known behaviour
// fixed-offset-bits).
BitRun runAtOffset( U32 classIdPoolBits, U8 poolWidth ) {
   const auto startIdx = static_cast<U8>( std::countr_zero( classIdPoolBits ) );
   return { startIdx, static_cast<U8>( startIdx + poolWidth - 1 ) };
}

constexpr U16 lastPoolId = 0xffff;

bool poolIdsAreFree( const ClassIdTcamGroupStatus *status, U8 numPools ) {
   return !status || status->poolStatuss() + numPools <= lastPoolId;
}

// Ids count up and are not used again while the group has a status. When all have been handed out, the lowest
// that no pool holds is found free again (known behaviour pool-ids).
U16 nextPoolId( ClassIdTcamGroupStatus &status ) {
   if ( status.lastPoolNum() < lastPoolId ) {
      status.lastPoolNumInc( 1 );
      return status.lastPoolNum();
   }
   U16 poolId = 1;
   while ( status.poolStatusHas( poolId ) ) {
      ++poolId;
   }
   return poolId;
}

// Makes a pool of `size` bits from `baseOffset` up in a space of `spaceSize` bits, with all its class IDs.
const PoolStatus::Ptr &makePool( ClassIdTcamGroupStatus &status, U8 baseOffset, U8 size, U32 spaceSize ) {
   const auto &pool = status.poolStatusIs( nextPoolId( status ) );
   for ( U32 classId = 1; classId < U32{ 1 } << size; ++classId ) {
      pool->classIdPoolEnq( static_cast<U16>( classId ) );
   }
   pool->tcamMaskIs( 0, spaceSize, Vesk::HBitmap::BitState::clear );
   pool->tcamMask()->rangeSet( baseOffset, baseOffset + size - 1u );
   pool->sizeIs( size );
   pool->baseOffsetIs( baseOffset );
   return pool;
}

// A class ID at its pool's bits: a number, or the text of its bits where 64 do not hold it.
std::string hardwareValue( U16 classId, const PoolStatus &pool ) {
   constexpr U32 wordBits = 64;
   const U32 bits = U32{ pool.baseOffset() } + pool.size();
   if ( bits <= wordBits ) {
      return std::to_string( U64{ classId } << pool.baseOffset() );
   }
   const auto value = std::make_shared<Vesk::Bitmap>( 0, bits, Vesk::HBitmap::BitState::clear );
   updateBitmap( value, classId, pool.baseOffset() );
   return getBitmapString( value, static_cast<U16>( bits ) );
}

bool isWhollyFree( const PoolStatus &pool ) {
   return pool.classIdPools() == ( U32{ 1 } << pool.size() ) - 1;
}

// Known behaviour fixed-offset-bits: those of a fixed-offset pool are cleared too, though it never set them.
void giveBackBits( Vesk::Bitmap &bitmap, const PoolStatus &pool ) {
   if ( pool.size() ) {
      bitmap.rangeClear( pool.baseOffset(), U32{ pool.baseOffset() } + pool.size() - 1 );
   }
}

} // namespace

U16 QuarraTcamPortsManager::reservePoolOfWidth( TcamGroupId tcamGroupId, U8 poolWidth ) {
   TRACE( 1, "reservePoolOfWidth"
                << " TcamGroupId: " << tcamGroupId << " PoolWidth: " << poolWidth );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   NODRA_ASSERT( classIdHwStatusHas( classIdConfig->classIdType() ) );
   const auto &bitmap = classIdHwStatus( classIdConfig->classIdType() );
   const U8 numPools = classIdConfig->classIdNumPools();
   const bool atFixedOffset = classIdConfig->classIdPoolBits() != 0;
   if ( atFixedOffset ) {
      NODRA_ASSERT( classIdConfig->classIdNumPools() == 1 );
   }
   if ( !poolIdsAreFree( classIdTcamGroupStatus( tcamGroupId ).get(), numPools ) ) {
      TRACE( 2, "Failed to reserve a pool, returning.." );
      return 0;
   }
   const auto [ startIdx, endIdx ] = atFixedOffset
                                        ? runAtOffset( classIdConfig->classIdPoolBits(), poolWidth )
                                        : takeLowestFreeRun( *bitmap, U32{ numPools } * poolWidth );
   NODRA_ASSERT( endIdx <= bitmap->size() );
   if ( endIdx == bitmap->size() ) {
      TRACE( 2, "Failed to reserve a pool, returning.." );
      return 0;
   }
   NODRA_ASSERT( poolWidth <= 16 );

   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      TRACE( 3, "Reserved first pool for the group, populating group related data structures" );
      classIdTcamGroupStatusIs( tcamGroupId );
   }
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   U16 poolId = 0;
   U8 poolStart = startIdx;
   U8 poolEndIdx = startIdx;
   for ( U8 made = 0; made < numPools; ++made ) {
      const auto &pool = makePool( *classIdStatus, poolStart, poolWidth, bitmap->size() );
      poolId = pool->poolId();
      poolEndIdx = static_cast<U8>( poolStart + poolWidth - 1 );
      TRACE( 2, "Reserved pool with startIdx: "
                   << poolStart << " endIdx: " << poolEndIdx
                   << " tcamMask: " << getBitmapString( pool->tcamMask(), static_cast<U16>( bitmap->size() ) )
                   << " having poolWidth: " << poolWidth << " poolId: " << poolId );
      poolStart = static_cast<U8>( poolStart + poolWidth );
   }
   NODRA_ASSERT( poolEndIdx == endIdx );
   return poolId;
}

bool QuarraTcamPortsManager::getClassIdFromPool( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                 U32 entryId, U16 poolId ) {
   TRACE( 1, "getClassIdFromPool"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey << " EntryId: " << entryId
                << " PoolId: " << poolId );
   NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( classIdStatus->poolStatusHas( poolId ) );
   NODRA_ASSERT( classIdStatus->poolStatus( poolId )->classIdPools() );
   NODRA_ASSERT( !classIdStatus->requestStatusHas( requestKey ) );
   const auto &pool = classIdStatus->poolStatus( poolId );
   const auto &requestStatus = classIdStatus->requestStatusIs( requestKey );
   requestStatus->intfGroupIs();
   requestStatus->classIdIs( pool->classIdPoolDeq() );
   requestStatus->poolIdIs( poolId );
   requestStatus->entryRefIs( entryId );
   TRACE( 2, "Reserved classId: " << hardwareValue( requestStatus->classId(), *pool ) );
   return true;
}

bool QuarraTcamPortsManager::maybeFreeClassIdPool( TcamGroupId tcamGroupId, const RequestKey &requestKey ) {
   TRACE( 1, "maybeFreeClassIdPool"
                << " TcamGroupId: " << tcamGroupId << " RequestKey: " << requestKey );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   if ( poolsComeWithGroup( classIdConfig->classIdType() ) ) {
      return true;
   }
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   for ( auto item = classIdStatus->poolStatus().begin(); item != classIdStatus->poolStatus().end(); ) {
      const auto pool = item++->second;
      if ( !isWhollyFree( *pool ) ) {
         continue;
      }
      TRACE( 2, " Pool: " << pool->poolId() << " is free now, releasing pool to the corresponding classId" );
      NODRA_ASSERT( !QuarraTcam::isSystemAclGroup( tcamGroupId ) );
      const auto &bitmap = classIdHwStatus( classIdConfig->classIdType() );
      NODRA_ASSERT( !!bitmap );
      giveBackBits( *bitmap, *pool );
      classIdStatus->poolStatusDel( pool->poolId() );
   }
   if ( !classIdStatus->poolStatuss() ) {
      NODRA_ASSERT( !classIdStatus->requestStatuss() );
      TRACE( 2, "All pools are released. Free up group related data structures" );
      classIdTcamGroupStatusDel( tcamGroupId );
   }
   return true;
}

void QuarraTcamPortsManager::clearClassIdPool( TcamGroupId tcamGroupId ) {
   TRACE( 1, "clearClassIdPool"
                << " tcamGroupId: " << tcamGroupId );
   NODRA_ASSERT( !QuarraTcam::isSystemAclGroup( tcamGroupId ) );
   const auto classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   for ( auto item = classIdStatus->poolStatus().begin(); item != classIdStatus->poolStatus().end(); ) {
      const auto poolStatus = item++->second;
      if ( !isWhollyFree( *poolStatus ) ) {
         TRACE( 2, "clearClassIdPool"
                      << "poolStatus->classIdPools() : " << poolStatus->classIdPools() );
      }
      NODRA_ASSERT_TEXT( isWhollyFree( *poolStatus ),
                         "poolStatus->classIdPools() == ( pow( 2, poolStatus->size() ) - 1 ) && "
                         "\"group is being deleted. All classId's should have been released\"" );
      NODRA_ASSERT_TEXT( poolsComeWithGroup( classIdConfig->classIdType() ),
                         "classIdConfig->classIdType() == aclGroupFixedWidth() && "
                         "\"other classIdType should have cleared classId during entry deletion\"" );
      const auto &bitmap = classIdHwStatus( classIdConfig->classIdType() );
      NODRA_ASSERT( !!bitmap );
      giveBackBits( *bitmap, *poolStatus );
      classIdStatus->poolStatusDel( poolStatus->poolId() );
   }
   NODRA_ASSERT( !classIdStatus->poolStatuss() );
   NODRA_ASSERT( !classIdStatus->requestStatuss() );
   classIdTcamGroupStatusDel( tcamGroupId );
   TRACE( 2, "clearClassIdPool"
                << "unreserved classId for the group " << tcamGroupId );
}

QualifierHintInfo QuarraTcamPortsManager::createAclGroupBitmapHint( TcamGroupId tcamGroupId ) {
   TRACE( 1, "createAclGroupBitmapHint"
                << "for tcamGroupId:" << tcamGroupId );
   const auto classIdConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!classIdConfig );
   TRACE( 2, "createAclGroupBitmapHint"
                << " tcamGroupId: " << tcamGroupId << " classIdType: " << classIdConfig->classIdType() );
   const auto quarraTcamAttr = getTcamAttr( StageType::ingressFieldProcessor );
   NODRA_ASSERT( !!quarraTcamAttr );
   const U8 flexibleWidth = quarraTcamAttr->aclGroupFlexibleWidthSize();
   U8 startBit = 0;
   U8 endBit = static_cast<U8>( flexibleWidth - 1 );
   if ( classIdConfig->classIdType() != ClassIdType::aclGroupFlexibleWidth ) {
      NODRA_ASSERT_TEXT( classIdConfig->classIdType() == ClassIdType::aclGroupFixedWidth,
                         "classIdConfig->classIdType() == aclGroupFixedWidth()" )
         << " for tcamGroupId: " << tcamGroupId;
      if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
         reservePoolOfWidth( tcamGroupId, classIdConfig->classIdPoolWidth() );
      }
      NODRA_ASSERT( classIdTcamGroupStatusHas( tcamGroupId ) );
      const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
      U8 low = quarraTcamAttr->aclGroupFixedWidthSize();
      U8 high = 0;
      // Known behaviour hint-makes-pools: an id that no pool has any more gets an empty one.
      for ( U32 poolId = 1; poolId <= classIdStatus->lastPoolNum(); ++poolId ) {
         const auto &pool = classIdStatus->poolStatusIs( static_cast<U16>( poolId ) );
         if ( pool->size() == 1 ) {
            low = std::min( low, pool->baseOffset() );
            high = std::max( high, pool->baseOffset() );
         } else if ( pool->size() > 1 ) {
            NODRA_ASSERT( classIdStatus->lastPoolNum() == 1 &&
                          "more than 1 pool is needed only while using bitwise allocation" );
            low = pool->baseOffset();
            high = static_cast<U8>( pool->baseOffset() + pool->size() - 1 );
         }
      }
      startBit = static_cast<U8>( low + flexibleWidth );
      endBit = static_cast<U8>( high + flexibleWidth );
   }
   NODRA_ASSERT( endBit <=
                 quarraTcamAttr->aclGroupFlexibleWidthSize() + quarraTcamAttr->aclGroupFixedWidthSize() );
   NODRA_ASSERT( startBit <= endBit );
   TRACE( 2, "createAclGroupBitmapHint"
                << "for tcamGroupId: " << tcamGroupId << "startBit: " << startBit << " endBit: " << endBit );
   return { startBit, endBit };
}

} // namespace QuarraTcam
