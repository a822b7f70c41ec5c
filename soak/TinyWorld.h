#pragma once

#include <array>

#include "soak/Operations.h"

// Worlds small enough that every history of some operations can be carried out.
namespace QuarraSoak {

// A chip of a few bits, two ports and the CPU's, and some groups of different kinds. Its operations are
// numbered; what one of them asks for depends on the state only by the number of the entry that is next.
class TinyWorld {
 public:
   TinyWorld( std::string name, ChipChoice chip, std::vector<U16> groups, const Model &model );

   const std::string &name() const { return name_; }
   const ChipChoice &chip() const { return chip_; }
   const std::vector<U16> &groups() const { return groups_; }
   std::size_t operations() const { return operations_.size(); }

   // An installation is that of the lowest entry that is free; none when all are taken.
   std::optional<Operation> operation( std::size_t number, const Model &model ) const;

 private:
   std::string name_;
   ChipChoice chip_;
   std::vector<U16> groups_;
   std::vector<Operation> operations_;
};

// Those of a variant: one for each kind of class-ID space, and one where kinds meet.
std::vector<TinyWorld> tinyWorlds( const QuarraAgent::Variant &variant );

// All of a state that decides what comes next, as text. Keys go by their order, not by their names, which
// count up.
std::string textOf( const Model &model );

// What stands for a text.
using Digest = std::array<U64, 2>;
Digest digestOf( const std::string &text );

} // namespace QuarraSoak
