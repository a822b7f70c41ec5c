#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "Sdk/SystemPortTable.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPorts" );

ClassIdTcamGroupsInfo classIdTcamGroupsInfo;

ClassIdTcamGroupConfig::Ptr classIdTcamGroupConfigFactory( TcamGroupId tcamGroupId ) {
   return std::make_shared<ClassIdTcamGroupConfig>( tcamGroupId );
}

ClassIdTcamGroupConfig::Ptr getGroupConfigType( TcamGroupId tcamGroupId, ClassIdType classIdType,
                                                U32 classIdPoolBits, U8 classIdPoolWidth, U8 classIdNumPools,
                                                ClassIdAllocationStrategy allocationType ) {
   auto config = classIdTcamGroupConfigFactory( tcamGroupId );
   config->classIdTypeIs( classIdType );
   config->classIdPoolBitsIs( classIdPoolBits );
   config->classIdPoolWidthIs( classIdPoolWidth );
   config->classIdNumPoolsIs( classIdNumPools );
   config->allocationTypeIs( allocationType );
   return config;
}

void addClassIdInfoToMap( TcamGroupId tcamGroupId, ClassIdTcamGroupConfig::Ptr classIdInfo ) {
   TRACE( 9, "addClassIdInfoToMap"
                << " TcamGroupId: " << tcamGroupId );
   NODRA_ASSERT( !!classIdInfo );
   NODRA_ASSERT( tcamGroupId == classIdInfo->tcamGroupId() );
   classIdTcamGroupsInfo.emplace( tcamGroupId, std::move( classIdInfo ) );
}

ClassIdTcamGroupConfig::Ptr getClassIdInfoForTcamGroup( TcamGroupId tcamGroupId ) {
   const auto item = classIdTcamGroupsInfo.find( tcamGroupId );
   if ( item == classIdTcamGroupsInfo.end() ) {
      TRACE( 2, "getClassIdInfoForTcamGroup"
                   << "classIdTcamGroupsInfo not found for " << tcamGroupId );
      return nullptr;
   }
   return item->second;
}

std::vector<TcamGroupId> getTcamGroups() {
   std::vector<TcamGroupId> groups;
   groups.reserve( classIdTcamGroupsInfo.size() );
   for ( const auto &[ tcamGroupId, config ] : classIdTcamGroupsInfo ) {
      groups.push_back( tcamGroupId );
   }
   return groups;
}

U8 getClassIdSize( ClassIdType classIdType, QuarraCentral::ChipInfo chipInfo ) {
   const auto &activeChipProfile = QuarraCentral::activeChipProfile( chipInfo );
   NODRA_ASSERT( activeChipProfile );
   const auto &attributes = activeChipProfile->tcamFeatureAttributes();
   NODRA_ASSERT( !!attributes );
   const auto *space = classIdSpace( classIdType );
   NODRA_ASSERT_TEXT( space, "0 && \"Invalid classId type\"" );
   return space->size( *attributes );
}

std::string getAclGroupFieldType( U8 bit ) {
   const auto *field = Sdk::aclGroupFieldOf( bit );
   NODRA_ASSERT_TEXT( field, "0 && \"invalid bit to set\"" );
   return field->name;
}

} // namespace QuarraTcam
