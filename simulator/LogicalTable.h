#pragma once

#include <array>
#include <bitset>
#include <map>
#include <optional>
#include <span>
#include <string_view>

#include "simulator/Backend.h"

namespace QuarraSimulator {

using namespace Nodra::Types;

struct FieldLayout {
   std::string_view name;
   U32 bits; // at most 63
};

struct TableLayout {
   std::string_view name;
   std::span<const FieldLayout> fields; // the first one is the key
};

inline constexpr std::size_t maxFields = 10;
inline constexpr std::size_t keyField = 0;
using FieldValues = std::array<U64, maxFields>;

// What a handle stands for: a copy of one entry in the making. A field has a value when it was added, or
// filled by a look-up; only added ones are written to the table.
struct WorkingCopy {
   FieldValues values{};
   std::bitset<maxFields> added;
   std::bitset<maxFields> filled;
};

// A table of the newer SDK: entries by key, made when first written.
class LogicalTable {
 public:
   using Entries = std::map<U64, FieldValues>;

   // Keys run from 0 to size - 1. Of the fields, the key left out, the table has the lowest `valueBits` bits.
   LogicalTable( const TableLayout &layout, U64 size, U32 valueBits );

   std::string_view name() const { return layout_.name; }
   std::span<const FieldLayout> fields() const { return layout_.fields; }
   std::optional<std::size_t> fieldNumber( std::string_view name ) const;
   bool fits( std::size_t field, U64 value ) const;

   // The three exchanges between a copy that has its key and the table. Each fails without effect: look-up
   // and update when there is no entry (not found), insertion when there is one (exists).
   int lookup( WorkingCopy &copy );
   int insert( WorkingCopy &copy );
   int update( WorkingCopy &copy );

   const Entries &entries() const { return entries_; }

   // An entry's fields, the key left out, as one value that starts with the lowest bit of the first field.
   // All clear when there is no entry.
   AclGroupValue value( U64 key ) const;
   void valueIs( U64 key, const AclGroupValue &value ); // makes the entry where there is none

 private:
   TableLayout layout_;
   std::array<U64, maxFields> ends_{}; // by field: the values below it fit
   Entries entries_;
};

} // namespace QuarraSimulator
