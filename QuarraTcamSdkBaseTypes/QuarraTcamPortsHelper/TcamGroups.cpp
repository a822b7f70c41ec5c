#include <algorithm>

#include "QuarraTcam/QuarraTcamCommonData.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"

// Which TCAM groups a chip has, and how the class IDs of each are shaped: tables to be read line by line.
namespace QuarraTcam {
namespace {

constexpr U16 everyChipsGroups[] = {
   1,  2,  6,   3,   5,  18, 19, 20, 21, 22, 23, 24,  25,  26, 27, 28, 29,  30,
   31, 32, 33,  10,  16, 11, 12, 15, 17, 13, 14, 51,  55,  38, 52, 39, 40,  42,
   43, 56, 108, 132, 66, 88, 89, 90, 91, 92, 94, 102, 246, 53, 54, 59, 109, 129,
};
constexpr U16 simulatedGroups[] = { 47, 120, 238 };
constexpr U16 hsdkGroups[] = { 3, 47, 48, 44, 45 };

// How the groups of a chip that are no system groups use class IDs. The twin's answers are the simulation's,
// where they differ.
struct GroupShape {
   U16 tcamGroupId;
   ClassIdType type;
   ClassIdType twinType;
   U8 width;
   U8 twinWidth;
   U32 poolBits = 0; // other than 0: the offset is fixed
};

using enum ClassIdType;

constexpr auto ifp = ifpSourceTrunkMap;
constexpr auto vfp = vfpSourceTrunkMap;
constexpr auto flexible = aclGroupFlexibleWidth;
constexpr auto fixed = aclGroupFixedWidth;

constexpr GroupShape sdk6Shapes[] = {
   { 13, flexible, flexible, 1, 1 },  { 14, flexible, flexible, 1, 1 },
   { 15, flexible, flexible, 4, 1 },  { 42, flexible, flexible, 1, 1 },
   { 43, flexible, flexible, 1, 1 },  { 44, flexible, flexible, 1, 1 },
   { 45, flexible, flexible, 1, 1 },  { 51, ifp, ifp, 1, 1 },
   { 52, flexible, flexible, 1, 1 },  { 55, flexible, flexible, 1, 1 },
   { 56, flexible, flexible, 1, 1 },  { 59, flexible, flexible, 1, 1 },
   { 88, ifp, ifp, 1, 1, 32 },        { 89, ifp, ifp, 1, 1, 32 },
   { 90, ifp, ifp, 1, 1, 32 },        { 91, ifp, ifp, 1, 1, 32 },
   { 92, ifp, ifp, 1, 1, 32 },        { 94, ifp, ifp, 1, 1, 32 },
   { 102, ifp, ifp, 1, 1, 32 },       { 108, flexible, flexible, 1, 1 },
   { 120, ifp, ifp, 4, 4 },           { 129, ifp, ifp, 1, 1 },
   { 132, flexible, flexible, 1, 1 }, { 238, vfp, vfp, 4, 4 },
};
constexpr GroupShape sdk6OtherGroups = { 0, flexible, flexible, 4, 4 };

constexpr GroupShape hsdkShapes[] = {
   { 10, fixed, flexible, 8, 4 },    { 11, fixed, flexible, 8, 4 },    { 13, fixed, fixed, 1, 1 },
   { 14, fixed, fixed, 1, 1 },       { 15, fixed, flexible, 8, 1 },    { 38, fixed, flexible, 8, 4 },
   { 42, fixed, fixed, 1, 1 },       { 43, fixed, fixed, 1, 1 },       { 44, fixed, fixed, 1, 1 },
   { 45, fixed, fixed, 1, 1 },       { 47, fixed, flexible, 1, 4 },    { 48, fixed, fixed, 1, 1 },
   { 51, fixed, fixed, 1, 1 },       { 52, fixed, fixed, 1, 1 },       { 55, fixed, fixed, 1, 1 },
   { 56, fixed, fixed, 1, 1 },       { 59, fixed, fixed, 1, 1 },       { 88, flexible, flexible, 1, 1 },
   { 89, flexible, flexible, 1, 1 }, { 90, flexible, flexible, 1, 1 }, { 91, flexible, flexible, 1, 1 },
   { 92, flexible, flexible, 1, 1 }, { 94, flexible, flexible, 1, 1 }, { 102, flexible, flexible, 1, 1 },
   { 108, fixed, fixed, 1, 1 },      { 109, fixed, fixed, 1, 1 },      { 132, fixed, fixed, 1, 1 },
};
constexpr GroupShape hsdkOtherGroups = { 0, fixed, fixed, 8, 8 };

// Type and width of system groups: one bit a rule in the flexible space, on every chip. Their pool bits are
// those of their rows.
constexpr GroupShape systemGroups = { 0, flexible, flexible, 1, 1 };

template <std::size_t n>
const GroupShape &shapeOf( const GroupShape ( &shapes )[ n ], const GroupShape &others,
                           TcamGroupId tcamGroupId ) {
   const auto *shape = std::lower_bound(
      std::begin( shapes ), std::end( shapes ), tcamGroupId.value(),
      []( const GroupShape &candidate, U16 group ) { return candidate.tcamGroupId < group; } );
   return shape != std::end( shapes ) && shape->tcamGroupId == tcamGroupId.value() ? *shape : others;
}

const GroupShape &sdk6Shape( TcamGroupId tcamGroupId ) {
   return isSystemAclGroup( tcamGroupId ) ? systemGroups
                                          : shapeOf( sdk6Shapes, sdk6OtherGroups, tcamGroupId );
}

const GroupShape &hsdkShape( TcamGroupId tcamGroupId ) {
   return isSystemAclGroup( tcamGroupId ) ? systemGroups
                                          : shapeOf( hsdkShapes, hsdkOtherGroups, tcamGroupId );
}

template <std::size_t n>
void addGroups( TcamGroupSet &groups, const U16 ( &numbers )[ n ] ) {
   for ( const U16 number : numbers ) {
      groups.tcamGroupIs( number );
   }
}

} // namespace

TcamGroupSet QuarraTcamPortsHelper::setTcamGroups() {
   TcamGroupSet groups;
   addGroups( groups, everyChipsGroups );
   if ( isSimulation() ) {
      addGroups( groups, simulatedGroups );
   }
   return groups;
}

TcamGroupSet QuarraTcamHSDKPortsHelper::setTcamGroups() {
   auto groups = QuarraTcamPortsHelper::setTcamGroups();
   addGroups( groups, hsdkGroups );
   return groups;
}

ClassIdType QuarraTcamSdk6PortsHelper::getClassIdTypeForGroup( TcamGroupId tcamGroupId ) {
   return sdk6Shape( tcamGroupId ).type;
}

U32 QuarraTcamSdk6PortsHelper::getPoolBitsForGroup( TcamGroupId tcamGroupId ) {
   return shapeOf( sdk6Shapes, sdk6OtherGroups, tcamGroupId ).poolBits;
}

U8 QuarraTcamSdk6PortsHelper::getPoolWidthForGroup( TcamGroupId tcamGroupId ) {
   return sdk6Shape( tcamGroupId ).width;
}

U8 QuarraTcamSdk6PortsHelper::getNumberOfPoolsForGroup( TcamGroupId ) {
   return 1;
}

// Not every source-trunk-map type counts: groups of vfpSourceTrunkMap are allocated on demand.
bool QuarraTcamSdk6PortsHelper::isSourceTrunkMapGroup( TcamGroupId tcamGroupId ) {
   return getClassIdTypeForGroup( tcamGroupId ) == ifpSourceTrunkMap;
}

U8 QuarraTcamTestSdk6PortsHelper::getPoolWidthForGroup( TcamGroupId tcamGroupId ) {
   return sdk6Shape( tcamGroupId ).twinWidth;
}

ClassIdType QuarraTcamHSDKPortsHelper::getClassIdTypeForGroup( TcamGroupId tcamGroupId ) {
   return hsdkShape( tcamGroupId ).type;
}

U32 QuarraTcamHSDKPortsHelper::getPoolBitsForGroup( TcamGroupId ) {
   return 0;
}

U8 QuarraTcamHSDKPortsHelper::getPoolWidthForGroup( TcamGroupId tcamGroupId ) {
   return hsdkShape( tcamGroupId ).width;
}

U8 QuarraTcamHSDKPortsHelper::getNumberOfPoolsForGroup( TcamGroupId ) {
   return 1;
}

bool QuarraTcamHSDKPortsHelper::isSourceTrunkMapGroup( TcamGroupId ) {
   return false;
}

ClassIdType QuarraTcamTestHSDKPortsHelper::getClassIdTypeForGroup( TcamGroupId tcamGroupId ) {
   return hsdkShape( tcamGroupId ).twinType;
}

// Known behaviour twin-widths: they hold for a group of the table even where it is a system group.
U8 QuarraTcamTestHSDKPortsHelper::getPoolWidthForGroup( TcamGroupId tcamGroupId ) {
   const auto &shape = shapeOf( hsdkShapes, hsdkOtherGroups, tcamGroupId );
   return shape.width != shape.twinWidth ? shape.twinWidth
                                         : QuarraTcamHSDKPortsHelper::getPoolWidthForGroup( tcamGroupId );
}

} // namespace QuarraTcam
