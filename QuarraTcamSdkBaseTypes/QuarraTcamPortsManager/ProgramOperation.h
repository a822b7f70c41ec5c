#pragma once

#include <string>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManager.h"

namespace QuarraTcam {

// The manager's operation that puts a class ID on ports.
struct ProgramOperation {
   bool ( QuarraTcamPortsManager::*program )( TcamGroupId tcamGroupId, const RequestKey &requestKey,
                                              U32 entryId, const IntfGroupInfo::PtrConst &intfGroup );
   const char *name;

   // The text of a failed call of it.
   std::string text( const char *arguments ) const { return std::string( name ) + "( " + arguments + " )"; }
};

constexpr ProgramOperation programOperation( ClassIdField field ) {
   switch ( field ) {
   case ClassIdField::sourceTrunkMapWord:
      return { &QuarraTcamPortsManager::programSourceTrunkMapClassId, "programSourceTrunkMapClassId" };
   case ClassIdField::aclGroupValue:
      break;
   }
   return { &QuarraTcamPortsManager::programAclGroupClassId, "programAclGroupClassId" };
}

} // namespace QuarraTcam
