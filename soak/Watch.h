#pragma once

#include "lab/Switch.h"
#include "soak/Model.h"

namespace QuarraSoak {

using QuarraLab::Switch;

// Watches, after each SDK call of a request, which entries on the chip match which ports. Between any two
// calls no entry that the request does not concern changes what it matches; the request's own entry comes to
// match, all at once, with the call that installs it, and ceases with the one that destroys it.
//
// While the bits of a class ID are written one by one, a port passes through other class IDs of its group
// (known behaviour bit-by-bit): there the entries of the group may match the port for that time, or not match
// it.
class Watch {
 public:
   // Is to be told of the chip's calls. Entries whose values the chip does not hold, on the SDK6 twin, are
   // not looked at.
   Watch( const QuarraSimulator::SimulatedChip &chip, const QuarraAgent::Variant &variant,
          std::vector<Port> ports );

   // Watches the switch's chip as long as it lives.
   explicit Watch( Switch &theSwitch );
   Watch( const Watch & ) = delete;
   Watch &operator=( const Watch & ) = delete;
   ~Watch();

   // After a call of the SDK.
   void look( const QuarraSimulator::SdkCallSeen &seen );

   // Before a request on an entry (0: on none) of a group.
   void begin( U16 group, U32 entry );

   // After it, and after the model has carried it out: the first change that nothing allows, or an empty
   // text.
   std::string end( const Model &model );

 private:
   using Row = std::vector<bool>; // by port, as in ports_

   struct Change {
      std::size_t call;
      U32 entry;
      std::size_t port;
      bool named; // by a call on the entry itself
   };

   bool seesPortsOf( U32 entry ) const;
   void lookAt( U32 entry, std::size_t port, bool named );

   const QuarraSimulator::SimulatedChip &chip_;
   const QuarraAgent::Variant &variant_;
   const std::vector<Port> ports_;
   QuarraSimulator::SimulatedChip *observed_ = nullptr; // until the end, where it is observed by this alone
   std::multimap<U32, std::size_t> places_;             // of ports, by number
   std::map<U32, Row> rows_;                            // by entry
   std::vector<Change> changes_;
   std::size_t calls_ = 0; // of the request
   U16 group_ = 0;
   U32 entry_ = 0;
};

} // namespace QuarraSoak
