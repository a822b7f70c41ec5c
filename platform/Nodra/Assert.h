#pragma once

#include "Nodra/Export.h"
#include "Nodra/Text.h"

namespace Nodra {

// Collects what is streamed behind a failed assertion, prints one line on standard error and aborts:
// source path, ":", line, ": ", function signature, ": assertion failed: ", expression, message.
class NODRA_API AssertionFailure {
 public:
   AssertionFailure( const char *file, int line, const char *function, const char *expression );
   AssertionFailure( const AssertionFailure & ) = delete;
   AssertionFailure &operator=( const AssertionFailure & ) = delete;
   [[noreturn]] ~AssertionFailure();

   template <typename T>
   AssertionFailure &operator<<( const T &value ) {
      message_ << value;
      return *this;
   }

 private:
   const char *file_;
   int line_;
   const char *function_;
   const char *expression_;
   Text message_;
};

} // namespace Nodra

// An invariant: holds, or the process aborts with the text of the expression. Never compiled out, so an
// operation that must succeed may stand inside. A message may follow:
//
//    NODRA_ASSERT( x ) << " for tcamGroupId: " << id;
#define NODRA_ASSERT( ... ) NODRA_ASSERT_TEXT( ( __VA_ARGS__ ), #__VA_ARGS__ )

// The same where the fixed text is not how the condition is written. The text, a C string, is only asked for
// when the condition does not hold.
#define NODRA_ASSERT_TEXT( condition, text ) NODRA_ASSERT_OF( __PRETTY_FUNCTION__, condition, text )

// The same in a function that works for an operation: the line names the operation, by its signature.
#define NODRA_ASSERT_OF( operation, condition, text )                                                        \
   if ( static_cast<bool>( condition ) ) [[likely]] {                                                        \
   } else                                                                                                    \
      Nodra::AssertionFailure( __FILE__, __LINE__, operation, text )
