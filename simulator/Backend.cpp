#include "simulator/Backend.h"

#include <cstdlib>

namespace QuarraSimulator {

std::unique_ptr<Backend> makeBackend( const ChipOptions &options ) {
   switch ( options.generation ) {
   case Generation::sdk6:
      return sdk6Backend( options );
   case Generation::hsdk:
      return hsdkBackend( options );
   }
   std::abort(); // no enumerator
}

Vesk::Bitmap bitmapOf( const AclGroupValue &value, U32 size ) {
   Vesk::Bitmap bitmap( 0, size, Vesk::HBitmap::BitState::clear );
   for ( U32 bit = 0; bit < size; ++bit ) {
      if ( value.test( bit ) ) {
         bitmap.set( bit );
      }
   }
   return bitmap;
}

} // namespace QuarraSimulator
