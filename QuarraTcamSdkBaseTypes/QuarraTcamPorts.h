#pragma once

#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Ivrel/IntfId.h"
#include "Nodra/Attributes.h"
#include "Nodra/Enumeration.h"
#include "Quarra/QuarraCommonSmData.h"
#include "QuarraCentral/ChipProfile.h"
#include "QuarraTcam/RequestKey.h"
#include "QuarraTcam/TcamGroupId.h"
#include "QuarraTcamSdkBaseTypes/Export.h"
#include "QuarraTypes/QuarraPort.h"
#include "Sdk/Bcm.h"
#include "Vesk/Bitmap.h"

// How each TCAM group uses class IDs, and the translation between interfaces, chip ports and port bitmaps.
// Main thread only. What a function requires is asserted: a broken requirement aborts the process with one
// line that names the function and the condition. Range errors are exceptions (Nodra::RangeError).
namespace QuarraTcam {

// ---- Class-ID spaces --------------------------------------------------------------------------------------

// The hardware class-ID space that a group draws from.
enum class ClassIdType : U8 {
   classIdInvalid = 0,        // no space
   ifpSourceTrunkMap = 1,     // source-trunk-map table, ingress field processor
   vfpSourceTrunkMap = 2,     // the same, VLAN field processor
   aclGroupFlexibleWidth = 3, // low part of the per-port ACL-group value
   aclGroupFixedWidth = 4,    // the part above it
   classIdMax = 5,            // end marker, never a group's type
};

// When a group's class IDs are reserved.
enum class ClassIdAllocationStrategy : U8 {
   invalidStrategy = 0,
   allocateOnInit = 1,   // every key, at set-up
   allocateOnDemand = 2, // with the first entry
};

// The name of an enumerator; "" for a value that is none.
constexpr std::string_view stringValue( ClassIdType type ) {
   using enum ClassIdType;
   switch ( type ) {
   case classIdInvalid:
      return "classIdInvalid";
   case ifpSourceTrunkMap:
      return "ifpSourceTrunkMap";
   case vfpSourceTrunkMap:
      return "vfpSourceTrunkMap";
   case aclGroupFlexibleWidth:
      return "aclGroupFlexibleWidth";
   case aclGroupFixedWidth:
      return "aclGroupFixedWidth";
   case classIdMax:
      return "classIdMax";
   }
   return {};
}
constexpr std::string_view stringValue( ClassIdAllocationStrategy strategy ) {
   using enum ClassIdAllocationStrategy;
   switch ( strategy ) {
   case invalidStrategy:
      return "invalidStrategy";
   case allocateOnInit:
      return "allocateOnInit";
   case allocateOnDemand:
      return "allocateOnDemand";
   }
   return {};
}

// From a number or a name; anything that names no enumerator raises the range error.
constexpr ClassIdType ClassIdTypeInstance( unsigned int value ) {
   return Nodra::enumeratorOf<ClassIdType>( "ClassIdType", value );
}
constexpr ClassIdType ClassIdTypeInstance( std::string_view name ) {
   return Nodra::enumeratorOf<ClassIdType>( "ClassIdType", name );
}
constexpr ClassIdAllocationStrategy ClassIdAllocationStrategyInstance( unsigned int value ) {
   return Nodra::enumeratorOf<ClassIdAllocationStrategy>( "ClassIdAllocationStrategy", value );
}
constexpr ClassIdAllocationStrategy ClassIdAllocationStrategyInstance( std::string_view name ) {
   return Nodra::enumeratorOf<ClassIdAllocationStrategy>( "ClassIdAllocationStrategy", name );
}

inline std::ostream &operator<<( std::ostream &out, ClassIdType type ) {
   return out << stringValue( type );
}
inline std::ostream &operator<<( std::ostream &out, ClassIdAllocationStrategy strategy ) {
   return out << stringValue( strategy );
}

// ---- Group configuration and registry ---------------------------------------------------------------------

// How one TCAM group uses class IDs.
class QUARRA_TCAM_API ClassIdTcamGroupConfig {
 public:
   using Ptr = Nodra::Ptr<ClassIdTcamGroupConfig>;

   explicit ClassIdTcamGroupConfig( TcamGroupId tcamGroupId ) : tcamGroupId_( tcamGroupId ) {}

   ATTR_KEY( tcamGroupId, TcamGroupId );
   ATTR( classIdPoolBits, U32 ); // not 0: the lowest set bit is the fixed offset of the group's one pool
   ATTR( classIdType, ClassIdType );
   ATTR( classIdPoolWidth, U8 ); // bits of a pool; width w lends 2^w - 1 class IDs
   ATTR( classIdNumPools, U8 );  // adjacent pools that one reservation takes
   ATTR( allocationType, ClassIdAllocationStrategy );
   ATTR_VALUES( requestKey, RequestKey, bool ); // keys that get a class ID at set-up; the flag is not read
};

// Returns a new record that says nothing yet.
QUARRA_TCAM_API ClassIdTcamGroupConfig::Ptr classIdTcamGroupConfigFactory( TcamGroupId tcamGroupId );

// The process-wide registry, filled once at set-up and read-only from then on.
using ClassIdTcamGroupsInfo = std::map<TcamGroupId, ClassIdTcamGroupConfig::Ptr>;
extern QUARRA_TCAM_API ClassIdTcamGroupsInfo classIdTcamGroupsInfo;

// Returns a new record with the given values; the registry is not touched.
QUARRA_TCAM_API ClassIdTcamGroupConfig::Ptr getGroupConfigType( TcamGroupId tcamGroupId,
                                                                ClassIdType classIdType, U32 classIdPoolBits,
                                                                U8 classIdPoolWidth, U8 classIdNumPools,
                                                                ClassIdAllocationStrategy allocationType );

// Registers a record. The first registration of a group stays, a later one is ignored. Requires a record of
// that group.
QUARRA_TCAM_API void addClassIdInfoToMap( TcamGroupId tcamGroupId, ClassIdTcamGroupConfig::Ptr classIdInfo );

// Returns the registered record, or null.
QUARRA_TCAM_API ClassIdTcamGroupConfig::Ptr getClassIdInfoForTcamGroup( TcamGroupId tcamGroupId );

// Returns all registered groups in ascending order.
QUARRA_TCAM_API std::vector<TcamGroupId> getTcamGroups();

// Returns the bits of the hardware space of that type on that chip, 0 when the chip has none. Requires a type
// that is a space, and a chip with a profile that has TCAM attributes.
QUARRA_TCAM_API U8 getClassIdSize( ClassIdType classIdType, QuarraCentral::ChipInfo chipInfo );

// Returns the first bit of the lowest run of `bits` free (clear) ones, which may start at any bit; nothing
// when there is no such run.
QUARRA_TCAM_API std::optional<U32> lowestFreeRun( const Vesk::Bitmap &bitmap, U32 bits );

// Returns the name of the field of the chip's per-port logical table that holds a bit of the combined
// ACL-group value: bits 0 to 31 in one field, then 16 bits each. Requires a bit from 0 to 159.
QUARRA_TCAM_API std::string getAclGroupFieldType( U8 bit );

// ---- Interfaces and chip ports ----------------------------------------------------------------------------

// On ordinary chips a port is the port of the chip state. On chips whose attribute isVexProduct is set,
// interfaces are numbered by ACL group keys. All of these require a chip state whose first chip has
// attributes. A look-up that finds nothing gives the invalid port (0xdead, 0xffff, 1023, 0), or the invalid
// interface; an ACL group key above 1023 raises the range error.
using Scsd = Quarra::QuarraCommonSmData::PtrConst;

// Whether the interface has a port, or a cached one.
QUARRA_TCAM_API bool intfToPortHas( const Scsd &scsd, const Ivrel::IntfId &intfId );
QUARRA_TCAM_API bool intfToPortCacheHas( const Scsd &scsd, const Ivrel::IntfId &intfId );

// Returns the interface's port, or the cached one; on isVexProduct chips with the ACL group key as logical
// port. The cached one then has the first chip's module id (known behaviour cached-port-module).
QUARRA_TCAM_API QuarraTypes::QuarraPort intfToPort( const Scsd &scsd, const Ivrel::IntfId &intfId );
QUARRA_TCAM_API QuarraTypes::QuarraPort intfToPortCache( const Scsd &scsd, const Ivrel::IntfId &intfId );

// Returns the interface of an equal port; on isVexProduct chips the first one whose key is the logical port.
QUARRA_TCAM_API Ivrel::IntfId portToIntf( const Scsd &scsd, const QuarraTypes::QuarraPort &port );

// ---- Standard port bitmaps --------------------------------------------------------------------------------

// Each getter returns a bitmap in static storage of its own: copy it before the next call of the same getter.
// All require a chip state whose first chip has attributes and a unit, and an installed SdkShim. A module id
// of the chip above 64 raises the range error.
QUARRA_TCAM_API const bcm_pbmp_t &getPbmpEAll( const Scsd &scsd );    // ethernet ports
QUARRA_TCAM_API const bcm_pbmp_t &getPbmpAll( const Scsd &scsd );     // all ports
QUARRA_TCAM_API const bcm_pbmp_t &getPbmpCpu( const Scsd &scsd );     // the CPU's; no isVexProduct chip
QUARRA_TCAM_API const bcm_pbmp_t &getPbmpLbAll( const Scsd &scsd );   // loopback ports; no isVexProduct chip
QUARRA_TCAM_API const bcm_pbmp_t &getPbmpPortAll( const Scsd &scsd ); // front-panel ports

// Ports of configured interfaces. A port that was once active stays in the bitmap for the life of the process
// (known behaviour active-ports-stay). Requires no unit.
QUARRA_TCAM_API const bcm_pbmp_t &getActivePorts( const Scsd &scsd );

// Traces the bitmap at level 8. Requires an SdkShim when that level is on.
QUARRA_TCAM_API void printPbmp( const bcm_pbmp_t &pbmp, const char *name );

} // namespace QuarraTcam
