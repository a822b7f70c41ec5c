#pragma once

#include <array>

#include "agent/Store.h"

namespace QuarraAgent {

// Keeps an agent's records in a store: after each request, what the request changed. It remembers what it
// kept, compares the request's group with that, and writes the difference.
class RecordKeeper : public RequestJournal {
 public:
   // Both must outlive it.
   RecordKeeper( TcamAgent &agent, Store &store ) : agent_( agent ), store_( store ) {}

   // Puts all records into a store that has none; within a change of the store.
   void keepAll();

   // Makes the agent's records those of the store. No SDK call. Throws "storeDamaged" when they do not fit
   // together; the agent is of no use then.
   void restore();

   void begins( const RequestInFlight &request ) override;
   void ends( TcamGroupId group, U32 entry ) override;
   void refused() override;

   // A request that an earlier process began is undone; or it is done, and the records are as after it.
   void undone();
   void done( TcamGroupId group, U32 entry );

 private:
   friend class RecordReader;

   void mustNotHaveFailed() const;

   struct KeptRequest {
      QuarraTcam::ClassIdRequestStatus::Ptr record;
      U64 order = 0;
      PortSet ports;
      bool ethernet = false;
   };
   struct KeptIndexed {
      QuarraTcam::RequestKey key;
      QuarraTcam::IntfGroupInfo::PtrConst intfGroup;
      U32 ports = 0; // of the group: it loses some while it is out of the index
      U64 order = 0;
   };
   struct KeptBucket {
      QuarraTcam::IntfGroupHashToIntfGroupInfo::Ptr record;
      U64 order = 0;
      std::vector<KeptIndexed> indexed;
   };
   struct KeptGroup {
      QuarraTcam::ClassIdTcamGroupStatus::Ptr record;
      U64 order = 0;
      U16 lastPool = 0;
      std::map<U16, std::vector<U16>> pools; // by pool: its free class IDs
      std::vector<KeptRequest> requests;
      std::vector<KeptBucket> buckets;
   };

   void keepGroup( TcamGroupId group );
   void forgetGroup( TcamGroupId group );
   void keepPools( TcamGroupId group, KeptGroup &kept );
   void keepRequests( TcamGroupId group, KeptGroup &kept );
   void keepIndex( TcamGroupId group, KeptGroup &kept );
   void keepIndexed( TcamGroupId group, KeptBucket &bucket );
   void keepSpaces();
   void keepBits();
   void keepWords( const std::vector<QuarraCentral::PortTabWriteRequestKey> &keys );
   void keepEntry( U32 entry );
   void keepCount();
   void putRequest( TcamGroupId group, const KeptRequest &kept );

   TcamAgent &agent_;
   Store &store_;
   std::map<TcamGroupId, KeptGroup> groups_;
   std::map<QuarraTcam::ClassIdType, Vesk::Bitmap> spaces_;
   std::array<QuarraTcam::IntfGroupInfo::PtrConst, 256> bits_;
   std::map<U64, U64> words_; // by packed key: order
   U64 uniqueId_ = 0;
   U64 order_ = 0; // the last one given
   bool begun_ = false;
   bool failed_ = false;
};

} // namespace QuarraAgent
