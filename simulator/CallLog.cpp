#include "simulator/CallLog.h"

#include "Nodra/Assert.h"

namespace QuarraSimulator {

int CallLog::enter( std::size_t function ) {
   ++calls_;
   ++counts_[ function ];
   int code = 0;
   std::erase_if( failures_, [ & ]( Failure &failure ) {
      const bool concerned = failure.function.empty() || failure.function == sdkFunctions[ function ];
      if ( !concerned || --failure.callsLeft > 0 ) {
         return false;
      }
      code = code ? code : failure.code;
      return true;
   } );
   return code;
}

std::map<std::string, U64> CallLog::counts() const {
   std::map<std::string, U64> counts;
   for ( std::size_t function = 0; function < counts_.size(); ++function ) {
      if ( counts_[ function ] ) {
         counts.emplace( sdkFunctions[ function ], counts_[ function ] );
      }
   }
   return counts;
}

void CallLog::failCall( U64 nth, int code, const std::string &function ) {
   NODRA_ASSERT( nth > 0 );
   NODRA_ASSERT( code < 0 ) << " code: " << code;
   NODRA_ASSERT( function.empty() || std::ranges::count( sdkFunctions, function ) )
      << " function: " << function;
   failures_.push_back( { nth, code, function } );
}

} // namespace QuarraSimulator
