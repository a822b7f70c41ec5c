#include "agent/RecordKeeper.h"

#include <algorithm>

#include "Vesk/UniqueId.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

// Follows a list that keeps its order, loses members anywhere and gains them at its end.
template <typename Kept, typename Now, typename Same, typename Gone, typename Added>
void follow( std::vector<Kept> &kept, const Now &now, Same same, Gone gone, Added added ) {
   auto next = now.begin();
   std::erase_if( kept, [ & ]( Kept &item ) {
      if ( next != now.end() && same( item, *next ) ) {
         ++next;
         return false;
      }
      gone( item );
      return true;
   } );
   for ( ; next != now.end(); ++next ) {
      kept.push_back( added( *next ) );
   }
}

} // namespace

void RecordKeeper::mustNotHaveFailed() const {
   if ( failed_ ) {
      throw StoreRefused( "storeFailed",
                          "store " + store_.path() +
                             ": it did not take what an earlier request changed; start the agent again" );
   }
}

void RecordKeeper::begins( const RequestInFlight &request ) {
   mustNotHaveFailed();
   if ( store_.options().beforeRequest ) {
      store_.options().beforeRequest();
   }
   store_.change( [ & ] { store_.inFlightIs( request ); } );
   begun_ = true;
}

void RecordKeeper::ends( TcamGroupId group, U32 entry ) {
   mustNotHaveFailed();
   try {
      store_.change( [ & ] {
         keepGroup( group );
         keepSpaces();
         keepBits();
         keepCount();
         if ( entry != INVALID_ENTRY_ID ) {
            keepWords( agent_.portTableService_->lastWritten() );
            keepEntry( entry );
         }
         if ( begun_ ) {
            store_.inFlightIs( std::nullopt );
         }
      } );
   } catch ( ... ) {
      failed_ = true;
      throw;
   }
   begun_ = false;
}

// What cannot be written now is written with the next request: the count only names keys, and a request that
// was refused is undone by doing nothing.
void RecordKeeper::refused() {
   if ( failed_ || ( !begun_ && uniqueId_ == Vesk::UniqueId::latest() ) ) {
      return;
   }
   const U64 before = uniqueId_;
   try {
      store_.change( [ & ] {
         keepCount();
         store_.inFlightIs( std::nullopt );
      } );
   } catch ( const StoreRefused & ) {
      uniqueId_ = before;
   }
   begun_ = false;
}

void RecordKeeper::undone() {
   store_.change( [ & ] { store_.inFlightIs( std::nullopt ); } );
}

void RecordKeeper::done( TcamGroupId group, U32 entry ) {
   begun_ = true;
   ends( group, entry );
}

void RecordKeeper::keepAll() {
   for ( const auto &[ group, status ] : agent_.manager_->classIdTcamGroupStatus() ) {
      keepGroup( group );
   }
   keepSpaces();
   keepBits();
   std::vector<QuarraCentral::PortTabWriteRequestKey> keys;
   for ( const auto &[ key, value ] : agent_.manager_->sourceTrunkMapConfig()->request() ) {
      keys.push_back( key );
   }
   keepWords( keys );
   keepCount();
   for ( const auto &[ id, entry ] : agent_.entries_ ) {
      keepEntry( id );
   }
}

void RecordKeeper::keepGroup( TcamGroupId group ) {
   const auto &status = agent_.manager_->classIdTcamGroupStatus( group );
   if ( const auto item = groups_.find( group ); item != groups_.end() && item->second.record != status ) {
      forgetGroup( group );
   }
   if ( !status ) {
      return;
   }
   auto &kept = groups_[ group ];
   if ( !kept.record || kept.lastPool != status->lastPoolNum() ) {
      kept.order = kept.record ? kept.order : ++order_;
      kept.record = status;
      kept.lastPool = status->lastPoolNum();
      store_.put( GroupRow{ group, kept.order, kept.lastPool } );
   }
   keepPools( group, kept );
   keepRequests( group, kept );
   keepIndex( group, kept );
}

void RecordKeeper::forgetGroup( TcamGroupId group ) {
   const auto &kept = groups_.at( group );
   for ( const auto &[ pool, free ] : kept.pools ) {
      store_.erasePool( group, pool );
   }
   for ( const auto &request : kept.requests ) {
      store_.eraseRequest( group, request.order );
   }
   for ( const auto &bucket : kept.buckets ) {
      for ( const auto &indexed : bucket.indexed ) {
         store_.eraseIndexed( group, bucket.order, indexed.order );
      }
   }
   store_.eraseGroup( group );
   groups_.erase( group );
}

void RecordKeeper::keepPools( TcamGroupId group, KeptGroup &kept ) {
   const auto &pools = kept.record->poolStatus();
   std::erase_if( kept.pools, [ & ]( const auto &item ) {
      const bool gone = !pools.contains( item.first );
      if ( gone ) {
         store_.erasePool( group, item.first );
      }
      return gone;
   } );
   for ( const auto &[ id, pool ] : pools ) {
      const auto [ item, added ] = kept.pools.try_emplace( id );
      const auto &queue = pool->classIdPool();
      auto &free = item->second;
      if ( added || !std::equal( queue.begin(), queue.end(), free.begin(), free.end() ) ) {
         free.assign( queue.begin(), queue.end() );
         store_.put( PoolRow{ group, id, pool->baseOffset(), pool->size(), free } );
      }
   }
}

void RecordKeeper::putRequest( TcamGroupId group, const KeptRequest &kept ) {
   const auto &record = *kept.record;
   store_.put( RequestRow{ group, kept.order, record.requestKey(), record.classId(), record.poolId(),
                           record.entryRefHas( INVALID_ENTRY_ID ), record.intfGroup() } );
}

void RecordKeeper::keepRequests( TcamGroupId group, KeptGroup &kept ) {
   follow(
      kept.requests, kept.record->requestStatus(),
      [ & ]( KeptRequest &item, const auto &now ) {
         if ( item.record != now.second ) {
            return false;
         }
         const auto &intfGroup = *item.record->intfGroup();
         if ( item.ethernet != intfGroup.ethernet() || !( item.ports == intfGroup.portId() ) ) {
            item.ethernet = intfGroup.ethernet();
            item.ports = intfGroup.portId();
            putRequest( group, item );
         }
         return true;
      },
      [ & ]( const KeptRequest &item ) { store_.eraseRequest( group, item.order ); },
      [ & ]( const auto &now ) {
         const auto &intfGroup = *now.second->intfGroup();
         KeptRequest item{ now.second, ++order_, intfGroup.portId(), intfGroup.ethernet() };
         putRequest( group, item );
         return item;
      } );
}

void RecordKeeper::keepIndex( TcamGroupId group, KeptGroup &kept ) {
   follow(
      kept.buckets, kept.record->intfGroupHashToIntfGroupInfo(),
      [ & ]( KeptBucket &bucket, const auto &now ) {
         if ( bucket.record != now.second ) {
            return false;
         }
         keepIndexed( group, bucket );
         return true;
      },
      [ & ]( const KeptBucket &bucket ) {
         for ( const auto &item : bucket.indexed ) {
            store_.eraseIndexed( group, bucket.order, item.order );
         }
      },
      [ & ]( const auto &now ) {
         KeptBucket bucket{ now.second, ++order_, {} };
         keepIndexed( group, bucket );
         return bucket;
      } );
}

void RecordKeeper::keepIndexed( TcamGroupId group, KeptBucket &bucket ) {
   follow(
      bucket.indexed, bucket.record->requestKeyToIntfGroup(),
      []( const KeptIndexed &item, const auto &now ) {
         return item.intfGroup == now.second && item.ports == now.second->portIds() && item.key == now.first;
      },
      [ & ]( const KeptIndexed &item ) { store_.eraseIndexed( group, bucket.order, item.order ); },
      [ & ]( const auto &now ) {
         KeptIndexed item{ now.first, now.second, now.second->portIds(), ++order_ };
         store_.put( IndexRow{ group, bucket.order, item.order, item.key, item.intfGroup } );
         return item;
      } );
}

void RecordKeeper::keepSpaces() {
   for ( const auto &[ type, bits ] : agent_.manager_->classIdHwStatus() ) {
      const auto [ item, added ] = spaces_.try_emplace( type, *bits );
      if ( added || !( item->second == *bits ) ) {
         item->second = *bits;
         store_.put( SpaceRow{ type, *bits } );
      }
   }
}

void RecordKeeper::keepBits() {
   for ( const auto &[ bit, intfGroup ] : agent_.manager_->programmedBit() ) {
      if ( bits_[ bit ] != intfGroup ) {
         bits_[ bit ] = intfGroup;
         store_.put( BitRow{ bit, intfGroup } );
      }
   }
}

void RecordKeeper::keepWords( const std::vector<QuarraCentral::PortTabWriteRequestKey> &keys ) {
   for ( const auto &key : keys ) {
      const auto [ item, added ] = words_.try_emplace( key.packed(), order_ + 1 );
      order_ += added;
      store_.put( WordRow{ item->second, key, agent_.manager_->sourceTrunkMapConfig()->request( key ) } );
   }
}

void RecordKeeper::keepEntry( U32 entry ) {
   const auto item = agent_.entries_.find( entry );
   if ( item == agent_.entries_.end() ) {
      store_.eraseEntry( entry );
      return;
   }
   const auto &kept = groups_.at( item->second.request.group );
   const auto &record = kept.record->requestStatus( item->second.key );
   const auto request = std::find_if( kept.requests.begin(), kept.requests.end(),
                                      [ & ]( const auto &candidate ) { return candidate.record == record; } );
   store_.put( EntryRow{ ++order_, request->order, item->second.request } );
}

void RecordKeeper::keepCount() {
   if ( uniqueId_ != Vesk::UniqueId::latest() ) {
      uniqueId_ = Vesk::UniqueId::latest();
      store_.numberIs( "uniqueId", uniqueId_ );
   }
}

} // namespace QuarraAgent
