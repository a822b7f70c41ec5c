// The SDK shim of this agent: prints what it is asked for TCAM entries.
#include "shim.h"

#include <cstdio>

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
   int fieldEntryCreate( int, unsigned entry, const Sdk::QualifierFrame &frame ) override {
      return std::printf( "create entry %u on bits %u to %u\n", entry, frame.startBit, frame.endBit ) < 0;
   }
   int fieldEntryInstall( int, unsigned entry ) override {
      return std::printf( "install entry %u\n", entry ) < 0;
   }
   int fieldEntryDestroy( int, unsigned entry ) override {
      return std::printf( "destroy entry %u\n", entry ) < 0;
   }
   int portTableSet( int, unsigned char, const QuarraCentral::QuarraModPort &, unsigned ) override {
      return -1;
   }
};

PrintingShim shim;

} // namespace

void installShim() {
   SdkShim = &shim;
}
