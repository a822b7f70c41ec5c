#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "soak/Soak.h"

// A stream of operations on a switch and on the model of it: the bytes choose the variant, the chip and every
// operation. They may not part.
extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   using namespace QuarraSoak;
   constexpr U32 mostOperations = 40;
   ByteChoices choices( data, size );
   const auto variants = QuarraAgent::variants();
   const auto &variant = variants[ choices.below( static_cast<U32>( variants.size() ) ) ];
   Tally tally;
   const auto difference = playEpisode( variant, choices, mostOperations, tally, nullptr );
   if ( !difference.empty() ) {
      std::fprintf( stderr, "broken: library and model part: %s\n", difference.c_str() );
      std::abort();
   }
   return 0;
}
