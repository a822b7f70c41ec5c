#pragma once

#include <array>
#include <bit>
#include <map>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsManagerTypes.h"

namespace QuarraTcam {

// A union of port sets in the making: a bitmap for each module, so that adding a port costs the same however
// many there are.
class PortUnion {
 public:
   void add( const IntfGroupInfo &intfGroup ) {
      for ( const auto &port : intfGroup.portId() ) {
         if ( !words_ || port.modId() != module_ ) {
            module_ = port.modId();
            words_ = &modules_[ module_ ];
         }
         ( *words_ )[ port.port() / 64 ] |= U64{ 1 } << port.port() % 64;
      }
   }

   // Adds the ports, in ascending order, to a group.
   void addTo( IntfGroupInfo &intfGroup ) const {
      for ( const auto &[ module, words ] : modules_ ) {
         for ( U32 word = 0; word < words.size(); ++word ) {
            for ( U64 rest = words[ word ]; rest; rest &= rest - 1 ) {
               intfGroup.portIdIs( { module, word * 64 + static_cast<U32>( std::countr_zero( rest ) ) } );
            }
         }
      }
   }

 private:
   using Words = std::array<U64, ( U10::max + 1 ) / 64>;

   std::map<QuarraCentral::ModId, Words> modules_;
   QuarraCentral::ModId module_;
   Words *words_ = nullptr; // of module_
};

} // namespace QuarraTcam
