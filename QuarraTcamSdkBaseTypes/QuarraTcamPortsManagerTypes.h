#pragma once

#include <optional>

#include "Nodra/Attributes.h"
#include "QuarraCentral/QuarraModPort.h"
#include "QuarraTcam/RequestKey.h"
#include "QuarraTcam/TcamGroupId.h"
#include "QuarraTcamSdkBaseTypes/Export.h"
#include "Vesk/Bitmap.h"

// The live state of class IDs: interface groups, pools, requests, and what a TCAM group holds of them.
// Records are made by their factories and held by reference-counted pointers. Main thread only. Reading a
// member that is not there gives a null pointer; `...Is( key )` returns the member and makes it when it is
// missing.
namespace QuarraTcam {

// The ports that a TCAM rule matches on, or all ethernet ports.
class QUARRA_TCAM_API IntfGroupInfo {
 public:
   using Ptr = Nodra::Ptr<IntfGroupInfo>;
   using PtrConst = Nodra::PtrConst<IntfGroupInfo>;

   // The member ports, ascending.
   const Nodra::FlatSet<QuarraCentral::QuarraModPort> &portId() const { return portId_; }
   U32 portIds() const { return portId_.size(); }
   bool portIdHas( const QuarraCentral::QuarraModPort &port ) const { return portId_.has( port ); }
   bool portIdIs( const QuarraCentral::QuarraModPort &port );
   bool portIdDel( const QuarraCentral::QuarraModPort &port );
   void portIdDelAll();

   // Stands for all ethernet ports; no port is listed then.
   bool ethernet() const { return ethernet_; }
   void ethernetIs( bool ethernet );

   // Equal groups hash equally; several different groups may share a hash, so users compare with isEqual.
   // Made when first asked for, and kept until the group changes.
   U32 hash() const;

   // Whether both have the same ports and the same flag. Requires a group, as deepCopy does.
   bool isEqual( const PtrConst &other ) const;

   // Makes this group a copy of `other`, in place: whoever holds it sees the new contents.
   void deepCopy( const PtrConst &other );

   bool isEmpty() const;   // no port and not all ethernet ports
   void dumpTrace() const; // the members, at trace level 4

   friend QUARRA_TCAM_API std::ostream &operator<<( std::ostream &out, const IntfGroupInfo &intfGroup );

 private:
   Nodra::FlatSet<QuarraCentral::QuarraModPort> portId_;
   bool ethernet_ = false;
   mutable std::optional<U32> hash_;
};

QUARRA_TCAM_API IntfGroupInfo::Ptr intfGroupInfoFactory();

// The request keys whose interface groups have one hash.
class QUARRA_TCAM_API IntfGroupHashToIntfGroupInfo {
 public:
   using Ptr = Nodra::Ptr<IntfGroupHashToIntfGroupInfo>;

   explicit IntfGroupHashToIntfGroupInfo( U32 intfGroupHash ) : intfGroupHash_( intfGroupHash ) {}

   ATTR_KEY( intfGroupHash, U32 );
   ATTR_HASH_VALUES( requestKeyToIntfGroup, RequestKey, IntfGroupInfo::PtrConst ); // shared, not copied
};

QUARRA_TCAM_API IntfGroupHashToIntfGroupInfo::Ptr intfGroupHashToIntfGroupInfoFactory( U32 intfGroupHash );

// One run of adjacent bits of a hardware class-ID space, lent out as the values 1 to 2^size - 1. It is wholly
// free when its queue holds that many values.
class QUARRA_TCAM_API PoolStatus {
 public:
   using Ptr = Nodra::Ptr<PoolStatus>;

   explicit PoolStatus( U16 poolId ) : poolId_( poolId ) {}

   ATTR_KEY( poolId, U16 ); // number within the group, from 1
   ATTR( baseOffset, U8 );  // first bit of the pool in the hardware space
   ATTR( size, U8 );        // width in bits
   // Values not lent out: the front is lent next, a returned one goes to the back.
   ATTR_QUEUE( classIdPool, U16 );

 public:
   // As large as the hardware space, with exactly the pool's bits set; null until made.
   const Vesk::Bitmap::Ptr &tcamMask() const { return tcamMask_; }
   const Vesk::Bitmap::Ptr &tcamMaskIs( U64 id, U32 size, Vesk::HBitmap::BitState initialBitState ) {
      return tcamMask_ = std::make_shared<Vesk::Bitmap>( id, size, initialBitState );
   }
   void tcamMaskDel() { tcamMask_.reset(); }

 private:
   Vesk::Bitmap::Ptr tcamMask_;
};

QUARRA_TCAM_API PoolStatus::Ptr poolStatusFactory( U16 poolId );

class EntryIndex;

// What holds a class ID: its value, its pool, the TCAM entries that use it and the ports that carry it.
class QUARRA_TCAM_API ClassIdRequestStatus {
 public:
   using Ptr = Nodra::Ptr<ClassIdRequestStatus>;

   explicit ClassIdRequestStatus( const RequestKey &requestKey ) : requestKey_( requestKey ) {}
   ClassIdRequestStatus( const ClassIdRequestStatus & ) = delete;
   ClassIdRequestStatus &operator=( const ClassIdRequestStatus & ) = delete;

   ATTR_KEY( requestKey, RequestKey );
   ATTR( classId, U16 );                 // value inside the pool; the hardware value is classId << baseOffset
   ATTR( poolId, U16 );                  // 0 means no pool
   ATTR_PTR( intfGroup, IntfGroupInfo ); // what is programmed for the key now; updated in place

 public:
   using Entries = Nodra::HashSet<U32, Nodra::HashOf<U32>>;

   // The entries that use the class ID, the oldest first: its reference count. INVALID_ENTRY_ID stands for
   // a reservation made at start-up. The group's index of entries follows every change.
   const Entries &entryRef() const { return entryRef_; }
   U32 entryRefs() const { return entryRef_.size(); }
   bool entryRefHas( U32 entryId ) const { return entryRef_.has( entryId ); }
   bool entryRefIs( U32 entryId );
   bool entryRefDel( U32 entryId );
   void entryRefDelAll();

 private:
   friend class ClassIdTcamGroupStatus;

   void join( Nodra::Ptr<EntryIndex> index, U64 order );
   void leave();

   Entries entryRef_;
   Nodra::Ptr<EntryIndex> index_; // null while the record belongs to no group
   U64 order_ = 0;                // place among the group's requests, in order of creation
};

QUARRA_TCAM_API ClassIdRequestStatus::Ptr classIdRequestStatusFactory( const RequestKey &requestKey );

// What one TCAM group holds: its pools, its requests, and the index of their interface groups.
class QUARRA_TCAM_API ClassIdTcamGroupStatus {
 public:
   using Ptr = Nodra::Ptr<ClassIdTcamGroupStatus>;

   explicit ClassIdTcamGroupStatus( TcamGroupId tcamGroupId );
   ~ClassIdTcamGroupStatus();
   ClassIdTcamGroupStatus( const ClassIdTcamGroupStatus & ) = delete;
   ClassIdTcamGroupStatus &operator=( const ClassIdTcamGroupStatus & ) = delete;

   ATTR_KEY( tcamGroupId, TcamGroupId );
   ATTR( lastPoolNum, U16 ); // highest pool id handed out so far; lower ones are used again after 65,535 only
   ATTR_MAP( poolStatus, U16, PoolStatus ); // by pool id, ascending

 public:
   void lastPoolNumInc( U16 n ) { lastPoolNumIs( static_cast<U16>( lastPoolNum() + n ) ); }

   // The keys that hold a class ID, walked in order of creation.
   using Requests = Nodra::HashedValueMap<RequestKey, ClassIdRequestStatus::Ptr>;
   const Requests &requestStatus() const { return requestStatus_; }
   const ClassIdRequestStatus::Ptr &requestStatus( const RequestKey &key ) const {
      return Nodra::memberOf( requestStatus_, key );
   }
   bool requestStatusHas( const RequestKey &key ) const { return requestStatus_.has( key ); }
   U32 requestStatuss() const { return requestStatus_.count(); }
   const ClassIdRequestStatus::Ptr &requestStatusIs( const RequestKey &key );
   bool requestStatusDel( const RequestKey &key );
   void requestStatusDelAll();

   ATTR_HASH_MAP( intfGroupHashToIntfGroupInfo, U32, IntfGroupHashToIntfGroupInfo );

 public:
   // The first request, in the order of the walk, whose entryRef holds the entry; null when there is none.
   // One look-up.
   const ClassIdRequestStatus *requestOfEntry( U32 entryId ) const;

 private:
   Requests requestStatus_;
   Nodra::Ptr<EntryIndex> entryIndex_; // made with the first request
   U64 requestsMade_ = 0;
};

QUARRA_TCAM_API ClassIdTcamGroupStatus::Ptr classIdTcamGroupStatusFactory( TcamGroupId tcamGroupId );

} // namespace QuarraTcam
