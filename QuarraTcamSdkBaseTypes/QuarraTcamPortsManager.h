#pragma once

#include <string>

#include "QuarraCentral/PortTabWriteRequestDir.h"
#include "QuarraTcam/RuleId.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"

namespace QuarraTcam {

// The one object through which a TCAM agent obtains, programs and frees class IDs. Main thread only.
//
// The agent sets scsd, portsHelper and sourceTrunkMapConfig and calls doSetup once. From then on it needs the
// operations of the first section, in this order:
//
//    a group is created      createAclGroupBitmapHint
//    an entry is installed   getRequestKey, reserveClassIdForIntfGroup, programClassIdForIntfGroup,
//                            getClassId, programClassIdQualifierInHw
//    an entry is removed     getRequestKeyForEntryId, clearClassIdAndIntfGroup
//    a group is deleted      clearClassIdPool
//
// The rest are the steps that these are made of.
//
// Running out of room is the only soft failure: the reserving operations return false and leave everything as
// it was. Whatever an operation requires is asserted: a broken requirement aborts the process with one line
// that names the operation and the condition, as does a failing SDK call. Every operation on a group requires
// its registered configuration; null pointers are never allowed.
class QUARRA_TCAM_API QuarraTcamPortsManager : public Nodra::Node {
 public:
   using Ptr = Nodra::Ptr<QuarraTcamPortsManager>;
   using IntfGroupConst = IntfGroupInfo::PtrConst;

   explicit QuarraTcamPortsManager( std::string name ) : name_( std::move( name ) ) {}

   ATTR_KEY( name, std::string );
   ATTR( scsd, Scsd );                              // the chip's shared state; the agent's, only read
   ATTR( portsHelper, QuarraTcamPortsHelper::Ptr ); // the chip variant
   ATTR( sourceTrunkMapConfig, Nodra::Ptr<QuarraCentral::PortTabWriteRequestDir> ); // where words are posted
   ATTR_HASH_VALUES( classIdHwStatus, ClassIdType, Vesk::Bitmap::Ptr );             // a set bit is reserved
   ATTR_HASH_MAP( classIdTcamGroupStatus, TcamGroupId, ClassIdTcamGroupStatus );    // groups that hold pools
   // Ports that a bit of the ACL-group value was last put on.
   ATTR_VALUES( programmedBit, U8, IntfGroupConst );

 public:
   // ---- What an agent calls -------------------------------------------------------------------------------

   // Registers the groups, makes a bitmap for each class-ID space of the chip, posts 0 for the
   // source-trunk-map words, and reserves the class IDs of the rules that are known in advance.
   // Requires scsd, portsHelper and an installed SdkShim, and that it was not called before.
   // Aborts when the chip has no room for the rules known in advance.
   void doSetup();

   // The interface group of a port bitmap, or of a profile: the helper's operations of these names, for an
   // agent that holds the manager only. Returns null when no helper is set.
   IntfGroupConst getIntfGroupFromPbmp( TcamGroupId tcamGroupId, const bcm_pbmp_t &pbmp, bool ethernet );
   IntfGroupConst getIntfGroupFromIntfProfile( const IntfProfile::PtrConst &profile );

   // Returns the key of an entry that is to be installed: the reserved key of its rule in a system group,
   // elsewhere the key of an equal interface group or a new one. A rule that is not reserved gives the
   // invalid key of getRequestKeyForRuleId.
   RequestKey getRequestKey( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId,
                             const IntfGroupConst &intfGroup );

   // Returns the key that an installed entry holds, or "invalidRequestkey" in both strings and 0.
   RequestKey getRequestKeyForEntryId( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId );

   // Makes the entry a user of the key's class ID, and takes a class ID first when the key has none. The key
   // is then found by its interface group. The ports must be programmed before the key is released (known
   // behaviour unprogrammed-index).
   // Returns false when no class ID is free and no pool fits; nothing has changed then.
   // Requires that a key already found under an interface group of this hash stands for an equal one. A key
   // without a class ID also requires what reserveClassId does.
   bool reserveClassIdForIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                    const IntfGroupConst &intfGroup );

   // Puts the key's class ID on exactly the ports of the group. In a group with pools wider than one bit a
   // port carries one class ID: the newest request takes it from the others.
   // Requires that the entry is a user of the key. All ethernet ports require a class ID of one bit that no
   // other request of the group has on ports. Always returns true.
   bool programClassIdForIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                    const IntfGroupConst &intfGroup );

   // Returns a new qualifier of the key's class ID: its value at its pool's bits, and a mask of these bits.
   // Requires that the entry is a user of the key.
   BitmapQualifier::Ptr getClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // Writes a qualifier into a TCAM entry, which must exist on the chip. Requires what setClassIdQualifier of
   // the helper does.
   void programClassIdQualifierInHw( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                                     const BitmapQualifier::PtrConst &classId );

   // For an entry that is removed, or whose installation failed: drops its use of the key, and what nobody
   // uses any more. A group or key without a class ID is left alone.
   // Requires otherwise what clearClassId does. Always returns true.
   bool clearClassIdAndIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // Returns the bits of the combined ACL-group value that the group's qualifiers cover. A fixed-width group
   // gets its pool here, when it is created.
   // Requires a group of an ACL-group type and, for a fixed-width group without a pool, room for one.
   QualifierHintInfo createAclGroupBitmapHint( TcamGroupId tcamGroupId );

   // Gives back the pools of a fixed-width group that is being deleted.
   // Requires that the group has pools, is no system group, and that every class ID is back.
   void clearClassIdPool( TcamGroupId tcamGroupId );

   // ---- Steps of the set-up (Setup.cpp, SourceTrunkMap.cpp) -----------------------------------------------

   // Posts 0 for every source-trunk-map word in the directory, of ports that no interface group named too.
   // Does nothing without a directory.
   void initializeSourceTrunkMap();

   // Makes a clear bitmap for each class-ID space that has bits on the chip of the SDK's unit. Requires scsd,
   // an SdkShim, and that no bitmap is there.
   void initializeHwBitmaps();

   // Reserves the keys of all system and source-trunk-map groups, or of one, which must be of that kind and
   // allocateOnInit. Aborts when there is no room.
   void reserveClassIdsForSystemAcls();
   void reserveClassIdForSystemAclGroup( TcamGroupId tcamGroupId );

   // Return the helper's answers, which must be set.
   ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId );
   bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId );

   // ---- Pools (Pools.cpp) ---------------------------------------------------------------------------------

   // Takes the lowest free run of classIdNumPools * poolWidth bits and makes its pools; a fixed-offset group
   // takes its own bits unasked.
   // Returns the id of the last pool, or 0 when no run is free (nothing has changed then).
   // Requires a hardware space of the group's type, a run at most one bit longer than it (bits counted modulo
   // 256), a pool of 1 to 16 bits, and one pool at a fixed offset.
   U16 reservePoolOfWidth( TcamGroupId tcamGroupId, U8 poolWidth );

   // Lends the front class ID of a pool to a key that has none. Requires that the pool has a free one. Always
   // returns true.
   bool getClassIdFromPool( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId, U16 poolId );

   // Gives back every pool of the group whose class IDs are all back, and with the last one the group's
   // status. Pools of a fixed-width group stay until clearClassIdPool.
   // Requires that the group has a status, and that no pool of a system group is free. Always returns true.
   bool maybeFreeClassIdPool( TcamGroupId tcamGroupId, const RequestKey &requestKey );

   // ---- Reservation (Reservation.cpp) ---------------------------------------------------------------------

   // Makes the entry a user of the key's class ID; a key that has none takes one: from the first pool with a
   // free one, else from a new pool of the group's width, else from a new pool of one bit.
   // Returns false when there is no room; nothing has changed then. A key without a class ID requires
   // INVALID_ENTRY_ID in system groups and at a fixed offset, and a pool in a fixed-width group.
   bool reserveClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // The second step of it, with one pool width. Returns false when there is no room. Requires that the key
   // has no class ID.
   bool getClassIdFromPoolWidth( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                 U8 poolWidth );

   // ---- Request keys (RequestKeys.cpp) --------------------------------------------------------------------

   // Returns the key of an equal interface group of the group, or a new key.
   RequestKey getRequestKeyForIntfGroup( TcamGroupId tcamGroupId, U32 entryId, const RuleId &ruleId,
                                         const IntfGroupConst &intfGroup );

   // Returns the key reserved for a rule, or "invalid RequestKey" in both strings and 0. Requires a system
   // group, and a chip with a reservation table.
   RequestKey getRequestKeyForRuleId( TcamGroupId tcamGroupId, const RuleId &ruleId );

   // Returns a key that no other key equals.
   RequestKey createRequestKeyForRule( U32 entryId, const RuleId &ruleId );

   // Enter a key under its interface group, or take it out. Entering requires that the key, if it stands
   // under this hash already, stands for an equal group; taking out requires that it stands there. Both
   // require a group with a status.
   void populateIntfGroupHashToIntfGroupInfo( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                              const IntfGroupConst &intfGroup );
   void deleteIntfGroupFromIntfGroupInfo( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                          const IntfGroupConst &intfGroup );

   // ---- Ports that carry a class ID (AclGroup.cpp, SourceTrunkMap.cpp) ------------------------------------

   // Put the key's class ID on exactly the ports of the group, without a look at other requests' ports: by
   // bits of the ACL-group value, or by words posted to the directory. An interface group equal to the
   // programmed one writes nothing. Require a key with a class ID; words for ports require a directory and a
   // chip of the SDK's unit.
   // Always return true.
   bool programAclGroupClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                const IntfGroupConst &intfGroup );
   bool programSourceTrunkMapClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId,
                                      const IntfGroupConst &intfGroup );

   // Takes the ports of `intfGroup` away from the group's other requests. They keep their class IDs and
   // entries.
   // Requires that none of them stands for all ethernet ports, and that each has an entry.
   void cleanupConflictingIntfs( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                 const IntfGroupConst &intfGroup );

   // Returns a new group: the ports of all other requests of the group that hold the bit.
   IntfGroupInfo::Ptr getIntfGroupForBitPos( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                             U8 bitPos );

   // Adds the ports of `source`; the ethernet flag is not taken over.
   void appendIntfGroup( const IntfGroupInfo::Ptr &target, const IntfGroupConst &source );

   // Has the helper set the bit on the group's ports and clear it on all others.
   void programBitForIntfGroup( U8 bitPos, const IntfGroupConst &intfGroup );

   // Returns the ports that are programmed for the key now; the caller shares the record. Requires a key with
   // a class ID. The entry is only traced.
   IntfGroupConst getIntfGroup( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // Traces the group; null is allowed.
   void dumpIntfGroup( const IntfGroupConst &intfGroup );

   // ---- Release (Release.cpp) -----------------------------------------------------------------------------

   // Drops the entry's use of the key, and frees the class ID and the pools that nobody uses any more. A key
   // that was reserved at start-up keeps its class ID and loses its ports.
   // Requires that the entry is a user of the key, and that a key reserved at start-up belongs to a system or
   // source-trunk-map group. Always returns true.
   bool clearClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

   // The same but for the pools.
   bool maybeFreeClassId( TcamGroupId tcamGroupId, const RequestKey &requestKey, U32 entryId );

 private:
   QuarraCentral::ChipInfo unitChipInfo() const;
};

// Returns a new manager without attributes, for a process that keeps more than one.
QUARRA_TCAM_API QuarraTcamPortsManager::Ptr quarraTcamPortsManagerFactory( const std::string &name );

// Returns the process-wide manager, made on the first call.
QUARRA_TCAM_API const QuarraTcamPortsManager::Ptr &getQuarraTcamPortsManager();

} // namespace QuarraTcam
