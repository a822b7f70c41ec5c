#include <algorithm>

#include "Nodra/Trace.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper/HsdkFunctions.h"
#include "Sdk/SdkCall.h"
#include "Sdk/SystemPortTable.h"
#include "agent/ChipBits.h"

static Nodra::TraceHandle unitTrace( "TcamAgent" );

// HSDK: the fields of a system port's entry.
namespace QuarraAgent {
namespace {

using Sdk::AclGroupField;

// The fields of which the chip has bits, each cut where the chip's value ends.
std::vector<AclGroupField> fieldsOf( const ChipConfig &chip ) {
   const U32 bits = aclGroupBits( chip );
   std::vector<AclGroupField> fields;
   for ( auto field : Sdk::aclGroupFields ) {
      if ( field.firstBit < bits ) {
         field.bits = static_cast<U8>( std::min<U32>( field.bits, bits - field.firstBit ) );
         fields.push_back( field );
      }
   }
   return fields;
}

U64 valueOf( const std::bitset<256> &bits, const AclGroupField &field ) {
   U64 value = 0;
   for ( U32 i = 0; i < field.bits; ++i ) {
      value |= U64{ bits.test( field.firstBit + i ) } << i;
   }
   return value;
}

// An entry in the making, freed when it goes.
class SystemPortEntry {
 public:
   explicit SystemPortEntry( U32 system_source ) {
      const int unit = SdkShim->vmSingleUnit();
      SDK_CALL( bcmlt_entry_allocate( unit, "ING_SYSTEM_PORT_TABLE", &entry_ ) );
      SDK_CALL( bcmlt_entry_field_add( entry_, "SYSTEM_SOURCE", system_source ) );
   }
   SystemPortEntry( const SystemPortEntry & ) = delete;
   SystemPortEntry &operator=( const SystemPortEntry & ) = delete;
   ~SystemPortEntry() { SDK_CALL( bcmlt_entry_free( entry_ ) ); }

   // Fills the fields with what the chip holds; false when it holds no entry.
   bool lookUp() {
      const auto lookup = SdkShim->opcode( Sdk::Opcode::lookup );
      const auto priority = SdkShim->priorityNormal();
      return SDK_TRY( bcmlt_entry_commit( entry_, lookup, priority ) ) >= 0;
   }
   U64 get( const AclGroupField &field ) const {
      U64 value = 0;
      SDK_CALL( bcmlt_entry_field_get( entry_, field.name, &value ) );
      return value;
   }
   void add( const AclGroupField &field, U64 value ) {
      SDK_CALL( bcmlt_entry_field_add( entry_, field.name, value ) );
   }
   void commit( bool there ) {
      const auto opcode = SdkShim->opcode( there ? Sdk::Opcode::update : Sdk::Opcode::insert );
      const auto priority = SdkShim->priorityNormal();
      SDK_CALL( bcmlt_entry_commit( entry_, opcode, priority ) );
   }

 private:
   bcmlt_entry_handle_t entry_{};
};

std::optional<PortBits> readTable( const TcamAgent &agent ) {
   const auto fields = fieldsOf( agent.chip() );
   PortBits found( U32{ agent.manager().portsHelper()->systemPortMax() } + 1 );
   for ( U32 port = 0; port < found.size(); ++port ) {
      SystemPortEntry entry( port );
      const bool there = entry.lookUp();
      for ( const auto &field : fields ) {
         const U64 value = there ? entry.get( field ) : 0;
         for ( U32 i = 0; i < field.bits; ++i ) {
            found[ port ].set( field.firstBit + i, value >> i & 1 );
         }
      }
   }
   return found;
}

// All fields of a port that differ in one commit: its value changes at once.
void writeTable( const TcamAgent &agent, const PortBits &expected, const PortBits &found ) {
   const auto fields = fieldsOf( agent.chip() );
   for ( U32 port = 0; port < found.size(); ++port ) {
      if ( expected[ port ] == found[ port ] ) {
         continue;
      }
      SystemPortEntry entry( port );
      const bool there = entry.lookUp();
      for ( const auto &field : fields ) {
         if ( const U64 value = valueOf( expected[ port ], field );
              value != valueOf( found[ port ], field ) ) {
            entry.add( field, value );
         }
      }
      entry.commit( there );
   }
}

} // namespace

constinit const BitsOnChip hsdkBitsOnChip = { .read = readTable, .write = writeTable };

} // namespace QuarraAgent
