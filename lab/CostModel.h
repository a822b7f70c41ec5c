#pragma once

#include "lab/Switch.h"

// What TCAM keys cost on a chip: the numbers behind `apply` and `bench --peers`.
namespace QuarraLab {

// Bits of one port's number in a key.
inline constexpr U32 portNumberBits = 10;

// TCAM rows that one entry takes when its key holds so many bits besides the rule's own fields.
U64 rowsFor( const QuarraAgent::ChipConfig &chip, U32 bits );

// Counts the words of per-port tables that are written: the chip's own count, and where the helper keeps the
// ports' ACL-group values itself, the values that read differently after a step.
class PortWrites {
 public:
   explicit PortWrites( const Switch &theSwitch );

   void step(); // after each action
   U64 count() const;

 private:
   std::vector<Vesk::Bitmap> keptValues() const;

   const Switch &switch_;
   U64 writesBefore_;
   U64 changed_ = 0;
   std::vector<Vesk::Bitmap> values_;
};

// Words of per-port tables that are written when one port joins the ports of a request, its key held by an
// entry of the group, and no other request has to give the port up.
U64 writesOfAJoin( const Switch &theSwitch, const QuarraAgent::Entry &entry );

// Bits of a class-ID qualifier of the group: all of its class-ID space.
U32 qualifierBits( const Switch &theSwitch, TcamGroupId group );

} // namespace QuarraLab
