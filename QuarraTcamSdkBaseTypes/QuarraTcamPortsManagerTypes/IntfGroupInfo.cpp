#include "Nodra/Assert.h"
#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManagerTypes.h"
#include "Zev/Hash.h"

namespace QuarraTcam {

static Nodra::TraceHandle unitTrace( "QuarraTcamPortsManagerTypes" );

bool IntfGroupInfo::portIdIs( const QuarraCentral::QuarraModPort &port ) {
   hash_.reset();
   return portId_.insert( port );
}

bool IntfGroupInfo::portIdDel( const QuarraCentral::QuarraModPort &port ) {
   hash_.reset();
   return portId_.erase( port );
}

void IntfGroupInfo::portIdDelAll() {
   hash_.reset();
   portId_.clear();
}

void IntfGroupInfo::ethernetIs( bool ethernet ) {
   hash_.reset();
   ethernet_ = ethernet;
}

// The ports in ascending order, then the flag: equal contents are mixed in the same order.
U32 IntfGroupInfo::hash() const {
   if ( !hash_ ) {
      Zev::Hash hash;
      for ( const auto &port : portId() ) {
         hash.mix( port.hash( 0 ) );
      }
      hash.mixByte( ethernet() );
      hash_ = hash.value();
   }
   return *hash_;
}

bool IntfGroupInfo::isEqual( const PtrConst &other ) const {
   NODRA_ASSERT( !!other && "Invalid IntfGroupInfo" );
   return portId() == other->portId() && ethernet() == other->ethernet();
}

void IntfGroupInfo::deepCopy( const PtrConst &other ) {
   NODRA_ASSERT( !!other && "Invalid IntfGroupInfo" );
   portId_ = other->portId_;
   ethernet_ = other->ethernet_;
   hash_ = other->hash_;
}

bool IntfGroupInfo::isEmpty() const {
   return !portIds() && !ethernet();
}

void IntfGroupInfo::dumpTrace() const {
   TRACE( 4, "   interfaces : " );
   for ( const auto &port : portId() ) {
      TRACE( 4, "   " << port );
   }
   TRACE( 4, "   ethernet : " << ethernet() );
}

std::ostream &operator<<( std::ostream &out, const IntfGroupInfo &intfGroup ) {
   out << "{";
   for ( const auto &port : intfGroup.portId() ) {
      out << " " << port;
   }
   return out << ( intfGroup.ethernet() ? " ethernet }" : " }" );
}

IntfGroupInfo::Ptr intfGroupInfoFactory() {
   return std::make_shared<IntfGroupInfo>();
}

IntfGroupHashToIntfGroupInfo::Ptr intfGroupHashToIntfGroupInfoFactory( U32 intfGroupHash ) {
   return std::make_shared<IntfGroupHashToIntfGroupInfo>( intfGroupHash );
}

} // namespace QuarraTcam
