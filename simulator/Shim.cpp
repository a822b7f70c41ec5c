#include "Nodra/Assert.h"
#include "simulator/CallTrace.h"
#include "simulator/ChipState.h"
#include "simulator/LogicalTables.h"
#include "simulator/SimulatedChip.h"

// The chip's SDK shim.
namespace QuarraSimulator {
namespace {

constexpr U32 wordBits = 32;
constexpr U32 pbmpWords = 64;
constexpr U32 digitsOfWord = 8;
constexpr std::string_view hexPrefix = "0x";

} // namespace

int SimulatedChip::vmSingleUnit() const {
   return state_->options.unit;
}

const bcm_pbmp_t &SimulatedChip::pbmp( int unit, Sdk::PbmpKind kind ) const {
   NODRA_ASSERT( unit == state_->options.unit ) << " unit: " << unit;
   return state_->pbmps[ static_cast<std::size_t>( kind ) ];
}

bool SimulatedChip::pbmpMember( const bcm_pbmp_t &pbmp, U32 port ) const {
   return port < pbmpWords * wordBits && ( ( pbmp.pbits[ port / wordBits ] >> port % wordBits ) & 1u );
}

void SimulatedChip::pbmpPortAdd( bcm_pbmp_t &pbmp, U32 port ) const {
   NODRA_ASSERT( port < pbmpWords * wordBits ) << " port: " << port;
   pbmp.pbits[ port / wordBits ] |= U32{ 1 } << port % wordBits;
}

U32 SimulatedChip::pbmpFormatLength() const {
   return static_cast<U32>( hexPrefix.size() ) + pbmpWords * digitsOfWord + 1;
}

void SimulatedChip::pbmpFormat( const bcm_pbmp_t &pbmp, char *buffer ) const {
   constexpr U32 digitBits = wordBits / digitsOfWord;
   char *next = buffer + hexPrefix.copy( buffer, hexPrefix.size() );
   for ( U32 bit = pbmpWords * wordBits; bit > 0; ) {
      bit -= digitBits;
      *next++ = "0123456789abcdef"[ ( pbmp.pbits[ bit / wordBits ] >> bit % wordBits ) & 0xf ];
   }
   *next = '\0';
}

bcmlt_opcode_t SimulatedChip::opcode( Sdk::Opcode opcode ) const {
   return opcodeNumbers[ static_cast<std::size_t>( opcode ) ];
}

bcmlt_priority_level_t SimulatedChip::priorityNormal() const {
   return priorityNumber;
}

const char *SimulatedChip::errorText( int code ) const {
   return QuarraSimulator::errorText( code );
}

int SimulatedChip::fieldEntryCreate( int unit, U32 entry, const Sdk::QualifierFrame &frame ) {
   traceArguments( __func__, unit, entry );
   return state_->call( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      return chip.wroteEntry( entry, chip.tcam.create( entry, frame ) );
   } );
}

int SimulatedChip::fieldEntryInstall( int unit, U32 entry ) {
   return state_->call( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      return chip.wroteEntry( entry, chip.tcam.install( entry ) );
   } );
}

int SimulatedChip::fieldEntryDestroy( int unit, U32 entry ) {
   traceArguments( __func__, unit, entry );
   return state_->call( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      return chip.wroteEntry( entry, chip.tcam.destroy( entry ) );
   } );
}

int SimulatedChip::portTableSet( int unit, U8 table, const QuarraCentral::QuarraModPort &port, U32 value ) {
   traceArguments( __func__, unit, U32{ table }, port, value );
   return state_->call( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      const int code = chip.portTables.wordIs( table, port, value );
      if ( code == Code::ok ) {
         chip.wrotePort( port.port() );
      }
      return code;
   } );
}

} // namespace QuarraSimulator
