#pragma once

#include <string>

#include "Nodra/Export.h"
#include "Nodra/Ptr.h"
#include "Vesk/Bitmap.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// A match on the bits of a field: where `mask` has a bit, the field's bit must equal the one of `data`.
class BitmapQualifier {
 public:
   using Ptr = Nodra::Ptr<BitmapQualifier>;
   using PtrConst = Nodra::PtrConst<BitmapQualifier>;

   const Vesk::Bitmap::Ptr &data() const { return data_; }
   const Vesk::Bitmap::Ptr &mask() const { return mask_; }
   void dataIs( U64 id, U32 size, Vesk::HBitmap::BitState state ) {
      data_ = std::make_shared<Vesk::Bitmap>( id, size, state );
   }
   void maskIs( U64 id, U32 size, Vesk::HBitmap::BitState state ) {
      mask_ = std::make_shared<Vesk::Bitmap>( id, size, state );
   }

 private:
   Vesk::Bitmap::Ptr data_;
   Vesk::Bitmap::Ptr mask_;
};

inline BitmapQualifier::Ptr bitmapQualifierFactory() {
   return std::make_shared<BitmapQualifier>();
}

// The inclusive range of bits of the combined ACL-group value that a qualifier covers.
struct QualifierHintInfo {
   U8 startBit = 0;
   U8 endBit = 0;
};

// Sets the bits of `value` in the bitmap, from bit `offset` up. Clear bits of the value leave the bitmap's
// alone.
NODRA_API void updateBitmap( const Vesk::Bitmap::Ptr &bitmap, U64 value, U10 offset );

// The lowest `size` bits of a bitmap for traces: "0x28".
NODRA_API std::string getBitmapString( const Vesk::Bitmap::PtrConst &bitmap, U16 size );

} // namespace QuarraTcam
