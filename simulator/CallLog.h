#pragma once

#include <algorithm>
#include <array>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Nodra/Types.h"

namespace QuarraSimulator {

using namespace Nodra::Types;

// The SDK functions of the simulated chip, in alphabetical order.
inline constexpr std::array<std::string_view, 13> sdkFunctions = {
   "bcm_field_qualify_InterfaceClassPort",
   "bcm_subport_port_group_subport_multi_set",
   "bcmlt_entry_allocate",
   "bcmlt_entry_commit",
   "bcmlt_entry_field_add",
   "bcmlt_entry_field_get",
   "bcmlt_entry_free",
   "fieldEntryCreate",
   "fieldEntryDestroy",
   "fieldEntryInstall",
   "portTableSet",
   "velmor_bcm_field_qualify_SubportGroupIds",
   "vm_field_qualify_SubportGroupIds",
};

// The place of a function in sdkFunctions: sdkFunction( __func__ ). Another name does not compile.
consteval std::size_t sdkFunction( std::string_view name ) {
   const auto place = std::find( sdkFunctions.begin(), sdkFunctions.end(), name );
   return place != sdkFunctions.end() ? static_cast<std::size_t>( place - sdkFunctions.begin() )
                                      : throw "not a function of the simulated chip";
}

// Counts the calls of SDK functions and fails those that it is told to.
class CallLog {
 public:
   // Counts a call. Returns the code to fail it with, or 0.
   int enter( std::size_t function );

   // As SimulatedChip::failCall.
   void failCall( U64 nth, int code, const std::string &function );
   U32 pendingFailures() const { return static_cast<U32>( failures_.size() ); }

   std::map<std::string, U64> counts() const; // of functions that were called
   U64 calls() const { return calls_; }

 private:
   struct Failure {
      U64 callsLeft; // 1: the next call
      int code;
      std::string function; // empty: any
   };

   std::array<U64, sdkFunctions.size()> counts_{};
   U64 calls_ = 0;
   std::vector<Failure> failures_;
};

} // namespace QuarraSimulator
