#pragma once

#include <stdint.h>

// The logical-table interface of the newer SDK, as far as class IDs need it. An entry handle is a working
// copy of one table entry: fields are put into it, a commit exchanges it with the table. Each function
// returns 0, or a negative code on error. The numbers behind opcodes and priorities come from the SDK shim.
#pragma GCC visibility push( default ) // found by the library also in an agent of hidden visibility
extern "C" {

typedef uint32_t bcmlt_entry_handle_t;
typedef int bcmlt_opcode_t;
typedef int bcmlt_priority_level_t;

int bcmlt_entry_allocate( int unit, const char *table, bcmlt_entry_handle_t *entry );
int bcmlt_entry_field_add( bcmlt_entry_handle_t entry, const char *field, uint64_t value );
int bcmlt_entry_field_get( bcmlt_entry_handle_t entry, const char *field, uint64_t *value );

// LOOKUP fills the handle's fields and fails when the table has no entry for the key fields; INSERT adds an
// entry, UPDATE changes the given fields of one.
int bcmlt_entry_commit( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode, bcmlt_priority_level_t priority );
int bcmlt_entry_free( bcmlt_entry_handle_t entry );
}
#pragma GCC visibility pop
