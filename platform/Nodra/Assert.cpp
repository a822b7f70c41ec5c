#include "Nodra/Assert.h"

#include <cstdio>
#include <cstdlib>

namespace Nodra {

AssertionFailure::AssertionFailure( const char *file, int line, const char *function, const char *expression )
   : file_( file ), line_( line ), function_( function ), expression_( expression ) {}

AssertionFailure::~AssertionFailure() {
   std::fprintf( stderr, "%s:%d: %s: assertion failed: %s%s\n", file_, line_, function_, expression_,
                 message_.string().c_str() );
   std::fflush( stderr );
   std::abort();
}

} // namespace Nodra
