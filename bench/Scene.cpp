#include "bench/Scene.h"

#include "agent/ChipState.h"
#include "lab/Switch.h"

namespace QuarraBench {

using enum QuarraTcam::ClassIdType;
using enum QuarraTcam::ClassIdAllocationStrategy;

Scene::Scene( const char *variantName, U8 flexibleBits, U8 portBits ) {
   const auto &variant = *QuarraAgent::variantOf( variantName );
   auto config = QuarraAgent::defaultChip( variant.generation );
   config.flexibleBits = flexibleBits;
   config.portBits = portBits;
   chip_ = QuarraLab::makeChip( variant, config );
   manager_ = quarraTcamPortsManagerFactory( "bench" );
   QuarraAgent::bringUpManager( *manager_, variant, config );
   manager_->initializeHwBitmaps();
}

void Scene::group( TcamGroupId id, U8 width ) {
   addClassIdInfoToMap( id, getGroupConfigType( id, aclGroupFlexibleWidth, 0, width, 1, allocateOnDemand ) );
}

void Scene::join( TcamGroupId id, U32 entry, const IntfGroupInfo::PtrConst &intfGroup ) {
   const auto key = manager_->getRequestKey( id, entry, rule_, intfGroup );
   manager_->reserveClassIdForIntfGroup( id, key, entry, intfGroup );
   manager_->programClassIdForIntfGroup( id, key, entry, intfGroup );
}

void Scene::leave( TcamGroupId id, U32 entry ) {
   manager_->clearClassIdAndIntfGroup( id, manager_->getRequestKeyForEntryId( id, entry, rule_ ), entry );
}

IntfGroupInfo::Ptr ports( U32 first, U32 count, U32 step ) {
   auto intfGroup = intfGroupInfoFactory();
   for ( U32 n = 0; n < count; ++n ) {
      intfGroup->portIdIs( QuarraModPort( 0, first + n * step ) );
   }
   return intfGroup;
}

} // namespace QuarraBench
