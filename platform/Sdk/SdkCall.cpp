#include "Sdk/SdkCall.h"

#include <cstdio>

#include "Nodra/Assert.h"

Sdk::Shim *SdkShim = nullptr;

namespace Sdk {

void traceCode( const Nodra::TraceHandle &handle, const CallSite &site, int code ) {
   NODRA_TRACE( handle, 4, site.file << ":" << site.line << " " << site.text << " (rc:" << code << ")" );
}

void callFailed( const CallSite &site, int code ) {
   std::fprintf( stderr, "%s:%d %s API ERROR:%s (%d)\n", site.file, site.line, site.text,
                 ::SdkShim->errorText( code ), code );
   ::SdkShim->errorHook( code );
   Nodra::AssertionFailure( site.file, site.line, site.function, "0" );
}

} // namespace Sdk
