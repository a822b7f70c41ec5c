#include "Sdk/Bcmlt.h"
#include "simulator/ChipState.h"

// The chip's logical-table functions. A handle implies the unit.
using QuarraSimulator::callChip;
using QuarraSimulator::CallTarget;
using QuarraSimulator::ChipState;
using QuarraSimulator::Generation;
using QuarraSimulator::sdkFunction;

namespace {

const CallTarget anyHsdkUnit = { .generation = Generation::hsdk };

} // namespace

int bcmlt_entry_allocate( int unit, const char *table, bcmlt_entry_handle_t *entry ) {
   return callChip( sdkFunction( __func__ ), { .unit = unit, .generation = Generation::hsdk },
                    [ & ]( ChipState &chip ) { return chip.logicalTables.allocate( table, entry ); } );
}

int bcmlt_entry_field_add( bcmlt_entry_handle_t entry, const char *field, uint64_t value ) {
   return callChip( sdkFunction( __func__ ), anyHsdkUnit,
                    [ & ]( ChipState &chip ) { return chip.logicalTables.fieldAdd( entry, field, value ); } );
}

int bcmlt_entry_field_get( bcmlt_entry_handle_t entry, const char *field, uint64_t *value ) {
   return callChip( sdkFunction( __func__ ), anyHsdkUnit,
                    [ & ]( ChipState &chip ) { return chip.logicalTables.fieldGet( entry, field, value ); } );
}

int bcmlt_entry_commit( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode, bcmlt_priority_level_t priority ) {
   return callChip( sdkFunction( __func__ ), anyHsdkUnit, [ & ]( ChipState &chip ) {
      return chip.logicalTables.commit( entry, opcode, priority );
   } );
}

int bcmlt_entry_free( bcmlt_entry_handle_t entry ) {
   return callChip( sdkFunction( __func__ ), anyHsdkUnit,
                    [ & ]( ChipState &chip ) { return chip.logicalTables.free( entry ); } );
}
