#include "Vesk/Bitmap.h"

#include <bit>

#include "Nodra/Assert.h"

namespace Vesk {
namespace {

constexpr U32 wordBits = 64;

} // namespace

Bitmap::Bitmap( U64 id, U32 size, HBitmap::BitState state )
   : id_( id ),
     size_( size ),
     many_( size > few_.size() * wordBits ? ( size + wordBits - 1 ) / wordBits : 0 ) {
   if ( size_ && state == HBitmap::BitState::set ) {
      rangeSet( 0, size_ - 1 );
   }
}

// Calls action( index of a word, the bits of the range in it ) for every word that the range touches.
template <typename Action>
void Bitmap::eachWord( U32 first, U32 last, Action action ) const {
   NODRA_ASSERT( first <= last && last < size_ ) << " bits " << first << " to " << last << " of " << size_;
   for ( U32 word = first / wordBits; word <= last / wordBits; ++word ) {
      U64 mask = ~U64{ 0 };
      if ( word == first / wordBits ) {
         mask &= ~U64{ 0 } << first % wordBits;
      }
      if ( word == last / wordBits ) {
         mask &= ~U64{ 0 } >> ( wordBits - 1 - last % wordBits );
      }
      action( word, mask );
   }
}

bool Bitmap::test( U32 bit ) const {
   NODRA_ASSERT( bit < size_ ) << " bit " << bit << " of " << size_;
   return ( words()[ bit / wordBits ] >> bit % wordBits ) & 1u;
}

void Bitmap::rangeSet( U32 first, U32 last ) {
   eachWord( first, last, [ words = words() ]( U32 word, U64 mask ) { words[ word ] |= mask; } );
}

void Bitmap::rangeClear( U32 first, U32 last ) {
   eachWord( first, last, [ words = words() ]( U32 word, U64 mask ) { words[ word ] &= ~mask; } );
}

U32 Bitmap::count( U32 first, U32 last ) const {
   int found = 0;
   eachWord( first, last, [ & ]( U32 word, U64 mask ) { found += std::popcount( words()[ word ] & mask ); } );
   return static_cast<U32>( found );
}

bool Bitmap::anySet( U32 first, U32 last ) const {
   U64 found = 0;
   eachWord( first, last, [ & ]( U32 word, U64 mask ) { found |= words()[ word ] & mask; } );
   return found != 0;
}

void Bitmap::copyFrom( const Bitmap &other ) {
   NODRA_ASSERT( size_ == other.size_ );
   few_ = other.few_;
   many_ = other.many_;
}

std::vector<U32> Bitmap::setBits() const {
   std::vector<U32> bits;
   for ( U32 word = 0; word < words().size(); ++word ) {
      for ( U64 rest = words()[ word ]; rest; rest &= rest - 1 ) {
         bits.push_back( word * wordBits + static_cast<U32>( std::countr_zero( rest ) ) );
      }
   }
   return bits;
}

std::string Bitmap::hex() const {
   constexpr U32 digitBits = 4;
   std::string digits;
   for ( U32 bit = 0; bit < words().size() * wordBits; bit += digitBits ) {
      digits += "0123456789abcdef"[ ( words()[ bit / wordBits ] >> bit % wordBits ) & 0xf ];
   }
   digits.resize( std::min( digits.size(), digits.find_last_not_of( '0' ) + 1 ) );
   return "0x" + ( digits.empty() ? std::string( "0" ) : std::string( digits.rbegin(), digits.rend() ) );
}

} // namespace Vesk
