#pragma once

#include <bit>
#include <cstring>
#include <string_view>

#include "Nodra/Types.h"

namespace Zev {

using namespace Nodra::Types;

// Spreads every bit of a word over all of it (the finalizer of MurmurHash3).
constexpr U32 spread( U32 word ) {
   word ^= word >> 16;
   word *= 0x85ebca6bu;
   word ^= word >> 13;
   word *= 0xc2b2ae35u;
   return word ^ ( word >> 16 );
}

// An incremental 32-bit hash (MurmurHash3 over the words mixed in, each word or byte a block of its own). It
// starts from a zero state; the order of mixing matters.
class Hash {
 public:
   constexpr explicit Hash( U32 seed = 0 ) : state_( seed ) {}

   constexpr void mix( U32 word ) {
      block( word );
      state_ = std::rotl( state_, 13 ) * 5 + 0xe6546b64u;
      bytes_ += 4;
   }
   constexpr void mixByte( U8 byte ) {
      block( byte );
      bytes_ += 1;
   }
   constexpr U32 value() const { return spread( state_ ^ bytes_ ); }

 private:
   constexpr void block( U32 word ) { state_ ^= std::rotl( word * 0xcc9e2d51u, 15 ) * 0x1b873593u; }

   U32 state_;
   U32 bytes_ = 0;
};

inline U32 hash( std::string_view text, U32 seed = 0 ) {
   Hash hash( seed );
   while ( text.size() >= sizeof( U32 ) ) {
      U32 word;
      std::memcpy( &word, text.data(), sizeof( word ) );
      hash.mix( word );
      text.remove_prefix( sizeof( word ) );
   }
   for ( const char c : text ) {
      hash.mix( static_cast<U8>( c ) );
   }
   return hash.value();
}

} // namespace Zev
