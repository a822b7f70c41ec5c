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
// factory below. Main thread only. An SDK call that fails aborts the process.
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
   // ---- What a variant answers. The defaults abort, but for the list of groups.
   // --------------------------------

   // Makes `bitToSet` of the ACL-group value read 1 on exactly the ports of the group.
   virtual void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst &intfGroup );

   // The TCAM groups of the chip that use class IDs.
   virtual TcamGroupSet setTcamGroups();

   virtual bool isSourceTrunkMapGroup( TcamGroupId tcamGroupId );

   // Enters the rules that are known in advance as request keys of the group's registered configuration.
   virtual void populateStaticClassIdReservation( TcamGroupId tcamGroupId );

   virtual ClassIdType getClassIdTypeForGroup( TcamGroupId tcamGroupId );
   virtual U32 getPoolBitsForGroup( TcamGroupId tcamGroupId );
   virtual U8 getPoolWidthForGroup( TcamGroupId tcamGroupId );
   virtual U8 getNumberOfPoolsForGroup( TcamGroupId tcamGroupId );

   // Writes the ACL-group qualifier of an entry: positions of the bits compared, and of those that must
   // read 1.
   virtual void qualifySubPortGroupIds( U32 unit, U32 entryId, U32 numSetDataBits, U32 *dataBits,
                                        U32 numSetMaskBits, U32 *maskBits );

   // Adds the CPU's ports. A module id or port out of range raises the range error; ports added before it
   // stay.
   virtual void populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup );

   // ---- What all variants share.
   // -------------------------------------------------------------------------------

   // Registers the configuration of every group of setTcamGroups(), with the static reservations.
   void initializeTcamGroupsInfo();

   ClassIdAllocationStrategy getAllocationStrategyForGroup( TcamGroupId tcamGroupId );

   // Writes the qualifier into a TCAM entry, encoded as the group's class-ID type wants it. Data and mask
   // must have one size; of an ACL-group type both must have a bit set.
   void setClassIdQualifier( U32 unit, TcamGroupId tcamGroupId, U32 entryId,
                             const BitmapQualifier::PtrConst &classId );

   // The interface group of a port bitmap whose bits are ACL group keys, or of all ethernet ports when
   // `ethernet` is set. Bits of no interface are skipped; an interface without a port aborts.
   IntfGroupInfo::PtrConst getIntfGroupFromPbmp( TcamGroupId tcamGroupId, const bcm_pbmp_t &pbmp,
                                                 bool ethernet );

   // The interface group of a profile: its ports on this switch chip, with the CPU's where it asks for them.
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

   // Sets what depends on the chip state. Each variant's constructor runs its own.
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

// Each makes a helper of its variant. A null chip state aborts; so does an SDK function of its generation that is not linked.
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamSdk6PortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamHSDKPortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamTestSdk6PortsHelperFactory( const Scsd &scsd );
QUARRA_TCAM_API QuarraTcamPortsHelper::Ptr quarraTcamTestHSDKPortsHelperFactory( const Scsd &scsd );

} // namespace QuarraTcam
