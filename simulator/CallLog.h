#pragma once

#include <functional>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Nodra/Types.h"

namespace QuarraSimulator {

using namespace Nodra::Types;

// The SDK functions of the simulated chip, in alphabetical order.
std::span<const std::string_view> sdkFunctions();

// Counts the calls of SDK functions and fails those that it is told to.
class CallLog {
 public:
   // Counts a call. Returns the code to fail it with, or 0.
   int enter( std::string_view function );

   // As SimulatedChip::failCall.
   void failCall( U64 nth, int code, const std::string &function );
   U32 pendingFailures() const { return static_cast<U32>( failures_.size() ); }

   std::map<std::string, U64> counts() const { return { counts_.begin(), counts_.end() }; }
   U64 calls() const { return calls_; }

 private:
   struct Failure {
      U64 callsLeft; // 1: the next call
      int code;
      std::string function; // empty: any
   };

   std::map<std::string, U64, std::less<>> counts_;
   U64 calls_ = 0;
   std::vector<Failure> failures_;
};

} // namespace QuarraSimulator
