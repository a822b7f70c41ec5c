#include "tools/Options.h"

namespace QuarraTool {

std::vector<SdkCallFailure> GlobalOptions::failures() const {
   std::vector<SdkCallFailure> failures;
   for ( const auto &text : failSdkCalls ) {
      failures.push_back( sdkCallFailure( text ) );
   }
   return failures;
}

ChipChoice GlobalOptions::choice() const {
   auto choice = defaultChoice( variant );
   choice.onlySwitchOfProcess = true;
   choice.failures = failures();
   return chipFile ? readChipFile( *chipFile, choice ) : choice;
}

} // namespace QuarraTool
