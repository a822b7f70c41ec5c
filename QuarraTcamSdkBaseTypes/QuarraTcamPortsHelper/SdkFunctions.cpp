#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"

#include "Nodra/Assert.h"

namespace QuarraTcam {

void requireSdk( const char *generation, std::span<const SdkFunction> functions ) {
   Nodra::Text missing;
   bool allFunctionsAreLinked = true;
   for ( const auto &function : functions ) {
      if ( !function.linked ) {
         missing << " " << function.name;
         allFunctionsAreLinked = false;
      }
   }
   NODRA_ASSERT( allFunctionsAreLinked )
      << " this process has no complete " << generation << " SDK; missing:" << missing.string();
}

} // namespace QuarraTcam
