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
   return std::exchange( item->second.installed, true ) ? Code::exists : Code::ok;
}

int Tcam::destroy( U32 entry ) {
   return entries_.erase( entry ) ? Code::ok : Code::notFound;
}

Tcam::Place Tcam::place( U32 entry, Kind kind ) {
   const auto item = entries_.find( entry );
   if ( item == entries_.end() ) {
      return { Code::notFound };
   }
   if ( item->second.installed || kindOf( item->second.frame ) != kind ) {
      return { Code::conflict };
   }
   return { Code::ok, &item->second };
}

int Tcam::qualifyInterfaceClassPort( U32 entry, U32 data, U32 mask ) {
   if ( sourceTrunkMapBits_ == 0 ) {
      return Code::unavailable;
   }
   if ( mask >> sourceTrunkMapBits_ || data & ~mask ) {
      return Code::parameter;
   }
   const auto [ code, qualified ] = place( entry, Kind::interfaceClassPort );
   if ( qualified ) {
      qualified->kind = Kind::interfaceClassPort;
      qualified->data = data;
      qualified->mask = mask;
   }
   return code;
}

int Tcam::qualifyAclGroup( U32 entry, U32 dataCount, const U32 *data, U32 maskCount, const U32 *mask ) {
   if ( !isRisingBits( dataCount, data ) || !isRisingBits( maskCount, mask ) ||
        !std::includes( mask, mask + maskCount, data, data + dataCount ) ) {
      return Code::parameter;
   }
   const auto [ code, qualified ] = place( entry, Kind::aclGroup );
   if ( !qualified ) {
      return code;
   }
   const auto &frame = qualified->frame;
   if ( mask[ 0 ] + U64{ frame.firstBit } < frame.startBit ||
        mask[ maskCount - 1 ] + U64{ frame.firstBit } > frame.endBit ) {
      return Code::parameter;
   }
   qualified->kind = Kind::aclGroup;
   qualified->dataBits = bitsOfValue( frame, dataCount, data );
   qualified->maskBits = bitsOfValue( frame, maskCount, mask );
   return Code::ok;
}

} // namespace QuarraSimulator
