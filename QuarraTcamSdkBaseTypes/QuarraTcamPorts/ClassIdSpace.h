#pragma once

#include <string>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"

// Internal to the library: all that it knows of a hardware class-ID space, told in one row for each.
namespace QuarraTcam {

// Where a port carries the class IDs of a space, which decides how a qualifier on them is encoded.
enum class ClassIdField { sourceTrunkMapWord, aclGroupValue };

struct ClassIdSpace {
   using Bits = U8 ( * )( const QuarraTcamFeatureAttributes &attributes );
   using Program = bool ( QuarraTcamPortsManager::* )( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                                       U32 entryId,
                                                       const IntfGroupInfo::PtrConst &intfGroup );

   ClassIdField field;
   Bits size;               // the space's bits on a chip; 0 means that the chip has no such space
   Bits firstBit;           // where it starts in the field
   bool poolsComeWithGroup; // taken when a group is created and kept until it is deleted
   Program program;         // the manager's operation that puts a class ID on ports
   const char *programName;

   // The text of a failed call of that operation.
   std::string programText( const char *arguments ) const {
      return std::string( programName ) + "( " + arguments + " )";
   }
};

// The space of a type; null for a type that is none.
const ClassIdSpace *classIdSpace( ClassIdType type );

// Whether groups of the type get their pools when they are created, and only then.
bool poolsComeWithGroup( ClassIdType type );

} // namespace QuarraTcam
