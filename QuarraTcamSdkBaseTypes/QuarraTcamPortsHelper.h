#pragma once

#include <optional>

#include "Nodra/Attributes.h"
#include "Quarra/QuarraCommonSmData.h"
#include "QuarraTcam/BitmapQualifier.h"
#include "QuarraTcam/IntfProfile.h"
#include "QuarraTcamSdkBaseTypes/Export.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManagerTypes.h"
#include "Sdk/Bcm.h"

// The chip-specific half of the class-ID manager: which TCAM groups exist on a chip and how their class IDs
// are shaped, how a class ID reaches the chip's per-port tables, and how it becomes the qualifier of a TCAM
// entry. One variant for each SDK generation, and a simulation twin of each. The agent makes one through a
// factory below. Main thread only. What an operation requires is asserted: a broken requirement aborts the
// process with one line that names the operation and the condition, as does a failing SDK call. Null pointers
// are never allowed.
namespace QuarraTcam {

// A set of TCAM groups.
class TcamGroupSet {
 public:
   ATTR_SET( tcamGroup, TcamGroupId );

 public:
   bool operator==( const TcamGroupSet & ) const = default;
   explicit operator bool() const { return !tcamGroup_.empty(); }
};

// The base: shared state, the generic operations, and defaults that abort.
class QUARRA_TCAM_API QuarraTcamPortsHelper : public Nodra::Node {
 public:
   using Ptr = Nodra::Ptr<QuarraTcamPortsHelper>;

   explicit QuarraTcamPortsHelper( Scsd scsd ) : scsd_( std::move( scsd ) ) {}

   ATTR_KEY( scsd, Scsd );                      // the chip's shared state
   ATTR_VALUES( classIdSize, ClassIdType, U8 ); // carried for the agent; nothing here fills it
   ATTR( modIdLow, std::optional<U16> );        // first module id of the chip's range
   ATTR( modIdHigh, std::optional<U16> );       // one past the last
   ATTR( systemPortMax, U16 );                  // highest system port of the chip, where it has system ports

 public:
   // ---- What a variant answers. The defaults abort, but for the list of groups. ---------------------------

   // Makes `bitToSet` of the ACL-group value read 1 on exactly the ports of the group; all ethernet ports are
   // the variant's. Requires an installed SdkShim where the chip is programmed. A bit of logical tables is at
   // most 159; a group of all ethernet ports lists none on SDK6.
   virtual void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup );

   // Returns the TCAM groups of the chip that use class IDs.
   virtual TcamGroupSet setTcamGroups();

   // Returns whether the group's class IDs lie in the source-trunk map and are reserved at start-up (known
   // behaviour vfp-on-demand).
   virtual bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId );

   // Enters the rules that are known in advance as request keys of the group's configuration; entering them
   // again changes nothing. Requires a registered group that is a system group or answers
   // isSourceTrunkMapGroup.
   virtual void populateStaticClassIdReservation( TcamGroupId tcamGroupId );

   // Return how the group uses class IDs, for any group number: its space, the bits of a fixed offset (0 for
   // none), the bits of a pool, the pools that one reservation takes.
   virtual ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId );
   virtual U32 getPoolBitsForGroup( TcamGroupId tcamGroupId );
   virtual U8 getPoolWidthForGroup( TcamGroupId tcamGroupId );
   virtual U8 getNumberOfPoolsForGroup( TcamGroupId tcamGroupId );

   // Writes the ACL-group qualifier of an entry: positions of the bits that must read 1, and of those
   // compared.
   // Requires an SdkShim. The arrays hold as many positions as said; they stay the caller's.
   virtual void qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits, U32 *dataBits,
                                        U32 numSetMaskBits, U32 *maskBits );

   // Adds the CPU's ports. A module id or port out of range raises the range error; ports added before it
   // stay.
   virtual void populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup );

   // ---- What all variants share. --------------------------------------------------------------------------

   // Registers the configuration of every group of setTcamGroups(), with the static reservations. Groups that
   // are registered already keep theirs.
   void initializeTcamGroupsInfo();

   // Returns allocateOnInit for system groups and those that answer isSourceTrunkMapGroup.
   ClassIdAllocationStrategy getAllocationStrategyForGroup( TcamGroupId tcamGroupId );

   // Writes the qualifier into a TCAM entry, encoded as the group's class-ID type wants it.
   // Requires a registered group of a type that is a space, and data and mask of one size. Of an ACL-group
   // type also: no more bits than the ACL-group value, a bit set in both, and no more set in the data than in
   // the mask.
   void setClassIdQualifier( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                             const BitmapQualifier::PtrConst &classId );

   // Returns a new interface group: of a port bitmap whose bits are ACL group keys, or of all ethernet ports
   // when `ethernet` is set. Bits of no interface are skipped. Requires a port of every interface that is
   // found. A module id above 64 or a port above 1023 raises the range error.
   IntfGroupInfo::PtrConst getIntfGroupFromPbmp( TcamGroupId tcamGroupId, const bcm_pbmp_t &pbmp,
                                                 bool ethernet );

   // Returns a new interface group of a profile: its ports on this switch chip, with the CPU's where it asks
   // for them, or all ethernet ports.
   IntfGroupInfo::PtrConst getIntfGroupFromIntfProfile( const IntfProfile::PtrConst &profile );
};

// Chips programmed through the SDK6 interface: a bit is membership in a subport port group.
class QUARRA_TCAM_API QuarraTcamSdk6PortsHelper : public QuarraTcamPortsHelper {
 public:
   explicit QuarraTcamSdk6PortsHelper( Scsd scsd );

   void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) override;
   bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId ) override;
   void populateStaticClassIdReservation( TcamGroupId tcamGroupId ) override;
   ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId ) override;
   U32 getPoolBitsForGroup( TcamGroupId tcamGroupId ) override;
   U8 getPoolWidthForGroup( TcamGroupId tcamGroupId ) override;
   U8 getNumberOfPoolsForGroup( TcamGroupId tcamGroupId ) override;
   void qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits, U32 *dataBits, U32 numSetMaskBits,
                                U32 *maskBits ) override;
   void populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) override;

   // Sets what depends on the chip state, which must be there; on logical tables its first chip needs a
   // profile with common feature attributes. Each variant's constructor runs its own.
   virtual void handleInitialized();
};

// Chips programmed through logical tables: a bit lives in a field of the port's entry in the system port
// table.
class QUARRA_TCAM_API QuarraTcamHSDKPortsHelper : public QuarraTcamSdk6PortsHelper {
 public:
   explicit QuarraTcamHSDKPortsHelper( Scsd scsd );

   void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) override;
   TcamGroupSet setTcamGroups() override;
   bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId ) override;
   void populateStaticClassIdReservation( TcamGroupId tcamGroupId ) override;
   ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId ) override;
   U32 getPoolBitsForGroup( TcamGroupId tcamGroupId ) override;
   U8 getPoolWidthForGroup( TcamGroupId tcamGroupId ) override;
   U8 getNumberOfPoolsForGroup( TcamGroupId tcamGroupId ) override;
   void qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits, U32 *dataBits, U32 numSetMaskBits,
                                U32 *maskBits ) override;
   void populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) override;
   void handleInitialized() override;
};

// Simulation twin of the SDK6 variant: keeps the ports' ACL-group bits in its shadow and leaves the chip
// alone.
class QUARRA_TCAM_API QuarraTcamTestSdk6PortsHelper : public QuarraTcamSdk6PortsHelper {
 public:
   explicit QuarraTcamTestSdk6PortsHelper( Scsd scsd );

   ATTR_VALUES( aclGroupShadow, U16, Vesk::Bitmap::Ptr ); // by port; a port without a set bit is absent

 public:
   void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) override;
   U8 getPoolWidthForGroup( TcamGroupId tcamGroupId ) override;

 private:
   void shadowBit( U16 port, U8 bit );
};

// Simulation twin of the logical-table variant: programs the table and reads it back into its shadow.
class QUARRA_TCAM_API QuarraTcamTestHSDKPortsHelper : public QuarraTcamHSDKPortsHelper {
 public:
   explicit QuarraTcamTestHSDKPortsHelper( Scsd scsd );

   ATTR_VALUES( aclGroupShadow, U16, Vesk::Bitmap::Ptr ); // by system port; every one is there from the start

 public:
   void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup ) override;
   ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId ) override;
   U8 getPoolWidthForGroup( TcamGroupId tcamGroupId ) override;
   void handleInitialized() override;
};

// Each returns a new helper of its variant. Requires what its handleInitialized does, and that the SDK
// functions of its generation are linked.
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamSdk6PortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamHSDKPortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamTestSdk6PortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamTestHSDKPortsHelperFactory( const Scsd &scsd );

} // namespace QuarraTcam
