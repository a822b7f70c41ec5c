#include "agent/ChipBits.h"

#include <algorithm>

#include "Nodra/Trace.h"
#include "Sdk/SdkCall.h"

static Nodra::TraceHandle unitTrace( "TcamAgent" );

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

U32 bitsOf( const ChipConfig &chip ) {
   return U32{ chip.flexibleBits } + chip.fixedBits;
}

// ---- SDK6: the members of a bit, one call for all of them
// ---------------------------------------------------------------------------------------

std::optional<PortBits> readGroups( const TcamAgent &agent ) {
   const auto *const readBack = SdkShim->readBack();
   if ( !readBack ) {
      return std::nullopt;
   }
   PortBits found( U10::max + 1 );
   for ( U32 bit = 0; bit < bitsOf( agent.chip() ); ++bit ) {
      for ( const U32 port : readBack->subportPortGroupMembers( SdkShim->vmSingleUnit(), bit ) ) {
         found.at( port ).set( bit );
      }
   }
   return found;
}

void writeGroups( const TcamAgent &agent, const PortBits &expected, const PortBits &found ) {
   const int unit = SdkShim->vmSingleUnit();
   for ( U32 bitToSet = 0; bitToSet < bitsOf( agent.chip() ); ++bitToSet ) {
      std::vector<U32> sdkPorts;
      bool differs = false;
      for ( U32 port = 0; port < expected.size(); ++port ) {
         differs = differs || expected[ port ].test( bitToSet ) != found[ port ].test( bitToSet );
         if ( expected[ port ].test( bitToSet ) ) {
            sdkPorts.push_back( port );
         }
      }
      const auto size = static_cast<U32>( sdkPorts.size() );
      if ( differs ) {
         SDK_CALL( bcm_subport_port_group_subport_multi_set( unit, bitToSet, size, sdkPorts.data() ) );
      }
   }
}

// ---- HSDK: the fields of a system port's entry
// --------------------------------------------------------------------------------------------------

// A field of the entry, and the bits of the value that it holds.
struct Field {
   std::string name;
   U32 firstBit;
   U32 bits;
};

std::vector<Field> fieldsOf( const ChipConfig &chip ) {
   std::vector<Field> fields;
   for ( U32 bit = 0; bit < bitsOf( chip ); ++bit ) {
      const auto name = getAclGroupFieldType( static_cast<U8>( bit ) );
      if ( fields.empty() || fields.back().name != name ) {
         fields.push_back( { name, bit, 0 } );
      }
      ++fields.back().bits;
   }
   return fields;
}

U64 valueOf( const std::bitset<256> &bits, const Field &field ) {
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
   U64 get( const Field &field ) const {
      U64 value = 0;
      SDK_CALL( bcmlt_entry_field_get( entry_, field.name.c_str(), &value ) );
      return value;
   }
   void add( const Field &field, U64 value ) {
      SDK_CALL( bcmlt_entry_field_add( entry_, field.name.c_str(), value ) );
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

// The SDK6 twin keeps the bits in its shadow and leaves the chip's alone.
bool onTheChip( const TcamAgent &agent ) {
   return !dynamic_cast<QuarraTcamTestSdk6PortsHelper *>( agent.manager().portsHelper().get() );
}

} // namespace

PortBits expectedBits( const TcamAgent &agent ) {
   const auto &variant = agent.variant();
   const auto &ethernet = ethernetPortsOf( variant );
   PortBits expected(
      std::max<std::size_t>( U10::max + 1, agent.manager().portsHelper()->systemPortMax() + 1u ) );
   std::vector<bool> isCpuPort( expected.size() );
   const auto cpuPorts = intfGroupInfoFactory();
   agent.manager().portsHelper()->populateCpuIntfGroup( cpuPorts );
   for ( const auto &port : cpuPorts->portId() ) {
      isCpuPort[ port.port() ] = true;
   }
   const U32 numbers = portNumbers( variant.generation, agent.chip() );
   for ( const auto &[ bit, intfGroup ] : agent.manager().programmedBit() ) {
      for ( const auto &port : intfGroup->portId() ) {
         expected[ port.port() ].set( bit );
      }
      for ( U32 port = ethernet.first; intfGroup->ethernet() && port <= ethernet.last && port < numbers;
            ++port ) {
         if ( ethernet.cpuPorts || !isCpuPort[ port ] ) {
            expected[ port ].set( bit );
         }
      }
   }
   return expected;
}

std::optional<PortBits> readBits( const TcamAgent &agent ) {
   if ( !onTheChip( agent ) ) {
      return std::nullopt;
   }
   switch ( agent.variant().generation.sdk ) {
   case Sdk::Generation::sdk6:
      return readGroups( agent );
   case Sdk::Generation::hsdk:
      return readTable( agent );
   }
   return std::nullopt;
}

void writeBits( const TcamAgent &agent, const PortBits &expected, const PortBits &found ) {
   switch ( agent.variant().generation.sdk ) {
   case Sdk::Generation::sdk6:
      writeGroups( agent, expected, found );
      break;
   case Sdk::Generation::hsdk:
      writeTable( agent, expected, found );
      break;
   }
}

} // namespace QuarraAgent
