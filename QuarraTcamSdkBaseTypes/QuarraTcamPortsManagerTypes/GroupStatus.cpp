#include <map>
#include <unordered_map>
#include <utility>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManagerTypes.h"

namespace QuarraTcam {

// Which requests of a group an entry uses: one, but where an entry was counted under more keys, as
// INVALID_ENTRY_ID is under all that are reserved at start-up. Gives the one that a walk over the requests
// would find first.
class EntryIndex {
 public:
   struct User {
      U64 order;
      const ClassIdRequestStatus *request;
   };

   void add( U32 entryId, User user ) {
      const auto [ item, added ] = first_.try_emplace( entryId, user );
      if ( !added ) {
         if ( user.order < item->second.order ) {
            std::swap( user, item->second );
         }
         others_[ entryId ].emplace( user.order, user.request );
      }
   }

   void remove( U32 entryId, const User &user ) {
      const auto item = first_.find( entryId );
      const auto others = others_.find( entryId );
      if ( others == others_.end() ) {
         first_.erase( item );
         return;
      }
      if ( item->second.order == user.order ) {
         const auto &[ order, request ] = *others->second.begin();
         item->second = { order, request };
         others->second.erase( others->second.begin() );
      } else {
         others->second.erase( user.order );
      }
      if ( others->second.empty() ) {
         others_.erase( others );
      }
   }

   const ClassIdRequestStatus *first( U32 entryId ) const {
      const auto item = first_.find( entryId );
      return item == first_.end() ? nullptr : item->second.request;
   }

 private:
   std::unordered_map<U32, User> first_;
   std::map<U32, std::map<U64, const ClassIdRequestStatus *>> others_; // later users, by order
};

bool ClassIdRequestStatus::entryRefIs( U32 entryId ) {
   const bool added = entryRef_.insert( entryId );
   if ( added && index_ ) {
      index_->add( entryId, { order_, this } );
   }
   return added;
}

bool ClassIdRequestStatus::entryRefDel( U32 entryId ) {
   const bool removed = entryRef_.erase( entryId );
   if ( removed && index_ ) {
      index_->remove( entryId, { order_, this } );
   }
   return removed;
}

void ClassIdRequestStatus::entryRefDelAll() {
   while ( !entryRef_.empty() ) {
      const U32 oldest = entryRef_.front();
      entryRefDel( oldest );
   }
}

void ClassIdRequestStatus::join( Nodra::Ptr<EntryIndex> index, U64 order ) {
   index_ = std::move( index );
   order_ = order;
}

// Whoever still holds the record keeps its entries; the group's index forgets them.
void ClassIdRequestStatus::leave() {
   for ( const U32 entryId : entryRef_ ) {
      index_->remove( entryId, { order_, this } );
   }
   index_.reset();
}

ClassIdTcamGroupStatus::ClassIdTcamGroupStatus( TcamGroupId tcamGroupId ) : tcamGroupId_( tcamGroupId ) {}

ClassIdTcamGroupStatus::~ClassIdTcamGroupStatus() {
   requestStatusDelAll();
}

const ClassIdRequestStatus::Ptr &ClassIdTcamGroupStatus::requestStatusIs( const RequestKey &key ) {
   if ( const auto item = requestStatus_.find( key ); item != requestStatus_.end() ) {
      return item->second;
   }
   if ( !entryIndex_ ) {
      entryIndex_ = std::make_shared<EntryIndex>();
   }
   const auto item = requestStatus_.add( key, classIdRequestStatusFactory( key ) );
   item->second->join( entryIndex_, ++requestsMade_ );
   return item->second;
}

bool ClassIdTcamGroupStatus::requestStatusDel( const RequestKey &key ) {
   const auto item = requestStatus_.find( key );
   if ( item == requestStatus_.end() ) {
      return false;
   }
   item->second->leave();
   return requestStatus_.erase( key );
}

void ClassIdTcamGroupStatus::requestStatusDelAll() {
   for ( const auto &[ key, request ] : requestStatus_ ) {
      request->leave();
   }
   requestStatus_.clear();
}

const ClassIdRequestStatus *ClassIdTcamGroupStatus::requestOfEntry( U32 entryId ) const {
   return entryIndex_ ? entryIndex_->first( entryId ) : nullptr;
}

PoolStatus::Ptr poolStatusFactory( U16 poolId ) {
   return std::make_shared<PoolStatus>( poolId );
}

ClassIdRequestStatus::Ptr classIdRequestStatusFactory( const RequestKey &requestKey ) {
   return std::make_shared<ClassIdRequestStatus>( requestKey );
}

ClassIdTcamGroupStatus::Ptr classIdTcamGroupStatusFactory( TcamGroupId tcamGroupId ) {
   return std::make_shared<ClassIdTcamGroupStatus>( tcamGroupId );
}

} // namespace QuarraTcam
