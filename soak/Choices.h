#pragma once

#include <cstddef>
#include <vector>

#include "Nodra/Types.h"

namespace QuarraSoak {

using namespace Nodra::Types;

// Where a run's decisions come from: a seed, or the bytes of a fuzzer. The same source gives the same run on
// every compiler.
class Choices {
 public:
   virtual ~Choices() = default;

   // A number from 0 to limit - 1; limit is at least 1.
   virtual U32 below( U32 limit ) = 0;

   // Nothing is left to decide by.
   virtual bool ended() const { return false; }

   U32 between( U32 least, U32 most ) { return least + below( most - least + 1 ); }
   bool oneIn( U32 n ) { return below( n ) == 0; }
   template <typename Items>
   const auto &of( const Items &items ) {
      return items[ below( static_cast<U32>( items.size() ) ) ];
   }
};

class SeededChoices : public Choices {
 public:
   explicit SeededChoices( U64 seed ) : state_( seed ) {}

   U32 below( U32 limit ) override {
      state_ += 0x9e3779b97f4a7c15u;
      U64 z = state_;
      z = ( z ^ z >> 30 ) * 0xbf58476d1ce4e5b9u;
      z = ( z ^ z >> 27 ) * 0x94d049bb133111ebu;
      return static_cast<U32>( ( z ^ z >> 31 ) >> 32 ) % limit;
   }

 private:
   U64 state_;
};

// Bytes in turn; when they end, always 0.
class ByteChoices : public Choices {
 public:
   ByteChoices( const U8 *bytes, std::size_t count ) : next_( bytes ), end_( bytes + count ) {}

   U32 below( U32 limit ) override {
      U32 value = 0;
      for ( U32 range = limit - 1; range; range >>= 8 ) {
         value = value << 8 | ( ended() ? 0u : *next_++ );
      }
      return value % limit;
   }
   bool ended() const override { return next_ == end_; }

 private:
   const U8 *next_;
   const U8 *end_;
};

} // namespace QuarraSoak
