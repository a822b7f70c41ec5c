#pragma once

#include <stdint.h>

// The SDK6 interface of the chip, as far as class IDs need it. Whoever provides the SDK defines these
// functions: the library is linked against them. Each returns 0, or a negative code on error.
#pragma GCC visibility push( default ) // found by the library also in an agent of hidden visibility
extern "C" {

// A port bitmap of 2048 bits.
struct _shr_pbmp {
   uint32_t pbits[ 64 ];
};
typedef struct _shr_pbmp bcm_pbmp_t;

typedef uint32_t bcm_subport_port_group_t;

// Makes the listed ports the members of a subport port group: they carry the group's bit, all other ports do
// not.
int bcm_subport_port_group_subport_multi_set( int unit, bcm_subport_port_group_t group, uint32_t count,
                                              const uint32_t *ports );

// Qualifies a TCAM entry on the class value of the ingress port's source-trunk-map word.
int bcm_field_qualify_InterfaceClassPort( int unit, uint32_t entry, uint32_t data, uint32_t mask );

// Qualifies a TCAM entry on ACL-group bits: bits of the mask must read as in the data. Lists of bit
// positions.
int vm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                      const bcm_subport_port_group_t *data, uint32_t maskCount,
                                      const bcm_subport_port_group_t *mask );

// The same on chips of the logical-table SDK, which are told the width of the ACL-group value.
int velmor_bcm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                              const bcm_subport_port_group_t *data, uint32_t maskCount,
                                              const bcm_subport_port_group_t *mask, uint32_t classIdSize );
}
#pragma GCC visibility pop
