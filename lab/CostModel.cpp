#include "lab/CostModel.h"

#include <algorithm>
#include <bit>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "lab/Who.h"

namespace QuarraLab {

U64 rowsFor( const QuarraAgent::ChipConfig &chip, U32 bits ) {
   return ( U64{ chip.ruleBits } + bits + chip.tcamRowBits - 1 ) / chip.tcamRowBits;
}

PortWrites::PortWrites( const Switch &theSwitch )
   : switch_( theSwitch ), writesBefore_( theSwitch.chip().portWrites() ), values_( keptValues() ) {}

std::vector<Vesk::Bitmap> PortWrites::keptValues() const {
   std::vector<Vesk::Bitmap> values;
   if ( switch_.agent().variant().aclGroupOf ) {
      for ( const auto &port : switch_.ports() ) {
         values.push_back( switch_.chip().aclGroup( port.port() ) );
      }
   }
   return values;
}

void PortWrites::step() {
   auto values = keptValues();
   for ( std::size_t i = 0; i < values.size(); ++i ) {
      changed_ += !( values[ i ] == values_[ i ] );
   }
   values_ = std::move( values );
}

U64 PortWrites::count() const {
   return switch_.chip().portWrites() - writesBefore_ + changed_;
}

namespace {

// A port that could join; one of the entry's own where it has them all.
QuarraModPort anotherPort( const Switch &theSwitch, const QuarraAgent::Entry &entry ) {
   const auto &own = entry.request.ports;
   for ( const auto &port : theSwitch.agent().chip().ports ) {
      if ( std::ranges::find( own, port.port ) == own.end() ) {
         return port.port;
      }
   }
   return own.front();
}

} // namespace

U64 writesOfAJoin( const Switch &theSwitch, const QuarraAgent::Entry &entry ) {
   if ( QuarraTcam::sourceTrunkMapTableOf( typeOf( entry.request.group ) ) || entry.request.ports.empty() ) {
      return 1;
   }
   const auto bits = std::popcount( holderOf( theSwitch.agent(), entry ).request->classId() );
   return static_cast<U64>( bits ) * theSwitch.chip().writesOfABit( anotherPort( theSwitch, entry ).port() );
}

U32 qualifierBits( const Switch &theSwitch, TcamGroupId group ) {
   return theSwitch.agent().manager().classIdHwStatus( typeOf( group ) )->size();
}

} // namespace QuarraLab
