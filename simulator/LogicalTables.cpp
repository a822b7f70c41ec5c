#include "simulator/LogicalTables.h"

#include <algorithm>
#include <array>

#include "Nodra/Text.h"
#include "Sdk/SystemPortTable.h"
#include "simulator/ReturnCode.h"

namespace QuarraSimulator {
namespace {

// The key, then the fields of the ACL-group value.
constexpr auto systemPortFields = [] {
   std::array<FieldLayout, 1 + std::size( Sdk::aclGroupFields )> fields{ FieldLayout{ Sdk::systemPortKey,
                                                                                      16 } };
   for ( std::size_t i = 0; i < std::size( Sdk::aclGroupFields ); ++i ) {
      fields[ i + 1 ] = { Sdk::aclGroupFields[ i ].name, Sdk::aclGroupFields[ i ].bits };
   }
   return fields;
}();

constexpr TableLayout systemPortLayout = { Sdk::systemPortTable, systemPortFields };

struct Exchange {
   int ( LogicalTable::*make )( WorkingCopy & );
   bool writes;
};

// In the order of opcodeNumbers.
constexpr Exchange exchanges[] = {
   { &LogicalTable::lookup, false },
   { &LogicalTable::insert, true },
   { &LogicalTable::update, true },
};

} // namespace

LogicalTables::LogicalTables( U32 systemPorts, U32 aclGroupBits )
   : tables_{ { systemPortLayout, systemPorts, aclGroupBits } } {}

int LogicalTables::allocate( const char *table, bcmlt_entry_handle_t *entry ) {
   if ( !table || !entry ) {
      return Code::parameter;
   }
   const auto place = std::find_if( tables_.begin(), tables_.end(),
                                    [ table ]( const LogicalTable &item ) { return item.name() == table; } );
   if ( place == tables_.end() ) {
      return Code::notFound;
   }
   if ( handles_.size() == maxHandles ) {
      return Code::memory;
   }
   *entry = nextHandle_++;
   handles_.emplace( *entry, Handle{ &*place } );
   return Code::ok;
}

LogicalTables::FieldPlace LogicalTables::place( bcmlt_entry_handle_t entry, const char *field ) {
   const auto item = handles_.find( entry );
   if ( item == handles_.end() ) {
      return { Code::notFound };
   }
   if ( !field ) {
      return { Code::parameter };
   }
   const auto number = item->second.table->fieldNumber( field );
   return number ? FieldPlace{ Code::ok, &item->second, *number } : FieldPlace{ Code::notFound };
}

int LogicalTables::fieldAdd( bcmlt_entry_handle_t entry, const char *field, U64 value ) {
   const auto [ code, handle, number ] = place( entry, field );
   if ( code < 0 ) {
      return code;
   }
   if ( !handle->table->fits( number, value ) ) {
      return Code::parameter;
   }
   handle->copy.values[ number ] = value;
   handle->copy.added.set( number );
   return Code::ok;
}

int LogicalTables::fieldGet( bcmlt_entry_handle_t entry, const char *field, U64 *value ) {
   const auto [ code, handle, number ] = place( entry, field );
   if ( code < 0 ) {
      return code;
   }
   if ( !value ) {
      return Code::parameter;
   }
   const WorkingCopy &copy = handle->copy;
   if ( !copy.added.test( number ) && !copy.filled.test( number ) ) {
      return Code::notFound;
   }
   *value = copy.values[ number ];
   return Code::ok;
}

int LogicalTables::commit( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode,
                           bcmlt_priority_level_t priority ) {
   written_.reset();
   const auto item = handles_.find( entry );
   if ( item == handles_.end() ) {
      return Code::notFound;
   }
   Handle &handle = item->second;
   const auto number = std::find( opcodeNumbers.begin(), opcodeNumbers.end(), opcode );
   if ( !handle.copy.added.test( keyField ) || number == opcodeNumbers.end() || priority != priorityNumber ) {
      return Code::parameter;
   }
   const auto &[ make, writes ] = exchanges[ number - opcodeNumbers.begin() ];
   const int code = ( handle.table->*make )( handle.copy );
   if ( writes && code == Code::ok ) {
      written_ = handle.copy.values[ keyField ];
   }
   return code;
}

std::optional<U64> LogicalTables::lookedUp( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode ) const {
   const auto item = handles_.find( entry );
   const bool isLookUp = opcode == opcodeNumbers[ static_cast<std::size_t>( Sdk::Opcode::lookup ) ];
   if ( !isLookUp || item == handles_.end() || !item->second.copy.added.test( keyField ) ) {
      return std::nullopt;
   }
   return item->second.copy.values[ keyField ];
}

int LogicalTables::free( bcmlt_entry_handle_t entry ) {
   return handles_.erase( entry ) ? Code::ok : Code::notFound;
}

std::vector<std::string> LogicalTables::liveHandleTexts() const {
   std::vector<std::string> texts;
   for ( const auto &[ number, handle ] : handles_ ) {
      Nodra::Text text;
      text << number << ' ' << handle.table->name() << ' ';
      if ( handle.copy.added.test( keyField ) ) {
         text << handle.copy.values[ keyField ];
      } else {
         text << "without key";
      }
      texts.push_back( text.string() );
   }
   return texts;
}

} // namespace QuarraSimulator
