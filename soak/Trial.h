#pragma once

#include "soak/Matches.h"
#include "soak/Operations.h"
#include "soak/Verify.h"
#include "soak/Watch.h"

namespace QuarraSoak {

using Hint = std::optional<std::pair<U8, U8>>;

// Carries an operation out; gives "ok" or the refusal's code.
std::string carryOut( Switch &theSwitch, const Operation &operation, Hint &hint );
Outcome carryOut( Model &model, const Operation &operation, Hint &hint );

// Whether an operation ended as the model has it; an empty text, or what is different.
std::string compareOutcomes( const std::string &outcome, const Hint &hint, Outcome expected,
                             const Hint &expectedHint );

// A switch and the model of it, side by side.
class Trial {
 public:
   // Throws RequestRefused when the chip cannot be one of the variant. Remembers the state after set-up,
   // which takes longer than all else, where it is to be asked what is left behind.
   explicit Trial( const ChipChoice &choice, bool remembersStart = true );

   // Carries the operation out on both, and compares nothing.
   void carryOutUnseen( const Operation &operation );

   // Carries the operation out on both and compares the outcomes and all state. Gives the first difference,
   // or an empty text.
   std::string carryOut( const Operation &operation );

   // Compares what entries match with the model. Gives the first difference, or an empty text.
   std::string compareMatches() const { return QuarraSoak::compareMatches( model_, switch_ ); }

   // Whether library and chip are what they were after set-up; empty when they are.
   std::string leftBehind() const;

   const Model &model() const { return model_; }
   const Switch &theSwitch() const { return switch_; }
   // Of the last operation: "ok", or the refusal's code.
   const std::string &outcome() const { return outcome_; }

 private:
   std::string stateText() const;

   Switch switch_;
   Model model_;
   Watch watch_;
   std::string stateAtStart_;
   std::string outcome_;
};

} // namespace QuarraSoak
