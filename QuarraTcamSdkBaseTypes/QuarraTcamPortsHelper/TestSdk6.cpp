#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/Sdk6Functions.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsHelper" );

namespace {

constexpr U32 shadowBits = 64;

} // namespace

QuarraTcamTestSdk6PortsHelper::QuarraTcamTestSdk6PortsHelper( Scsd scsd )
   : QuarraTcamSdk6PortsHelper( std::move( scsd ) ) {}

// Takes the bit off every port, drops the ports that have none left, then sets it on the group's.
void QuarraTcamTestSdk6PortsHelper::setAclGroupClassId( U8 bitToSet,
                                                        const IntfGroupInfo::PtrConst &intfGroup ) {
   TRACE( 1, "QuarraTcamTestSdk6PortsHelper::"
                << "setAclGroupClassId"
                << " bitToSet: " << bitToSet );
   NODRA_ASSERT( !!intfGroup );
   intfGroup->dumpTrace();
   for ( auto item = aclGroupShadow_.begin(); item != aclGroupShadow_.end(); ) {
      item->second->clear( bitToSet );
      item = item->second->count() ? std::next( item ) : aclGroupShadow_.erase( item );
   }
   if ( !intfGroup->ethernet() ) {
      for ( const auto &port : intfGroup->portId() ) {
         shadowBit( port.port(), bitToSet );
      }
      return;
   }
   TRACE( 4, "All ethernet is set, force programming to all 455 GPPs" );
   NODRA_ASSERT( !intfGroup->portIds() );
   // Known behaviour ethernet-511: ports 0 to 510 where the chip variant programs 1 to 511.
   for ( U16 port = 0; port <= 510; ++port ) {
      shadowBit( port, bitToSet );
   }
}

void QuarraTcamTestSdk6PortsHelper::shadowBit( U16 port, U8 bit ) {
   auto bitmap = aclGroupShadow( port );
   if ( !bitmap ) {
      bitmap = std::make_shared<Vesk::Bitmap>( port, shadowBits, Vesk::HBitmap::BitState::clear );
      aclGroupShadowIs( port, bitmap );
   }
   bitmap->set( bit );
}

QuarraTcamPortsHelper::Ptr quarraTcamTestSdk6PortsHelperFactory( const Scsd &scsd ) {
   requireSdk6();
   return std::make_shared<QuarraTcamTestSdk6PortsHelper>( scsd );
}

} // namespace QuarraTcam
