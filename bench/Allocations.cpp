#include "bench/Allocations.h"

#include <cstdlib>
#include <new>

namespace {

unsigned long made = 0;

} // namespace

unsigned long QuarraBench::allocations() {
   return made;
}

void *operator new( std::size_t size ) {
   ++made;
   if ( void *const memory = std::malloc( size ) ) {
      return memory;
   }
   throw std::bad_alloc();
}
void operator delete( void *memory ) noexcept {
   std::free( memory );
}
void operator delete( void *memory, std::size_t ) noexcept {
   std::free( memory );
}
