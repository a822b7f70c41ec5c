#include "simulator/LogicalTable.h"

#include <algorithm>
#include <bit>

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

LogicalTable::LogicalTable( const TableLayout &layout, U64 size ) : layout_( layout ), size_( size ) {
   NODRA_ASSERT( layout.fields.size() <= maxFields );
   NODRA_ASSERT( size > 0 && size <= U64{ 1 } << layout.fields[ keyField ].bits )
      << " " << layout.name << " size: " << size;
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
   return value < ( field == keyField ? size_ : U64{ 1 } << layout_.fields[ field ].bits );
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

Vesk::Bitmap LogicalTable::value( U64 key, U32 size ) const {
   Vesk::Bitmap value( 0, size, Vesk::HBitmap::BitState::clear );
   const auto item = entries_.find( key );
   if ( item == entries_.end() ) {
      return value;
   }
   U32 firstBit = 0;
   for ( std::size_t field = keyField + 1; field < layout_.fields.size() && firstBit < size; ++field ) {
      for ( U64 rest = item->second[ field ]; rest; rest &= rest - 1 ) {
         const U32 bit = firstBit + static_cast<U32>( std::countr_zero( rest ) );
         if ( bit < size ) {
            value.set( bit );
         }
      }
      firstBit += layout_.fields[ field ].bits;
   }
   return value;
}

bool LogicalTable::bit( U64 key, U32 position ) const {
   const auto item = entries_.find( key );
   if ( item == entries_.end() ) {
      return false;
   }
   for ( std::size_t field = keyField + 1; field < layout_.fields.size(); ++field ) {
      const U32 bits = layout_.fields[ field ].bits;
      if ( position < bits ) {
         return ( item->second[ field ] >> position ) & 1u;
      }
      position -= bits;
   }
   return false;
}

} // namespace QuarraSimulator
