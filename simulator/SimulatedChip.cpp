#include "simulator/SimulatedChip.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "Nodra/Assert.h"
#include "simulator/ChipState.h"

namespace QuarraSimulator {
namespace {

struct PbmpContent {
   Sdk::PbmpKind kind;
   std::vector<U32> ChipOptions::*ports;
};

constexpr PbmpContent pbmpContents[] = {
   { Sdk::PbmpKind::ethernet, &ChipOptions::ports },
   { Sdk::PbmpKind::frontPanel, &ChipOptions::ports },
   { Sdk::PbmpKind::cpu, &ChipOptions::cpuPorts },
   { Sdk::PbmpKind::loopback, &ChipOptions::loopbackPorts },
   { Sdk::PbmpKind::all, &ChipOptions::ports },
   { Sdk::PbmpKind::all, &ChipOptions::cpuPorts },
   { Sdk::PbmpKind::all, &ChipOptions::loopbackPorts },
};

void printBits( std::ostream &out, const char *name, const std::vector<U32> &bits ) {
   out << ' ' << name;
   for ( const U32 bit : bits ) {
      out << ( bit == bits.front() ? ' ' : ',' ) << bit;
   }
}

void printTcamEntry( std::ostream &out, U32 id, const TcamEntry &entry ) {
   out << "TCAM entry " << id;
   switch ( entry.kind ) {
   case TcamEntry::Kind::none:
      break;
   case TcamEntry::Kind::aclGroup:
      printBits( out, "ACL group data", entry.dataBits );
      printBits( out, "mask", entry.maskBits );
      break;
   case TcamEntry::Kind::interfaceClassPort:
      out << " class data " << entry.data << " mask " << entry.mask;
      break;
   }
   out << '\n';
}

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

} // namespace

SimulatedChip::SimulatedChip( ChipOptions options )
   : state_( std::make_unique<ChipState>( std::move( options ) ) ) {
   NODRA_ASSERT( !SdkShim );
   for ( const auto &[ kind, ports ] : pbmpContents ) {
      for ( const U32 port : state_->options.*ports ) {
         pbmpPortAdd( state_->pbmps[ static_cast<std::size_t>( kind ) ], port );
      }
   }
   SdkShim = this;
   installedChip() = state_.get();
}

// A shim that was put in front of this one stays for its owner to remove.
SimulatedChip::~SimulatedChip() {
   installedChip() = nullptr;
   if ( SdkShim == this ) {
      SdkShim = nullptr;
   }
}

Vesk::Bitmap SimulatedChip::aclGroup( U32 port ) const {
   return state_->aclGroup( port );
}

std::vector<U32> SimulatedChip::portsWithAclGroup() const {
   std::vector<U32> ports;
   const auto members = state_->portTables.membersOfAny();
   for ( U32 port = 0; port < members.size(); ++port ) {
      if ( members.test( port ) ) {
         ports.push_back( port );
      }
   }
   for ( const U32 port : tableEntries() ) {
      if ( aclGroup( port ).count() ) {
         ports.push_back( port );
      }
   }
   return ports;
}

std::vector<U32> SimulatedChip::tableEntries() const {
   std::vector<U32> ports;
   for ( const auto &[ key, values ] : state_->logicalTables.systemPortTable().entries() ) {
      ports.push_back( static_cast<U32>( key ) );
   }
   return ports;
}

U32 SimulatedChip::sourceTrunkMapWord( U8 table, const QuarraCentral::QuarraModPort &port ) const {
   const auto &words = sourceTrunkMapWords( table );
   const auto word = words.find( port );
   return word == words.end() ? 0 : word->second;
}

const std::map<QuarraCentral::QuarraModPort, U32> &SimulatedChip::sourceTrunkMapWords( U8 table ) const {
   const auto *words = state_->portTables.words( table );
   NODRA_ASSERT( words ) << " table: " << table;
   return *words;
}

const std::map<U32, TcamEntry> &SimulatedChip::tcamEntries() const {
   return state_->tcam.entries();
}

bool SimulatedChip::matches( U32 entry, const QuarraCentral::QuarraModPort &port,
                             U8 sourceTrunkMapTable ) const {
   const auto item = tcamEntries().find( entry );
   if ( item == tcamEntries().end() ) {
      return false;
   }
   const TcamEntry &qualified = item->second;
   if ( qualified.kind == TcamEntry::Kind::interfaceClassPort ) {
      return ( sourceTrunkMapWord( sourceTrunkMapTable, port ) & qualified.mask ) == qualified.data;
   }
   const U32 aclGroupPort = state_->aclGroupPort( port );
   return std::all_of( qualified.maskBits.begin(), qualified.maskBits.end(), [ & ]( U32 bit ) {
      return state_->aclGroupBit( aclGroupPort, bit ) ==
             std::binary_search( qualified.dataBits.begin(), qualified.dataBits.end(), bit );
   } );
}

std::string SimulatedChip::digest() const {
   std::ostringstream out;
   for ( const auto &[ id, entry ] : tcamEntries() ) {
      printTcamEntry( out, id, entry );
   }
   if ( state_->options.generation == Generation::sdk6 ) {
      for ( const U32 port : portsWithAclGroup() ) {
         out << "ACL group of port " << port << ' ' << aclGroup( port ).hex() << '\n';
      }
   }
   for ( const LogicalTable &table : state_->logicalTables.tables() ) {
      printTable( out, table );
   }
   for ( const U8 table : PortTables::wordTables ) {
      for ( const auto &[ port, word ] : sourceTrunkMapWords( table ) ) {
         out << "source-trunk map " << U32{ table } << " of port " << port << ' ' << word << '\n';
      }
   }
   return out.str();
}

std::map<std::string, U64> SimulatedChip::callCounts() const {
   return state_->calls.counts();
}

U64 SimulatedChip::calls() const {
   return state_->calls.calls();
}

U32 SimulatedChip::liveHandles() const {
   return state_->logicalTables.liveHandles();
}

std::vector<std::string> SimulatedChip::liveHandleTexts() const {
   return state_->logicalTables.liveHandleTexts();
}

void SimulatedChip::failCall( U64 nth, int code, const std::string &function ) {
   state_->calls.failCall( nth, code, function );
}

U32 SimulatedChip::pendingFailures() const {
   return state_->calls.pendingFailures();
}

} // namespace QuarraSimulator
