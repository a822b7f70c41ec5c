#include "tools/Options.h"

#include <algorithm>

#include <fmt/format.h>

#include "lab/TextFile.h"

namespace QuarraTool {

std::vector<SdkCallFailure> GlobalOptions::failures() const {
   std::vector<SdkCallFailure> failures;
   for ( const auto &text : failSdkCalls ) {
      failures.push_back( sdkCallFailure( text ) );
   }
   return failures;
}

void GlobalOptions::checkStandardInput( const std::vector<std::vector<std::string>> &named ) const {
   std::ptrdiff_t times = chipFile == "-";
   for ( const auto &files : named ) {
      times += std::ranges::count( files, "-" );
   }
   if ( times > 1 ) {
      throw InputError( fmt::format( "- is given {} times: standard input holds one file", times ) );
   }
}

ChipChoice GlobalOptions::choice() const {
   auto choice = defaultChoice( variant );
   choice.onlySwitchOfProcess = true;
   choice.failures = failures();
   return chipFile ? readChipFile( *chipFile, choice ) : choice;
}

} // namespace QuarraTool
