#include "simulator/Tcam.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace QuarraSimulator {
namespace {

bool isRisingBits( U32 count, const U32 *bits, U32 size ) {
   return count && bits && std::adjacent_find( bits, bits + count, std::greater_equal<>() ) == bits + count &&
          bits[ count - 1 ] < size;
}

} // namespace

int Tcam::create( U32 entry ) {
   if ( entry == 0 ) {
      return Code::parameter;
   }
   return entries_.try_emplace( entry ).second ? Code::ok : Code::exists;
}

int Tcam::destroy( U32 entry ) {
   return entries_.erase( entry ) ? Code::ok : Code::notFound;
}

int Tcam::qualifyInterfaceClassPort( U32 entry, U32 data, U32 mask ) {
   if ( sourceTrunkMapBits_ == 0 ) {
      return Code::unavailable;
   }
   if ( mask >> sourceTrunkMapBits_ || data & ~mask ) {
      return Code::parameter;
   }
   return qualify( entry, { .kind = TcamEntry::Kind::interfaceClassPort, .data = data, .mask = mask } );
}

int Tcam::qualifyAclGroup( U32 entry, U32 dataCount, const U32 *data, U32 maskCount, const U32 *mask ) {
   if ( !isRisingBits( dataCount, data, aclGroupBits_ ) || !isRisingBits( maskCount, mask, aclGroupBits_ ) ||
        !std::includes( mask, mask + maskCount, data, data + dataCount ) ) {
      return Code::parameter;
   }
   return qualify( entry, { .kind = TcamEntry::Kind::aclGroup,
                            .dataBits = { data, data + dataCount },
                            .maskBits = { mask, mask + maskCount } } );
}

int Tcam::qualify( U32 entry, TcamEntry qualified ) {
   const auto item = entries_.find( entry );
   if ( item == entries_.end() ) {
      return Code::notFound;
   }
   if ( item->second.kind != TcamEntry::Kind::none && item->second.kind != qualified.kind ) {
      return Code::conflict;
   }
   item->second = std::move( qualified );
   return Code::ok;
}

} // namespace QuarraSimulator
