#pragma once

#include <string>

#include "QuarraCentral/PortTabWriteRequestDir.h"
#include "QuarraTcam/RuleId.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"

namespace QuarraTcam {

// The one object through which a TCAM agent obtains, programs and frees class IDs. Main thread only.
//
// The agent sets scsd, portsHelper and sourceTrunkMapConfig, then calls doSetup once. It installs an entry by
// getRequestKey, reserveClassIdForIntfGroup, programClassIdForIntfGroup, getClassId,
// programClassIdQualifierInHw, and removes one by getRequestKeyForEntryId, clearClassIdAndIntfGroup. It asks
// for createAclGroupBitmapHint when it creates a group, and calls clearClassIdPool when it deletes one.
//
// Running out of room is the only soft failure: the reserving operations return false and leave everything as
// it was. Every broken invariant aborts the process with the text of the condition, as does a failing SDK
// call.
class QUARRA_TCAM_API QuarraTcamPortsManager : public Nodra::Node {
 public:
   using Ptr = Nodra::Ptr<QuarraTcamPortsManager>;
   using IntfGroupConst = IntfGroupInfo::PtrConst;

   explicit QuarraTcamPortsManager( std::string name ) : name_( std::move( name ) ) {}

   ATTR_KEY( name, std::string );
   ATTR( scsd, Scsd );                              // the chip's shared state
   ATTR( portsHelper, QuarraTcamPortsHelper::Ptr ); // the chip variant
   ATTR( sourceTrunkMapConfig, Nodra::Ptr<QuarraCentral::PortTabWriteRequestDir> );
   ATTR_HASH_VALUES( classIdHwStatus, ClassIdType, Vesk::Bitmap::Ptr );          // a set bit is reserved
   ATTR_HASH_MAP( classIdTcamGroupStatus, TcamGroupId, ClassIdTcamGroupStatus ); // groups that hold pools
   ATTR_VALUES( programmedBit, U8, IntfGroupConst ); // ports that a bit of the ACL-group value was last put on

   // ---- Setup.cpp: from empty to ready
   // -----------------------------------------------------------------------------

 public:
   // Registers the groups, makes a bitmap for each class-ID space of the chip, and reserves what is known in
   // advance. A chip without room for that aborts.
   void doSetup();
   void initializeHwBitmaps();
   void reserveClassIdsForSystemAcls();
   void reserveClassIdForSystemAclGroup( TcamGroupId tcamGroupId );

   ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId );

   // ---- Pools.cpp: runs of bits
   // ------------------------------------------------------------------------------------

   // Takes the lowest free run of classIdNumPools * poolWidth bits and makes its pools; a fixed-offset group
   // takes its own bits unasked. Returns the id of the last pool, or 0 when no run is free or the group has
   // had all 65,535 ids (nothing has changed then). A pool has at most 16 bits. Aborts when the group's
   // class-ID type has no hardware space, or when the run is more than one bit longer than it.
   U16 reservePoolOfWidth( TcamGroupId tcamGroupId, U8 poolWidth );

   // Lends the front class ID of a pool to a key that has none. The pool must have a free one. Always true.
   bool getClassIdFromPool( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId, U16 poolId );

   // Gives back every pool of the group whose class IDs are all back, and with the last one the group's
   // status. Pools of a fixed-width group stay until clearClassIdPool. Always true.
   bool maybeFreeClassIdPool( TcamGroupId tcamGroupId, const RequestKey &requestKey );

   // Gives back the pools of a fixed-width group that is being deleted; every class ID must be back.
   void clearClassIdPool( TcamGroupId tcamGroupId );

   // The bits of the combined ACL-group value that the group's qualifiers cover. A fixed-width group gets its
   // pool here, when it is created; there must be room. Aborts for other than ACL-group types.
   QualifierHintInfo createAclGroupBitmapHint( TcamGroupId tcamGroupId );

   // ---- Reservation.cpp: a class ID for a key
   // ----------------------------------------------------------------------

   // True when the key has a class ID afterwards, with the entry as a user of it; false when there is no
   // room. A system group and a fixed-offset group take new keys with INVALID_ENTRY_ID only.
   bool reserveClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );
   bool getClassIdFromPoolWidth( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                 U8 poolWidth );

   // The same, and later entries with an equal interface group find the key. The ports must be programmed
   // before the key is released: the release takes out of the index what was programmed.
   bool reserveClassIdForIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                    const IntfGroupConst &intfGroup );

   // ---- RequestKeys.cpp: which key stands for an entry
   // -------------------------------------------------------------

   // The key of an entry to be installed: the reserved one of its rule in a system group, elsewhere the key
   // of an equal interface group, or a new one.
   RequestKey getRequestKey( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId,
                             const IntfGroupConst &intfGroup );
   RequestKey getRequestKeyForIntfGroup( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId,
                                         const IntfGroupConst &intfGroup );

   // System groups only. An unknown rule gives "invalid RequestKey" in both strings and 0.
   RequestKey getRequestKeyForRuleId( TcamGroupId tcamGroupId, const RuleId &ruleId );

   // A key that no other key equals.
   RequestKey createRequestKeyForRule( U32 entryId, const RuleId &ruleId );

   // The key that an installed entry holds, or "invalidRequestkey" in both strings and 0.
   RequestKey getRequestKeyForEntryId( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId );

   void populateIntfGroupHashToIntfGroupInfo( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                              const IntfGroupConst &intfGroup );
   void deleteIntfGroupFromIntfGroupInfo( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                          const IntfGroupConst &intfGroup );

   // ---- AclGroup.cpp: ports that carry a class ID
   // ------------------------------------------------------------------

   // Puts the key's class ID on exactly the ports of the group. In a group with pools wider than one bit a
   // port carries one class ID: the newest request takes it from the others. Always true.
   bool programClassIdForIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                    const IntfGroupConst &intfGroup );
   bool programAclGroupClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                const IntfGroupConst &intfGroup );
   void cleanupConflictingIntfs( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                 const IntfGroupConst &intfGroup );

   // The ports of all other requests of the group that hold the bit.
   IntfGroupInfo::Ptr getIntfGroupForBitPos( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                             U8 bitPos );
   void appendIntfGroup( const IntfGroupInfo::Ptr &target, const IntfGroupConst &source );
   void programBitForIntfGroup( U8 bitPos, const IntfGroupConst &intfGroup );

   // The ports that are programmed for the key now.
   IntfGroupConst getIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );
   void dumpIntfGroup( const IntfGroupConst &intfGroup );

   // The helper's operations of these names; a null pointer when no helper is set.
   IntfGroupConst getIntfGroupFromPbmp( TcamGroupId tcamGroupId, const bcm_pbmp_t &pbmp, bool ethernet );
   IntfGroupConst getIntfGroupFromIntfProfile( const IntfProfile::PtrConst &profile );

   // ---- SourceTrunkMap.cpp: class IDs in the source-trunk-map tables
   // -----------------------------------------------

   bool programSourceTrunkMapClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                      const IntfGroupConst &intfGroup );
   bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId );

   // Posts 0 for every source-trunk-map word in the directory.
   void initializeSourceTrunkMap();

   // ---- Qualifier.cpp: what an entry matches
   // -----------------------------------------------------------------------

   // A new qualifier of the key's class ID, for an entry that is counted as its user.
   BitmapQualifier::Ptr getClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );
   void programClassIdQualifierInHw( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                                     const BitmapQualifier::PtrConst &classId );

   // ---- Release.cpp: taking it back
   // --------------------------------------------------------------------------------

   // For an entry that is removed, or whose installation failed. A group or key without a class ID is left
   // alone. All three are always true.
   bool clearClassIdAndIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // Drops the entry's reference, and frees the class ID and the pools that nobody uses any more.
   bool clearClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );
   bool maybeFreeClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

 private:
   QuarraCentral::ChipInfo unitChipInfo() const;
   void reprogram( TcamGroupId tcamGroupId, const RequestKey &otherKey, U32 otherEntryId,
                   const IntfGroupInfo::Ptr &otherIntfGroup );
   void unprogram( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );
};

QUARRA_TCAM_API QuarraTcamPortsManager::Ptr quarraTcamPortsManagerFactory( const std::string &name );

// The process-wide manager, made on the first call.
QUARRA_TCAM_API const QuarraTcamPortsManager::Ptr &getQuarraTcamPortsManager();

} // namespace QuarraTcam
