#include "simulator/LogicalTable.h"

#include <algorithm>

#include "Nodra/Assert.h"
#include "simulator/ReturnCode.h"

namespace QuarraSimulator {
namespace {

void writeAdded( const WorkingCopy &copy, FieldValues &entry ) {
   for ( std::size_t field = 0; field < maxFields; ++field ) {
      if ( copy.added.test( field ) ) {
         entry[ field ] = copy.values[ field ];
      }
   }
}

} // namespace

LogicalTable::LogicalTable( const TableLayout &layout, U64 size, U32 valueBits ) : layout_( layout ) {
   NODRA_ASSERT( layout.fields.size() <= maxFields );
   NODRA_ASSERT( size > 0 && size <= U64{ 1 } << layout.fields[ keyField ].bits )
      << " " << layout.name << " size: " << size;
   ends_[ keyField ] = size;
   for ( std::size_t field = keyField + 1; field < layout.fields.size(); ++field ) {
      const U32 bits = std::min( valueBits, layout.fields[ field ].bits );
      ends_[ field ] = U64{ 1 } << bits;
      valueBits -= bits;
   }
}

std::optional<std::size_t> LogicalTable::fieldNumber( std::string_view name ) const {
   const auto place = std::find_if( layout_.fields.begin(), layout_.fields.end(),
                                    [ name ]( const FieldLayout &field ) { return field.name == name; } );
   if ( place == layout_.fields.end() ) {
      return std::nullopt;
   }
   return static_cast<std::size_t>( place - layout_.fields.begin() );
}

bool LogicalTable::fits( std::size_t field, U64 value ) const {
   return value < ends_[ field ];
}

// The table's values take the place of what was added before, so that those fields count as filled.
int LogicalTable::lookup( WorkingCopy &copy ) {
   const auto item = entries_.find( copy.values[ keyField ] );
   if ( item == entries_.end() ) {
      return Code::notFound;
   }
   copy.values = item->second;
   copy.added.reset().set( keyField );
   copy.filled.set();
   return Code::ok;
}

int LogicalTable::insert( WorkingCopy &copy ) {
   const auto [ item, inserted ] = entries_.try_emplace( copy.values[ keyField ] );
   if ( !inserted ) {
      return Code::exists;
   }
   writeAdded( copy, item->second );
   return Code::ok;
}

int LogicalTable::update( WorkingCopy &copy ) {
   const auto item = entries_.find( copy.values[ keyField ] );
   if ( item == entries_.end() ) {
      return Code::notFound;
   }
   writeAdded( copy, item->second );
   return Code::ok;
}

AclGroupValue LogicalTable::value( U64 key ) const {
   AclGroupValue value;
   const auto item = entries_.find( key );
   if ( item == entries_.end() ) {
      return value;
   }
   for ( std::size_t field = layout_.fields.size() - 1; field > keyField; --field ) {
      value <<= layout_.fields[ field ].bits;
      value |= AclGroupValue( item->second[ field ] );
   }
   return value;
}

void LogicalTable::valueIs( U64 key, const AclGroupValue &value ) {
   auto &entry = entries_[ key ];
   entry[ keyField ] = key;
   std::size_t bit = 0;
   for ( std::size_t field = keyField + 1; field < layout_.fields.size(); ++field ) {
      entry[ field ] = 0;
      for ( U32 place = 0; place < layout_.fields[ field ].bits && bit < value.size(); ++place, ++bit ) {
         entry[ field ] |= U64{ value[ bit ] } << place;
      }
   }
}

} // namespace QuarraSimulator
