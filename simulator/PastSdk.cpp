#include "simulator/ChipState.h"
#include "simulator/SimulatedChip.h"

// What a chip holds, written and read past the SDK's functions.
namespace QuarraSimulator {
namespace {

class ChipReadBack : public Sdk::ReadBack {
 public:
   explicit ChipReadBack( const ChipState &chip ) : chip_( chip ) {}

   std::vector<U32> fieldEntries( int ) const override {
      std::vector<U32> ids;
      for ( const auto &[ id, entry ] : chip_.tcam.entries() ) {
         ids.push_back( id );
      }
      return ids;
   }

   std::optional<Sdk::FieldEntry> fieldEntry( int, U32 entry ) const override {
      const auto item = chip_.tcam.entries().find( entry );
      if ( item == chip_.tcam.entries().end() ) {
         return std::nullopt;
      }
      using Qualifier = Sdk::FieldEntry::Qualifier;
      Sdk::FieldEntry read;
      read.frame = item->second.frame;
      read.installed = item->second.installed;
      switch ( item->second.kind ) {
      case TcamEntry::Kind::none:
         break;
      case TcamEntry::Kind::aclGroup:
         read.qualifier = Qualifier::aclGroup;
         read.dataBits = item->second.dataBits;
         read.maskBits = item->second.maskBits;
         break;
      case TcamEntry::Kind::interfaceClassPort:
         read.qualifier = Qualifier::interfaceClassPort;
         read.data = item->second.data;
         read.mask = item->second.mask;
         break;
      }
      return read;
   }

   std::vector<U32> subportPortGroupMembers( int, U32 group ) const override {
      auto *const groups = chip_.backend->subportGroups();
      return groups ? groups->members( group ) : std::vector<U32>();
   }

   U32 portTableGet( int, U8 table, const QuarraCentral::QuarraModPort &port ) const override {
      const auto *const words = chip_.portTables.words( table );
      const auto word = words ? words->find( port ) : PortTables::Words::const_iterator();
      return words && word != words->end() ? word->second : 0;
   }

 private:
   const ChipState &chip_;
};

} // namespace

std::unique_ptr<Sdk::ReadBack> makeReadBack( const ChipState &chip ) {
   return std::make_unique<ChipReadBack>( chip );
}

const Sdk::ReadBack *SimulatedChip::readBack() const {
   return readBack_.get();
}

void SimulatedChip::aclGroupIs( U32 port, const Vesk::Bitmap &value ) {
   AclGroupValue bits;
   for ( const U32 bit : value.setBits() ) {
      bits.set( bit, bit < state_->options.aclGroupBits );
   }
   state_->backend->aclGroupIs( port, bits );
}

void SimulatedChip::sourceTrunkMapWordIs( U8 table, const QuarraCentral::QuarraModPort &port, U32 value ) {
   state_->portTables.wordIs( table, port, value );
}

void SimulatedChip::tcamEntryIs( U32 entry, const TcamEntry &held ) {
   state_->tcam.entryIs( entry, held );
}

void SimulatedChip::tcamEntryDel( U32 entry ) {
   state_->tcam.entryDel( entry );
}

bool SimulatedChip::hasTableEntry( U32 port ) const {
   return state_->backend->hasTableEntry( port );
}

} // namespace QuarraSimulator
