#pragma once

#include "soak/Operations.h"
#include "soak/Verify.h"
#include "soak/Watch.h"

namespace QuarraSoak {

// A switch and the model of it, side by side.
class Trial {
 public:
   // Throws RequestRefused when the chip cannot be one of the variant.
   explicit Trial( const ChipChoice &choice );

   // Carries the operation out on both and compares the outcomes and all state. Gives the first difference,
   // or an empty text.
   std::string carryOut( const Operation &operation );

   // Compares what entries match and should not, or the other way round, with the model: where, and by which
   // rule of the system. Gives the first difference, or an empty text.
   std::string compareMatches() const;

   // Whether library and chip are what they were after set-up; empty when they are.
   std::string leftBehind() const;

   const Model &model() const { return model_; }
   const Switch &theSwitch() const { return switch_; }
   // Of the last operation: "ok", or the refusal's code.
   const std::string &outcome() const { return outcome_; }

 private:
   std::string onTheSwitch( const Operation &operation, std::optional<std::pair<U8, U8>> &hint );
   Outcome onTheModel( const Operation &operation, std::optional<std::pair<U8, U8>> &hint );
   std::string stateText() const;

   Switch switch_;
   Model model_;
   Watch watch_;
   std::string stateAtStart_;
   std::string outcome_;
};

} // namespace QuarraSoak
