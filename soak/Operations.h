#pragma once

#include "lab/ChipFile.h"
#include "soak/Choices.h"
#include "soak/Model.h"

namespace QuarraSoak {

using QuarraLab::ChipChoice;

struct Operation {
   enum class Kind { createGroup, deleteGroup, install, remove };

   Kind kind = Kind::install;
   ModelRequest request; // group, except for installs: no more than group and entry

   // As `quarra-tcam batch` reads it.
   std::string line() const;
   // The operation of such a line; throws RequestRefused for another one.
   static Operation ofLine( const std::string &line );
};

// A chip of the variant, with few ports and spaces from barely enough to all that it may have.
ChipChoice drawChip( const QuarraAgent::Variant &variant, Choices &choices );

// The first line of a history, for `quarra-tcam batch`.
std::string chipLine( const ChipChoice &choice );

// Makes up operations: which ones are likely, in which groups and on which ports is drawn once for a run.
class Player {
 public:
   Player( Choices &choices, const Model &model );

   Operation next();

   // The next operation on the way back to the state after set-up; none when all is removed.
   std::optional<Operation> nextRemoval();

 private:
   struct Recipe;
   static const Recipe recipes[];

   Operation install( PortSet wanted );
   Operation installAny();
   Operation installEqual();
   Operation installNear();
   Operation installEthernet();
   Operation installNoPorts();
   Operation installRule();
   Operation removeAny();
   Operation removeNewest();
   Operation createGroup();
   Operation deleteGroup();
   Operation mistake();

   PortSet drawPorts();
   const ModelRequest *anEntry();

   Choices &choices_;
   const Model &model_;
   std::vector<U32> weights_; // by recipe
   U32 allWeights_ = 0;
   std::vector<U16> groups_;
   std::vector<Port> ports_;
   U32 lastEntry_;
   std::vector<U16> toCreate_; // fixed-width groups, before anything else
};

} // namespace QuarraSoak
