#pragma once

#include "Nodra/Export.h"
#include "QuarraCentral/QuarraModPort.h"
#include "Sdk/Bcm.h"
#include "Sdk/Bcmlt.h"
#include "Sdk/QualifierFrame.h"
#include "Sdk/ReadBack.h"

namespace Sdk {

using namespace Nodra::Types;

enum class PbmpKind { ethernet, all, cpu, loopback, frontPanel };
enum class Opcode { lookup, insert, update };

// The agent's access to the SDK: what differs between SDK releases, and what the agent needs beside the
// functions that the library calls by name. Installed in SdkShim by whoever provides the SDK.
class NODRA_API Shim {
 public:
   virtual ~Shim() = default;

   // The unit number of the switch's one chip.
   virtual int vmSingleUnit() const = 0;

   // The unit's standard port bitmaps.
   virtual const bcm_pbmp_t &pbmp( int unit, PbmpKind kind ) const = 0;

   // Port bitmaps; ports from 0 to 2047. The formatter writes at most pbmpFormatLength characters, the
   // closing zero among them.
   virtual bool pbmpMember( const bcm_pbmp_t &pbmp, U32 port ) const = 0;
   virtual void pbmpPortAdd( bcm_pbmp_t &pbmp, U32 port ) const = 0;
   virtual U32 pbmpFormatLength() const = 0;
   virtual void pbmpFormat( const bcm_pbmp_t &pbmp, char *buffer ) const = 0;

   // The SDK's own numbers.
   virtual bcmlt_opcode_t opcode( Opcode opcode ) const = 0;
   virtual bcmlt_priority_level_t priorityNormal() const = 0;
   virtual const char *errorText( int code ) const = 0;

   // Hooks around every call: before it, and after one that failed.
   virtual void preCall() {}
   virtual void errorHook( int /*code*/ ) {}

   // TCAM entries by id, and words of the port tables. Each returns 0, or a negative code on error. An entry
   // is created, then gets its qualifiers, and matches nothing before it is installed.
   virtual int fieldEntryCreate( int unit, U32 entry, const QualifierFrame &frame ) = 0;
   virtual int fieldEntryInstall( int unit, U32 entry ) = 0;
   virtual int fieldEntryDestroy( int unit, U32 entry ) = 0;
   virtual int portTableSet( int unit, U8 table, const QuarraCentral::QuarraModPort &port, U32 value ) = 0;

   // Null where the SDK cannot read back what the chip holds.
   virtual const ReadBack *readBack() const { return nullptr; }
};

} // namespace Sdk

// The installed shim; null until the SDK is there.
extern NODRA_API Sdk::Shim *SdkShim;
