// The SDK of this agent: prints each call and says that it went well. A real one is the chip vendor's
// library.
#include "sdk.h"

#include <cstdio>
#include <cstring>

namespace {

const bcm_pbmp_t noPorts{};

class PrintingShim : public Sdk::Shim {
 public:
   int vmSingleUnit() const override { return 0; }
   const bcm_pbmp_t &pbmp( int, Sdk::PbmpKind ) const override { return noPorts; }
   bool pbmpMember( const bcm_pbmp_t &pbmp, unsigned port ) const override {
      return port < 2048 && ( ( pbmp.pbits[ port / 32 ] >> port % 32 ) & 1 );
   }
   void pbmpPortAdd( bcm_pbmp_t &pbmp, unsigned port ) const override {
      pbmp.pbits[ port / 32 ] |= 1u << port % 32;
   }
   unsigned pbmpFormatLength() const override { return 1; }
   void pbmpFormat( const bcm_pbmp_t &, char *buffer ) const override { *buffer = 0; }
   bcmlt_opcode_t opcode( Sdk::Opcode opcode ) const override {
      return static_cast<bcmlt_opcode_t>( opcode );
   }
   bcmlt_priority_level_t priorityNormal() const override { return 0; }
   const char *errorText( int ) const override { return "no such thing in this SDK"; }
   int fieldEntryCreate( int, unsigned entry ) override {
      return std::printf( "create entry %u\n", entry ) < 0;
   }
   int fieldEntryDestroy( int, unsigned entry ) override {
      return std::printf( "destroy entry %u\n", entry ) < 0;
   }
   int portTableSet( int, unsigned char, const QuarraCentral::QuarraModPort &, unsigned ) override {
      return -1;
   }
};

void printList( const char *name, uint32_t count, const uint32_t *list ) {
   std::printf( " %s {", name );
   for ( uint32_t i = 0; i < count; ++i ) {
      std::printf( " %u", list[ i ] );
   }
   std::printf( " }" );
}

PrintingShim shim;

} // namespace

void installSdk() {
   SdkShim = &shim;
}

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

// Functions that this agent's chip does not have.
int bcm_field_qualify_InterfaceClassPort( int, uint32_t, uint32_t, uint32_t ) {
   return -1;
}
int velmor_bcm_field_qualify_SubportGroupIds( int, uint32_t, uint32_t, const bcm_subport_port_group_t *,
                                              uint32_t, const bcm_subport_port_group_t *, uint32_t ) {
   return -1;
}
int bcmlt_entry_allocate( int, const char *, bcmlt_entry_handle_t * ) {
   return -1;
}
int bcmlt_entry_field_add( bcmlt_entry_handle_t, const char *, uint64_t ) {
   return -1;
}
int bcmlt_entry_field_get( bcmlt_entry_handle_t, const char *, uint64_t * ) {
   return -1;
}
int bcmlt_entry_commit( bcmlt_entry_handle_t, bcmlt_opcode_t, bcmlt_priority_level_t ) {
   return -1;
}
int bcmlt_entry_free( bcmlt_entry_handle_t ) {
   return -1;
}
