#include <bit>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts.h"

namespace QuarraTcam {
namespace {

constexpr U32 wordBits = 64;

// The free bits of a word of the bitmap; the bits past its end are not free.
U64 freeBits( const Vesk::Bitmap &bitmap, U32 firstBit ) {
   const U32 left = bitmap.size() - firstBit;
   return ~bitmap.word( firstBit / wordBits ) & ( left < wordBits ? ( U64{ 1 } << left ) - 1 : ~U64{ 0 } );
}

// The bits where `bits` free ones start, all of them in this word.
U64 startsOfRuns( U64 free, U32 bits ) {
   for ( U32 found = 1; found < bits && free; ) {
      const U32 more = std::min( found, bits - found );
      free &= free >> more;
      found += more;
   }
   return free;
}

} // namespace

std::optional<U32> lowestFreeRun( const Vesk::Bitmap &bitmap, U32 bits ) {
   U32 freeBefore = 0; // free bits below this word, down to the next taken one
   for ( U32 firstBit = 0; firstBit < bitmap.size(); firstBit += wordBits ) {
      const U64 free = freeBits( bitmap, firstBit );
      if ( freeBefore + static_cast<U32>( std::countr_one( free ) ) >= bits ) {
         return firstBit - freeBefore;
      }
      if ( bits <= wordBits ) {
         if ( const U64 starts = startsOfRuns( free, bits ) ) {
            return firstBit + static_cast<U32>( std::countr_zero( starts ) );
         }
      }
      freeBefore = free == ~U64{ 0 } ? freeBefore + wordBits : static_cast<U32>( std::countl_one( free ) );
   }
   return std::nullopt;
}

} // namespace QuarraTcam
