#include "simulator/Tcam.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "simulator/PortTables.h"

namespace QuarraSimulator {
namespace {

using Kind = TcamEntry::Kind;

bool isRisingBits( U32 count, const U32 *bits ) {
   return count && bits && std::adjacent_find( bits, bits + count, std::greater_equal<>() ) == bits + count;
}

Kind kindOf( const Sdk::QualifierFrame &frame ) {
   return frame.sourceTrunkMapTable ? Kind::interfaceClassPort : Kind::aclGroup;
}

// The bits of the ports' value that the bits of a qualifier read.
std::vector<U32> bitsOfValue( const Sdk::QualifierFrame &frame, U32 count, const U32 *bits ) {
   std::vector<U32> result( bits, bits + count );
   for ( U32 &bit : result ) {
      bit += frame.firstBit;
   }
   return result;
}

} // namespace

bool Tcam::has( const Sdk::QualifierFrame &frame ) const {
   if ( frame.sourceTrunkMapTable ) {
      return sourceTrunkMapBits_ && std::ranges::count( PortTables::wordTables, frame.sourceTrunkMapTable );
   }
   return frame.firstBit <= frame.startBit && frame.startBit <= frame.endBit && frame.endBit < aclGroupBits_;
}

int Tcam::create( U32 entry, const Sdk::QualifierFrame &frame ) {
   if ( entry == 0 || !has( frame ) ) {
      return Code::parameter;
   }
   return entries_.try_emplace( entry, TcamEntry{ .frame = frame } ).second ? Code::ok : Code::exists;
}

int Tcam::install( U32 entry ) {
   const auto item = entries_.find( entry );
   if ( item == entries_.end() ) {
      return Code::notFound;
   }
   if ( auto changed = waiting_.extract( entry ) ) {
      item->second = changed.mapped();
      return Code::ok;
   }
   return std::exchange( item->second.installed, true ) ? Code::exists : Code::ok;
}

int Tcam::destroy( U32 entry ) {
   waiting_.erase( entry );
   return entries_.erase( entry ) ? Code::ok : Code::notFound;
}

int Tcam::takes( U32 entry, Kind kind ) const {
   const auto item = entries_.find( entry );
   if ( item == entries_.end() ) {
      return Code::notFound;
   }
   return kindOf( item->second.frame ) == kind ? Code::ok : Code::conflict;
}

TcamEntry &Tcam::written( U32 entry ) {
   auto &held = entries_.at( entry );
   return held.installed ? waiting_.try_emplace( entry, held ).first->second : held;
}

int Tcam::qualifyInterfaceClassPort( U32 entry, U32 data, U32 mask ) {
   if ( sourceTrunkMapBits_ == 0 ) {
      return Code::unavailable;
   }
   if ( mask >> sourceTrunkMapBits_ || data & ~mask ) {
      return Code::parameter;
   }
   const int code = takes( entry, Kind::interfaceClassPort );
   if ( code == Code::ok ) {
      auto &qualified = written( entry );
      qualified.kind = Kind::interfaceClassPort;
      qualified.data = data;
      qualified.mask = mask;
   }
   return code;
}

int Tcam::qualifyAclGroup( U32 entry, U32 dataCount, const U32 *data, U32 maskCount, const U32 *mask ) {
   if ( !isRisingBits( dataCount, data ) || !isRisingBits( maskCount, mask ) ||
        !std::includes( mask, mask + maskCount, data, data + dataCount ) ) {
      return Code::parameter;
   }
   if ( const int code = takes( entry, Kind::aclGroup ) ) {
      return code;
   }
   const auto frame = entries_.at( entry ).frame;
   if ( mask[ 0 ] + U64{ frame.firstBit } < frame.startBit ||
        mask[ maskCount - 1 ] + U64{ frame.firstBit } > frame.endBit ) {
      return Code::parameter;
   }
   auto &qualified = written( entry );
   qualified.kind = Kind::aclGroup;
   qualified.dataBits = bitsOfValue( frame, dataCount, data );
   qualified.maskBits = bitsOfValue( frame, maskCount, mask );
   return Code::ok;
}

} // namespace QuarraSimulator
