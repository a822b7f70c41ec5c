#include "simulator/CallLog.h"

#include <algorithm>
#include <iterator>

#include "Nodra/Assert.h"

namespace QuarraSimulator {
namespace {

constexpr std::string_view functions[] = {
   "bcm_field_qualify_InterfaceClassPort",
   "bcm_subport_port_group_subport_multi_set",
   "bcmlt_entry_allocate",
   "bcmlt_entry_commit",
   "bcmlt_entry_field_add",
   "bcmlt_entry_field_get",
   "bcmlt_entry_free",
   "fieldEntryCreate",
   "fieldEntryDestroy",
   "portTableSet",
   "velmor_bcm_field_qualify_SubportGroupIds",
   "vm_field_qualify_SubportGroupIds",
};

bool isFunction( std::string_view name ) {
   return std::find( std::begin( functions ), std::end( functions ), name ) != std::end( functions );
}

} // namespace

std::span<const std::string_view> sdkFunctions() {
   return functions;
}

int CallLog::enter( std::string_view function ) {
   ++calls_;
   const auto count = counts_.find( function );
   if ( count == counts_.end() ) {
      NODRA_ASSERT( isFunction( function ) ) << " function: " << function;
      counts_.emplace( function, 1 );
   } else {
      ++count->second;
   }
   int code = 0;
   std::erase_if( failures_, [ & ]( Failure &failure ) {
      const bool concerned = failure.function.empty() || failure.function == function;
      if ( !concerned || --failure.callsLeft > 0 ) {
         return false;
      }
      code = code ? code : failure.code;
      return true;
   } );
   return code;
}

void CallLog::failCall( U64 nth, int code, const std::string &function ) {
   NODRA_ASSERT( nth > 0 );
   NODRA_ASSERT( code < 0 ) << " code: " << code;
   NODRA_ASSERT( function.empty() || isFunction( function ) ) << " function: " << function;
   failures_.push_back( { nth, code, function } );
}

} // namespace QuarraSimulator
