#pragma once

#include "lab/Switch.h"

// What TCAM keys cost on a chip: the numbers behind `apply` and `bench --peers`.
namespace QuarraLab {

// Bits of one port's number in a key.
inline constexpr U32 portNumberBits = 10;

// TCAM rows that one entry takes when its key holds so many bits besides the rule's own fields.
U64 rowsFor( const QuarraAgent::ChipConfig &chip, U32 bits );

// Bits of a class-ID qualifier of the group: all of its class-ID space.
U32 qualifierBits( const Switch &theSwitch, TcamGroupId group );

} // namespace QuarraLab
