#include "agent/PortTableService.h"

#include <unordered_set>

#include "Sdk/SdkCall.h"

namespace QuarraAgent {

static Nodra::TraceHandle unitTrace( "TcamAgent" );

void PortTableService::drain() {
   std::unordered_set<U64> written;
   const int unit = SdkShim->vmSingleUnit();
   lastWritten_.clear();
   for ( const auto &key : directory_->takePosted() ) {
      if ( !written.insert( key.packed() ).second ) {
         continue;
      }
      const U32 value = directory_->request( key );
      SDK_CALL( SdkShim->portTableSet( unit, key.table(), key.port(), value ) );
      ++wordsWritten_;
      lastWritten_.push_back( key );
   }
}

} // namespace QuarraAgent
