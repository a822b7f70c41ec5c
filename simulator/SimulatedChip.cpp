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

AclGroupValue valueOf( const std::vector<U32> &bits ) {
   AclGroupValue value;
   for ( const U32 bit : bits ) {
      value.set( bit );
   }
   return value;
}

void printTcamEntry( std::ostream &out, U32 id, const TcamEntry &entry ) {
   out << "TCAM entry " << id << ( entry.installed ? "" : " not installed" );
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

} // namespace

SimulatedChip::SimulatedChip( ChipOptions options )
   : state_( std::make_unique<ChipState>( std::move( options ) ) ), readBack_( makeReadBack( *state_ ) ) {
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
   if ( state_->aclGroupSource ) {
      if ( const auto *value = state_->aclGroupSource( port ) ) {
         return *value;
      }
   }
   return bitmapOf( state_->aclGroup( port ), state_->options.aclGroupBits );
}

std::vector<U32> SimulatedChip::portsWithAclGroup() const {
   if ( !state_->aclGroupSource ) {
      return state_->backend->portsWithAclGroup();
   }
   std::vector<U32> ports;
   for ( U32 port = 0; port <= U10::max; ++port ) {
      if ( state_->aclGroup( port ).any() ) {
         ports.push_back( port );
      }
   }
   return ports;
}

void SimulatedChip::aclGroupsFrom( AclGroupSource source ) {
   state_->aclGroupSource = std::move( source );
}

std::vector<U32> SimulatedChip::tableEntries() const {
   return state_->backend->tableEntries();
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

bool SimulatedChip::matches( U32 entry, const QuarraCentral::QuarraModPort &port ) const {
   return matches( entry, portValues( std::span( &port, 1 ) ) ).front();
}

PortValues SimulatedChip::portValues( std::span<const QuarraCentral::QuarraModPort> ports ) const {
   PortValues values;
   for ( const auto &port : ports ) {
      values.aclGroups.push_back( state_->aclGroup( state_->backend->aclGroupPort( port ) ) );
      auto &words = values.words.emplace_back();
      for ( std::size_t table = 0; table < words.size(); ++table ) {
         words[ table ] = sourceTrunkMapWord( PortTables::wordTables[ table ], port );
      }
   }
   return values;
}

std::vector<bool> SimulatedChip::matches( U32 entry, const PortValues &ports ) const {
   std::vector<bool> result( ports.aclGroups.size() );
   const auto item = tcamEntries().find( entry );
   if ( item == tcamEntries().end() || !item->second.installed ) {
      return result;
   }
   const TcamEntry &qualified = item->second;
   const auto data = valueOf( qualified.dataBits );
   const auto mask = valueOf( qualified.maskBits );
   const std::size_t table = qualified.frame.sourceTrunkMapTable == PortTables::wordTables.front() ? 0 : 1;
   for ( std::size_t i = 0; i < result.size(); ++i ) {
      switch ( qualified.kind ) {
      case TcamEntry::Kind::none:
         result[ i ] = true;
         break;
      case TcamEntry::Kind::aclGroup:
         result[ i ] = ( ports.aclGroups[ i ] & mask ) == data;
         break;
      case TcamEntry::Kind::interfaceClassPort:
         result[ i ] = ( ports.words[ i ][ table ] & qualified.mask ) == qualified.data;
         break;
      }
   }
   return result;
}

std::string SimulatedChip::digest() const {
   std::ostringstream out;
   for ( const auto &[ id, entry ] : tcamEntries() ) {
      printTcamEntry( out, id, entry );
   }
   state_->backend->print( out );
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
   return static_cast<U32>( liveHandleTexts().size() );
}

std::vector<std::string> SimulatedChip::liveHandleTexts() const {
   return state_->backend->liveHandleTexts();
}

const std::set<U32> &SimulatedChip::failedLookUps() const {
   return state_->failedLookUps;
}

U64 SimulatedChip::portWrites() const {
   return state_->portWrites;
}

U64 SimulatedChip::writesOfABit( U32 port ) const {
   return state_->backend->writesOfABit( port );
}

void SimulatedChip::observerIs( Observer observer ) {
   state_->observer = std::move( observer );
}

void SimulatedChip::failCall( U64 nth, int code, const std::string &function ) {
   state_->calls.failCall( nth, code, function );
}

U32 SimulatedChip::pendingFailures() const {
   return state_->calls.pendingFailures();
}

} // namespace QuarraSimulator
