#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/FirstChip.h"

namespace QuarraTcam {

using Ivrel::IntfId;
using QuarraTypes::QuarraPort;

bool intfToPortHas( const Scsd &scsd, const IntfId &intfId ) {
   NODRA_ASSERT( scsd );
   return firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ? scsd->quarraIntfToAclGroupKeyHas( intfId )
                                                             : scsd->quarraIntfToPortHas( intfId );
}

bool intfToPortCacheHas( const Scsd &scsd, const IntfId &intfId ) {
   NODRA_ASSERT( scsd );
   return firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ? scsd->quarraIntfToAclGroupKeyCacheHas( intfId )
                                                             : scsd->quarraIntfToPortCacheHas( intfId );
}

// A look-up that misses gives a default QuarraPort, which is the invalid port.
QuarraPort intfToPort( const Scsd &scsd, const IntfId &intfId ) {
   NODRA_ASSERT( scsd );
   const auto &port = scsd->quarraIntfToPort( intfId );
   if ( !firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ) {
      return port;
   }
   if ( !intfToPortHas( scsd, intfId ) ) {
      return QuarraPort();
   }
   return QuarraPort( port.modId(), port.chip(), scsd->quarraIntfToAclGroupKey( intfId ), 0 );
}

// Known behaviour cached-port-module: unlike intfToPort, the module id comes from the chip.
QuarraPort intfToPortCache( const Scsd &scsd, const IntfId &intfId ) {
   NODRA_ASSERT( scsd );
   if ( !firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ) {
      return scsd->quarraIntfToPortCache( intfId );
   }
   if ( !intfToPortCacheHas( scsd, intfId ) ) {
      return QuarraPort();
   }
   return QuarraPort( firstChip( scsd ).modId, scsd->defaultChip(),
                      scsd->quarraIntfToAclGroupKeyCache( intfId ), 0 );
}

IntfId portToIntf( const Scsd &scsd, const QuarraPort &port ) {
   NODRA_ASSERT( !!scsd );
   if ( !firstChipIsVexProduct( scsd, __PRETTY_FUNCTION__ ) ) {
      return scsd->quarraPortToIntf( port );
   }
   for ( const auto &[ intfId, aclGroupKey ] : scsd->quarraIntfToAclGroupKey() ) {
      if ( aclGroupKey == port.logicalPort() ) {
         return intfId;
      }
   }
   return IntfId();
}

} // namespace QuarraTcam
