#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include "Nodra/Export.h"
#include "Nodra/Ptr.h"
#include "Nodra/Types.h"

namespace Vesk {

using namespace Nodra::Types;

namespace HBitmap {

// How the bits of a new bitmap read. The value 1 means clear: callers that pass the bare number rely on it.
enum class BitState : U8 { set = 0, clear = 1 };

} // namespace HBitmap

// A bitmap of a fixed number of bits. A bit or range outside of it aborts; ranges are inclusive.
class NODRA_API Bitmap {
 public:
   using Ptr = Nodra::Ptr<Bitmap>;
   using PtrConst = Nodra::PtrConst<Bitmap>;

   Bitmap( U64 id, U32 size, HBitmap::BitState state );

   U64 id() const { return id_; }
   U32 size() const { return size_; }

   bool test( U32 bit ) const;
   void set( U32 bit ) { rangeSet( bit, bit ); }
   void clear( U32 bit ) { rangeClear( bit, bit ); }
   void rangeSet( U32 first, U32 last );
   void rangeClear( U32 first, U32 last );

   // Number of set bits, in a range or in all of the bitmap.
   U32 count( U32 first, U32 last ) const;
   U32 count() const { return size_ ? count( 0, size_ - 1 ) : 0; }
   bool anySet( U32 first, U32 last ) const;

   // Bits 64 * index and up, the lowest first; clear past the end.
   U64 word( U32 index ) const { return index < words().size() ? words()[ index ] : 0; }

   // Takes over the bits of `other`, which must have the same size.
   void copyFrom( const Bitmap &other );

   std::vector<U32> setBits() const; // in rising order
   bool operator==( const Bitmap &other ) const {
      return size_ == other.size_ && few_ == other.few_ && many_ == other.many_;
   }

   // "0x" and the value as hexadecimal digits, bit 0 the lowest, without leading zeros: "0x28".
   std::string hex() const;

 private:
   std::span<U64> words() { return many_.empty() ? few_ : std::span( many_ ); }
   std::span<const U64> words() const { return many_.empty() ? few_ : std::span( many_ ); }

   template <typename Action>
   void eachWord( U32 first, U32 last, Action action ) const;

   U64 id_;
   U32 size_;
   std::array<U64, 4> few_{};
   std::vector<U64> many_; // in place of the few, when there are more
};

} // namespace Vesk
