#include <bit>
#include <optional>

#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager/Trace.h"

namespace QuarraTcam {

namespace {

// Inclusive range of bits of a hardware space.
struct BitRun {
   U8 startIdx;
   U8 endIdx;
};

constexpr U32 wordBits = 64;

// The free bits of a word of the bitmap; the bits past its end are not free.
U64 freeBits( const Vesk::Bitmap &bitmap, U32 firstBit ) {
   const U32 left = bitmap.size() - firstBit;
   return ~bitmap.word( firstBit / wordBits ) & ( left < wordBits ? ( U64{ 1 } << left ) - 1 : ~U64{ 0 } );
}

// The bits where `bits` free ones start, all of them in this word.
U64 startsOfRuns( U64 free, U32 bits ) {
   for ( U32 found = 1; found < bits && free; ) {
      const U32 more = std::min( found, bits - found );
      free &= free >> more;
      found += more;
   }
   return free;
}

// The first bit of the lowest run of free bits; a run may start at any bit.
std::optional<U32> lowestFreeRun( const Vesk::Bitmap &bitmap, U32 bits ) {
   U32 freeBefore = 0; // free bits below this word, down to the next taken one
   for ( U32 firstBit = 0; firstBit < bitmap.size(); firstBit += wordBits ) {
      const U64 free = freeBits( bitmap, firstBit );
      if ( freeBefore + static_cast<U32>( std::countr_one( free ) ) >= bits ) {
         return firstBit - freeBefore;
      }
      if ( bits <= wordBits ) {
         if ( const U64 starts = startsOfRuns( free, bits ) ) {
            return firstBit + static_cast<U32>( std::countr_zero( starts ) );
         }
      }
      freeBefore = free == ~U64{ 0 } ? freeBefore + wordBits : static_cast<U32>( std::countl_one( free ) );
   }
   return std::nullopt;
}

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

// Pool ids are not used twice while the group has a status. A group that has had them all gets no more pool
// until it has given back the last one.
bool poolIdsAreLeft( const ClassIdTcamGroupStatus *status, U8 numPools ) {
   constexpr U32 lastPoolId = 0xffff;
   return !status || U32{ status->lastPoolNum() } + numPools <= lastPoolId;
}

bool isWhollyFree( const PoolStatus &pool ) {
   return pool.classIdPools() == ( U32{ 1 } << pool.size() ) - 1;
}

// The bits of a fixed-offset pool are cleared too, though reserving it never set them: deliberate.
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
   NODRA_ASSERT( poolWidth <= 16 );
   if ( !poolIdsAreLeft( classIdTcamGroupStatus( tcamGroupId ).get(), classIdConfig->classIdNumPools() ) ) {
      TRACE( 2, "Failed to reserve a pool, returning.." );
      return 0;
   }

   BitRun run{};
   if ( classIdConfig->classIdPoolBits() != 0 ) {
      // The chip layout keeps these bits for the group, so the bitmap is neither asked nor marked.
      NODRA_ASSERT( classIdConfig->classIdNumPools() == 1 );
      run.startIdx = static_cast<U8>( std::countr_zero( classIdConfig->classIdPoolBits() ) );
      run.endIdx = static_cast<U8>( run.startIdx + poolWidth - 1 );
   } else {
      run = takeLowestFreeRun( *bitmap, U32{ classIdConfig->classIdNumPools() } * poolWidth );
   }
   const auto [ startIdx, endIdx ] = run;
   NODRA_ASSERT( endIdx <= bitmap->size() );
   if ( endIdx == bitmap->size() ) {
      TRACE( 2, "Failed to reserve a pool, returning.." );
      return 0;
   }

   if ( !classIdTcamGroupStatusHas( tcamGroupId ) ) {
      TRACE( 3, "Reserved first pool for the group, populating group related data structures" );
      classIdTcamGroupStatusIs( tcamGroupId );
   }
   const auto &classIdStatus = classIdTcamGroupStatus( tcamGroupId );
   NODRA_ASSERT( !!classIdStatus );
   U8 poolStart = startIdx;
   U8 poolEndIdx = startIdx;
   for ( U8 made = 0; made < classIdConfig->classIdNumPools(); ++made ) {
      classIdStatus->lastPoolNumInc( 1 );
      const auto &pool = classIdStatus->poolStatusIs( classIdStatus->lastPoolNum() );
      for ( U32 classId = 1; classId < U32{ 1 } << poolWidth; ++classId ) {
         pool->classIdPoolEnq( static_cast<U16>( classId ) );
      }
      poolEndIdx = static_cast<U8>( poolStart + poolWidth - 1 );
      pool->tcamMaskIs( 0, bitmap->size(), Vesk::HBitmap::BitState::clear );
      pool->tcamMask()->rangeSet( poolStart, poolEndIdx );
      pool->sizeIs( poolWidth );
      pool->baseOffsetIs( poolStart );
      TRACE( 2, "Reserved pool with startIdx: "
                   << poolStart << " endIdx: " << poolEndIdx
                   << " tcamMask: " << getBitmapString( pool->tcamMask(), static_cast<U16>( bitmap->size() ) )
                   << " having poolWidth: " << poolWidth << " poolId: " << pool->poolId() );
      poolStart = static_cast<U8>( poolStart + poolWidth );
   }
   NODRA_ASSERT( poolEndIdx == endIdx );
   return classIdStatus->lastPoolNum();
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
   // The hardware value; from bit 64 on, its place within a 64-bit word.
   TRACE( 2, "Reserved classId: " << ( U64{ requestStatus->classId() } << pool->baseOffset() % 64 ) );
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
