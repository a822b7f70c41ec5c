// The SDK of this agent: prints each call and says that it went well. A real one is the chip vendor's
// library. This one is for SDK6 chips: the functions of the logical-table SDK are left out.
#include <cstdio>

#include "Sdk/Bcm.h"

namespace {

void printList( const char *name, uint32_t count, const uint32_t *list ) {
   std::printf( " %s {", name );
   for ( uint32_t i = 0; i < count; ++i ) {
      std::printf( " %u", list[ i ] );
   }
   std::printf( " }" );
}

} // namespace

int bcm_subport_port_group_subport_multi_set( int, bcm_subport_port_group_t group, uint32_t count,
                                              const uint32_t *ports ) {
   std::printf( "bit %u on", group );
   printList( "ports", count, ports );
   std::printf( "\n" );
   return 0;
}

int vm_field_qualify_SubportGroupIds( int, uint32_t entry, uint32_t dataCount,
                                      const bcm_subport_port_group_t *data, uint32_t maskCount,
                                      const bcm_subport_port_group_t *mask ) {
   std::printf( "entry %u matches", entry );
   printList( "data", dataCount, data );
   printList( "mask", maskCount, mask );
   std::printf( "\n" );
   return 0;
}

// Never called: this agent has no entry in a source-trunk-map group.
int bcm_field_qualify_InterfaceClassPort( int, uint32_t, uint32_t, uint32_t ) {
   return -1;
}
