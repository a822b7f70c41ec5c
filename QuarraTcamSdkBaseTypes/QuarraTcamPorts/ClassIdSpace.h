#pragma once

#include <algorithm>
#include <array>

#include "QuarraCentral/PortTabWriteRequestDir.h"
#include "QuarraTcam/QuarraTcamFeatureAttributes.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"

// Not installed: what a class-ID type is, in one row for each. The library, the agent on it and all that
// shows what they hold ask here, so that a new enumerator is answered once, and the compiler names the
// switch.
namespace QuarraTcam {

// Where a port carries the class IDs of a space, which decides how a qualifier on them is encoded and what
// programs them.
enum class ClassIdField { sourceTrunkMapWord, aclGroupValue };

struct ClassIdSpace {
   using Bits = U8 ( * )( const QuarraTcamFeatureAttributes &attributes );

   ClassIdField field;
   U8 sourceTrunkMapTable; // the port table of the words; 0 for the ACL-group value
   Bits size;              // the space's bits on a chip; 0 means that the chip has no such space

   // Starts in the ACL-group value where the flexible-width space ends. Unions of its bits do not count those
   // below it (known behaviour fixed-width-union).
   bool aboveFlexibleBits;
   bool poolsComeWithGroup; // taken when a group is created and kept until it is deleted
};

// Both source-trunk-map types have words of one shape, each in a table of its own.
constexpr ClassIdSpace wordsOf( U8 sourceTrunkMapTable ) {
   return {
      .field = ClassIdField::sourceTrunkMapWord,
      .sourceTrunkMapTable = sourceTrunkMapTable,
      .size =
         []( const QuarraTcamFeatureAttributes &attributes ) {
            return attributes.sourceTrunkMapClassIdSize();
         },
      .aboveFlexibleBits = false,
      .poolsComeWithGroup = false,
   };
}
inline constexpr ClassIdSpace ifpSourceTrunkMapSpace = wordsOf( QuarraCentral::ifpSourceTrunkMapTable );
inline constexpr ClassIdSpace vfpSourceTrunkMapSpace = wordsOf( QuarraCentral::vfpSourceTrunkMapTable );
inline constexpr ClassIdSpace flexibleWidthSpace = {
   .field = ClassIdField::aclGroupValue,
   .sourceTrunkMapTable = 0,
   .size =
      []( const QuarraTcamFeatureAttributes &attributes ) { return attributes.aclGroupFlexibleWidthSize(); },
   .aboveFlexibleBits = false,
   .poolsComeWithGroup = false,
};
inline constexpr ClassIdSpace fixedWidthSpace = {
   .field = ClassIdField::aclGroupValue,
   .sourceTrunkMapTable = 0,
   .size =
      []( const QuarraTcamFeatureAttributes &attributes ) { return attributes.aclGroupFixedWidthSize(); },
   .aboveFlexibleBits = true,
   .poolsComeWithGroup = true,
};

// Of a type that is none.
inline constexpr ClassIdSpace noSpace = {
   .field = ClassIdField::aclGroupValue,
   .sourceTrunkMapTable = 0,
   .size = []( const QuarraTcamFeatureAttributes & ) { return U8{ 0 }; },
   .aboveFlexibleBits = false,
   .poolsComeWithGroup = false,
};

// The row of a type; noSpace for a type that is none.
constexpr const ClassIdSpace &rowOf( ClassIdType type ) {
   switch ( type ) {
   case ClassIdType::ifpSourceTrunkMap:
      return ifpSourceTrunkMapSpace;
   case ClassIdType::vfpSourceTrunkMap:
      return vfpSourceTrunkMapSpace;
   case ClassIdType::aclGroupFlexibleWidth:
      return flexibleWidthSpace;
   case ClassIdType::aclGroupFixedWidth:
      return fixedWidthSpace;
   case ClassIdType::classIdInvalid:
   case ClassIdType::classIdMax:
      break;
   }
   return noSpace;
}

// The space of a type; null for a type that is none.
inline const ClassIdSpace *classIdSpace( ClassIdType type ) {
   const auto &row = rowOf( type );
   return &row == &noSpace ? nullptr : &row;
}

// Whether groups of the type get their pools when they are created, and only then.
constexpr bool poolsComeWithGroup( ClassIdType type ) {
   return rowOf( type ).poolsComeWithGroup;
}

constexpr bool liesAboveFlexibleBits( ClassIdType type ) {
   return rowOf( type ).aboveFlexibleBits;
}

// The first bit of a type's space in its field, on a chip with so many flexible bits.
constexpr U8 firstBitOf( ClassIdType type, U8 flexibleBits ) {
   return liesAboveFlexibleBits( type ) ? flexibleBits : U8{ 0 };
}

// The port table of a type's words; 0 where the type has none.
constexpr U8 sourceTrunkMapTableOf( ClassIdType type ) {
   return rowOf( type ).sourceTrunkMapTable;
}

// The type whose words a table holds; classIdInvalid for another table.
constexpr ClassIdType typeOfSourceTrunkMapTable( U8 table ) {
   for ( const auto type : Nodra::enumerators<ClassIdType>() ) {
      if ( table && sourceTrunkMapTableOf( type ) == table ) {
         return type;
      }
   }
   return ClassIdType::classIdInvalid;
}

// The types that have words, by type.
inline constexpr auto sourceTrunkMapTypes = [] {
   constexpr auto all = Nodra::enumerators<ClassIdType>();
   std::array<ClassIdType, std::ranges::count_if( all, sourceTrunkMapTableOf )> types{};
   std::ranges::copy_if( all, types.begin(), sourceTrunkMapTableOf );
   return types;
}();

} // namespace QuarraTcam
