#include <algorithm>
#include <ostream>

#include "Nodra/Assert.h"
#include "Sdk/Bcmlt.h"
#include "simulator/CallTrace.h"
#include "simulator/ChipState.h"
#include "simulator/LogicalTables.h"

// All of the HSDK generation: its backend, and its functions.
namespace QuarraSimulator {
namespace {

constexpr U32 maxAclGroupBits = 160;

void printTable( std::ostream &out, const LogicalTable &table ) {
   for ( const auto &[ key, values ] : table.entries() ) {
      if ( std::all_of( values.begin() + keyField + 1, values.end(), []( U64 value ) { return !value; } ) ) {
         continue;
      }
      out << table.name() << ' ' << key;
      for ( std::size_t field = keyField + 1; field < table.fields().size(); ++field ) {
         if ( values[ field ] ) {
            out << ' ' << table.fields()[ field ].name << ' ' << values[ field ];
         }
      }
      out << '\n';
   }
}

// A port's ACL-group value is spread over the fields of its entry in the table of system ports.
class HsdkBackend : public Backend {
 public:
   explicit HsdkBackend( const ChipOptions &options )
      : systemPort_( options.systemPort ), tables_( options.systemPorts, options.aclGroupBits ) {
      NODRA_ASSERT( options.aclGroupBits <= maxAclGroupBits ) << " aclGroupBits: " << options.aclGroupBits;
   }

   LogicalTables *logicalTables() override { return &tables_; }

   U32 aclGroupPort( const QuarraCentral::QuarraModPort &port ) const override {
      return systemPort_ ? systemPort_( port ) : port.port();
   }
   AclGroupValue aclGroup( U32 port ) const override { return tables_.systemPortTable().value( port ); }
   void aclGroupIs( U32 port, const AclGroupValue &value ) override { tables_.systemPortIs( port, value ); }
   bool hasTableEntry( U32 port ) const override {
      return tables_.systemPortTable().entries().contains( port );
   }

   // The bit is rewritten in each entry of the table.
   U64 writesOfABit( U32 port ) const override {
      const auto &entries = tables_.systemPortTable().entries();
      return entries.size() + ( entries.contains( port ) ? 0 : 1 );
   }
   std::vector<U32> portsWithAclGroup() const override {
      auto ports = tableEntries();
      std::erase_if( ports, [ this ]( U32 port ) { return aclGroup( port ).none(); } );
      return ports;
   }
   std::vector<U32> tableEntries() const override {
      std::vector<U32> ports;
      for ( const auto &[ key, values ] : tables_.systemPortTable().entries() ) {
         ports.push_back( static_cast<U32>( key ) );
      }
      return ports;
   }
   std::vector<std::string> liveHandleTexts() const override { return tables_.liveHandleTexts(); }

   void print( std::ostream &out ) const override {
      for ( const LogicalTable &table : tables_.tables() ) {
         printTable( out, table );
      }
   }

 private:
   std::function<U32( const QuarraCentral::QuarraModPort & )> systemPort_;
   LogicalTables tables_;
};

// One call of a logical-table function. Without a unit: a handle implies it.
template <typename Operation, typename... Failed>
int callTables( std::size_t function, std::optional<int> unit, Operation operation, Failed... failed ) {
   return callChip(
      function, unit,
      [ & ]( ChipState &chip ) -> int {
         auto *tables = chip.backend->logicalTables();
         return tables ? operation( chip, *tables ) : Code::unavailable;
      },
      failed... );
}

} // namespace

std::unique_ptr<Backend> hsdkBackend( const ChipOptions &options ) {
   return std::make_unique<HsdkBackend>( options );
}

} // namespace QuarraSimulator

using QuarraSimulator::callTables;
using QuarraSimulator::ChipState;
using QuarraSimulator::LogicalTables;
using QuarraSimulator::NumberList;
using QuarraSimulator::sdkFunction;
using QuarraSimulator::traceArguments;
namespace Code = QuarraSimulator::Code;

int bcmlt_entry_allocate( int unit, const char *table, bcmlt_entry_handle_t *entry ) {
   traceArguments( __func__, unit, table ? table : "null" );
   return callTables( sdkFunction( __func__ ), unit, [ & ]( ChipState &, LogicalTables &tables ) {
      return tables.allocate( table, entry );
   } );
}

int bcmlt_entry_field_add( bcmlt_entry_handle_t entry, const char *field, uint64_t value ) {
   traceArguments( __func__, entry, field ? field : "null", value );
   return callTables( sdkFunction( __func__ ), {}, [ & ]( ChipState &, LogicalTables &tables ) {
      return tables.fieldAdd( entry, field, value );
   } );
}

int bcmlt_entry_field_get( bcmlt_entry_handle_t entry, const char *field, uint64_t *value ) {
   traceArguments( __func__, entry, field ? field : "null" );
   return callTables( sdkFunction( __func__ ), {}, [ & ]( ChipState &, LogicalTables &tables ) {
      return tables.fieldGet( entry, field, value );
   } );
}

int bcmlt_entry_commit( bcmlt_entry_handle_t entry, bcmlt_opcode_t opcode, bcmlt_priority_level_t priority ) {
   traceArguments( __func__, entry, opcode, priority );
   return callTables(
      sdkFunction( __func__ ), {},
      [ & ]( ChipState &chip, LogicalTables &tables ) {
         const int code = tables.commit( entry, opcode, priority );
         if ( const auto port = tables.written() ) {
            chip.wrotePort( static_cast<QuarraSimulator::U32>( *port ) );
         }
         return code;
      },
      [ & ]( ChipState &chip ) {
         auto *tables = chip.backend->logicalTables();
         if ( const auto port = tables ? tables->lookedUp( entry, opcode ) : std::nullopt ) {
            chip.failedLookUps.insert( static_cast<QuarraSimulator::U32>( *port ) );
         }
      } );
}

int bcmlt_entry_free( bcmlt_entry_handle_t entry ) {
   traceArguments( __func__, entry );
   return callTables( sdkFunction( __func__ ), {},
                      [ & ]( ChipState &, LogicalTables &tables ) { return tables.free( entry ); } );
}

int velmor_bcm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                              const bcm_subport_port_group_t *data, uint32_t maskCount,
                                              const bcm_subport_port_group_t *mask, uint32_t classIdSize ) {
   traceArguments( __func__, unit, entry, dataCount, NumberList{ dataCount, data }, maskCount,
                   NumberList{ maskCount, mask }, classIdSize );
   return callTables( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip, LogicalTables & ) {
      return classIdSize == chip.options.aclGroupBits
                ? chip.wroteEntry( entry,
                                   chip.tcam.qualifyAclGroup( entry, dataCount, data, maskCount, mask ) )
                : Code::parameter;
   } );
}
