#include "Sdk/Bcm.h"
#include "simulator/ChipState.h"

// The chip's SDK6 functions, and the qualifiers of both generations.
using QuarraSimulator::callChip;
using QuarraSimulator::ChipState;
using QuarraSimulator::Generation;
using QuarraSimulator::sdkFunction;

int bcm_subport_port_group_subport_multi_set( int unit, bcm_subport_port_group_t group, uint32_t count,
                                              const uint32_t *ports ) {
   return callChip( sdkFunction( __func__ ), { .unit = unit, .generation = Generation::sdk6 },
                    [ & ]( ChipState &chip ) { return chip.portTables.membersIs( group, count, ports ); } );
}

int bcm_field_qualify_InterfaceClassPort( int unit, uint32_t entry, uint32_t data, uint32_t mask ) {
   return callChip( sdkFunction( __func__ ), { .unit = unit }, [ & ]( ChipState &chip ) {
      return chip.tcam.qualifyInterfaceClassPort( entry, data, mask );
   } );
}

int vm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                      const bcm_subport_port_group_t *data, uint32_t maskCount,
                                      const bcm_subport_port_group_t *mask ) {
   return callChip( sdkFunction( __func__ ), { .unit = unit, .generation = Generation::sdk6 },
                    [ & ]( ChipState &chip ) {
                       return chip.tcam.qualifyAclGroup( entry, dataCount, data, maskCount, mask );
                    } );
}

int velmor_bcm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                              const bcm_subport_port_group_t *data, uint32_t maskCount,
                                              const bcm_subport_port_group_t *mask, uint32_t classIdSize ) {
   return callChip( sdkFunction( __func__ ), { .unit = unit, .generation = Generation::hsdk },
                    [ & ]( ChipState &chip ) {
                       return classIdSize == chip.options.aclGroupBits
                                 ? chip.tcam.qualifyAclGroup( entry, dataCount, data, maskCount, mask )
                                 : QuarraSimulator::Code::parameter;
                    } );
}
