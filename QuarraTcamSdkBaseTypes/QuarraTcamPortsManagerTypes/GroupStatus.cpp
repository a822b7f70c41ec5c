#include <algorithm>
#include <unordered_map>
#include <vector>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManagerTypes.h"

namespace QuarraTcam {

// Which requests of a group an entry uses. Nearly always one; several where an entry was counted under more
// keys, as INVALID_ENTRY_ID is under all that are reserved at start-up. Kept in the order of the walk over
// the requests, so that the first is the one that a walk would find.
class EntryIndex {
 public:
   struct User {
      U64 order;
      const ClassIdRequestStatus *request;
   };

   void add( U32 entryId, const User &user ) {
      auto &users = users_[ entryId ];
      const auto place = std::upper_bound( users.begin(), users.end(), user, earlier );
      users.insert( place, user );
   }

   void remove( U32 entryId, const User &user ) {
      const auto item = users_.find( entryId );
      auto &users = item->second;
      users.erase( std::lower_bound( users.begin(), users.end(), user, earlier ) );
      if ( users.empty() ) {
         users_.erase( item );
      }
   }

   const ClassIdRequestStatus *first( U32 entryId ) const {
      const auto item = users_.find( entryId );
      return item == users_.end() ? nullptr : item->second.front().request;
   }

 private:
   static bool earlier( const User &a, const User &b ) { return a.order < b.order; }

   std::unordered_map<U32, std::vector<User>> users_;
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
      entryRefDel( entryRef_.front() );
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

ClassIdTcamGroupStatus::ClassIdTcamGroupStatus( TcamGroupId tcamGroupId )
   : tcamGroupId_( tcamGroupId ), entryIndex_( std::make_shared<EntryIndex>() ) {}

ClassIdTcamGroupStatus::~ClassIdTcamGroupStatus() {
   requestStatusDelAll();
}

const ClassIdRequestStatus::Ptr &ClassIdTcamGroupStatus::requestStatusIs( const RequestKey &key ) {
   if ( const auto item = requestStatus_.find( key ); item != requestStatus_.end() ) {
      return item->second;
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
   return entryIndex_->first( entryId );
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
