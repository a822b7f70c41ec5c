#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/SdkFunctions.h"

#include <span>

#include "Nodra/Assert.h"

namespace QuarraTcam {
namespace {

struct SdkFunction {
   const char *name;
   bool linked;
};

void require( const char *generation, std::span<const SdkFunction> functions ) {
   Nodra::Text missing;
   bool allFunctionsAreLinked = true;
   for ( const auto &function : functions ) {
      if ( !function.linked ) {
         missing << " " << function.name;
         allFunctionsAreLinked = false;
      }
   }
   NODRA_ASSERT( allFunctionsAreLinked )
      << " this process has no complete " << generation << " SDK; missing:" << missing.string();
}

} // namespace

void requireSdk6() {
   const SdkFunction functions[] = {
      { "bcm_subport_port_group_subport_multi_set", bcm_subport_port_group_subport_multi_set != nullptr },
      { "bcm_field_qualify_InterfaceClassPort", bcm_field_qualify_InterfaceClassPort != nullptr },
      { "vm_field_qualify_SubportGroupIds", vm_field_qualify_SubportGroupIds != nullptr },
   };
   require( "SDK6", functions );
}

void requireHsdk() {
   const SdkFunction functions[] = {
      { "bcmlt_entry_allocate", bcmlt_entry_allocate != nullptr },
      { "bcmlt_entry_field_add", bcmlt_entry_field_add != nullptr },
      { "bcmlt_entry_field_get", bcmlt_entry_field_get != nullptr },
      { "bcmlt_entry_commit", bcmlt_entry_commit != nullptr },
      { "bcmlt_entry_free", bcmlt_entry_free != nullptr },
      { "velmor_bcm_field_qualify_SubportGroupIds", velmor_bcm_field_qualify_SubportGroupIds != nullptr },
   };
   require( "HSDK", functions );
}

} // namespace QuarraTcam
