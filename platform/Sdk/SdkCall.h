#pragma once

#include "Nodra/Export.h"
#include "Nodra/Locks.h"
#include "Nodra/Trace.h"
#include "Sdk/SdkShim.h"

// The one door to the SDK. A negative return code is fatal: one line on standard error, the shim's error
// hook, abort.
namespace Sdk {

struct CallSite {
   const char *file;
   int line;
   const char *function;
   const char *text;
};

NODRA_API void traceCode( const Nodra::TraceHandle &handle, const CallSite &site, int code );
[[noreturn]] NODRA_API void callFailed( const CallSite &site, int code );

// Traces the return code of a call and gives it back. The site, here and below, is a function that makes it,
// for few calls need theirs.
template <typename Site>
int traceCall( const Nodra::TraceHandle &handle, Site site, int code ) {
   if ( handle.isOn( 4 ) ) {
      traceCode( handle, site(), code );
   }
   return code;
}

// The same, but a negative code aborts the process.
template <typename Site>
void checkCall( const Nodra::TraceHandle &handle, Site site, int code ) {
   if ( code < 0 ) {
      callFailed( site(), code );
   }
   traceCall( handle, site, code );
}

// Makes a call with the agent's locks released for its time.
template <typename Call>
int callUnlocked( Call call ) {
   ::SdkShim->preCall();
   if ( !Nodra::interpreterLock().heldByThisThread() && !Nodra::activityLock().heldByThisThread() ) {
      return call(); // as mostly: nothing to release
   }
   const Nodra::LocksReleased released;
   return call();
}

} // namespace Sdk

// Makes an SDK call that must succeed. Traces through the handle of the source file, `unitTrace`. The text in
// traces and errors is the code of the call, or stands beside it.
#define SDK_CALL( ... ) SDK_CALL_TEXT( ( __VA_ARGS__ ), #__VA_ARGS__ )
#define SDK_CALL_TEXT( call, text )                                                                          \
   Sdk::checkCall( unitTrace, SDK_CALL_SITE( text ), Sdk::callUnlocked( [ & ] { return call; } ) )

// Makes an SDK call that may fail, and gives its return code.
#define SDK_TRY( ... ) SDK_TRY_TEXT( ( __VA_ARGS__ ), #__VA_ARGS__ )
#define SDK_TRY_TEXT( call, text )                                                                           \
   Sdk::traceCall( unitTrace, SDK_CALL_SITE( text ), Sdk::callUnlocked( [ & ] { return call; } ) )

#define SDK_CALL_SITE( text )                                                                                \
   [ function = __PRETTY_FUNCTION__ ] { return Sdk::CallSite{ __FILE__, __LINE__, function, text }; }
