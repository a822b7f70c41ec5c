#include "QuarraTcam/BitmapQualifier.h"

#include <bit>

namespace QuarraTcam {

void updateBitmap( const Vesk::Bitmap::Ptr &bitmap, U64 value, U10 offset ) {
   for ( ; value; value &= value - 1 ) {
      bitmap->set( U32{ offset } + static_cast<U32>( std::countr_zero( value ) ) );
   }
}

std::string getBitmapString( const Vesk::Bitmap::PtrConst &bitmap, U16 size ) {
   if ( size >= bitmap->size() ) {
      return bitmap->hex();
   }
   Vesk::Bitmap low( 0, size, Vesk::HBitmap::BitState::clear );
   for ( const U32 bit : bitmap->setBits() ) {
      if ( bit < size ) {
         low.set( bit );
      }
   }
   return low.hex();
}

} // namespace QuarraTcam
