#include <ostream>

#include "Nodra/Assert.h"
#include "Sdk/Bcm.h"
#include "simulator/CallTrace.h"
#include "simulator/ChipState.h"
#include "simulator/SubportGroups.h"

// All of the SDK6 generation: its backend, and its functions. The class qualifier is every generation's.
namespace QuarraSimulator {
namespace {

// A port's ACL-group value is a word of the port: a bit for each subport port group that it is a member of.
class Sdk6Backend : public Backend {
 public:
   explicit Sdk6Backend( const ChipOptions &options )
      : size_( options.aclGroupBits ), groups_( options.aclGroupBits ) {
      NODRA_ASSERT( options.aclGroupBits <= AclGroupValue().size() )
         << " aclGroupBits: " << options.aclGroupBits;
   }

   SubportGroups *subportGroups() override { return &groups_; }

   U32 aclGroupPort( const QuarraCentral::QuarraModPort &port ) const override { return port.port(); }
   AclGroupValue aclGroup( U32 port ) const override { return groups_.groupsOf( port ); }
   void aclGroupIs( U32 port, const AclGroupValue &value ) override { groups_.groupsOfIs( port, value ); }

   U64 writesOfABit( U32 /*port*/ ) const override { return 1; }
   std::vector<U32> portsWithAclGroup() const override {
      std::vector<U32> ports;
      const auto members = groups_.membersOfAny();
      for ( U32 port = 0; port < members.size(); ++port ) {
         if ( members.test( port ) ) {
            ports.push_back( port );
         }
      }
      return ports;
   }
   std::vector<U32> tableEntries() const override { return {}; }
   std::vector<std::string> liveHandleTexts() const override { return {}; }

   void print( std::ostream &out ) const override {
      for ( const U32 port : portsWithAclGroup() ) {
         out << "ACL group of port " << port << ' ' << bitmapOf( aclGroup( port ), size_ ).hex() << '\n';
      }
   }

 private:
   U32 size_;
   SubportGroups groups_;
};

} // namespace

std::unique_ptr<Backend> sdk6Backend( const ChipOptions &options ) {
   return std::make_unique<Sdk6Backend>( options );
}

} // namespace QuarraSimulator

using QuarraSimulator::callChip;
using QuarraSimulator::ChipState;
using QuarraSimulator::NumberList;
using QuarraSimulator::sdkFunction;
using QuarraSimulator::traceArguments;
namespace Code = QuarraSimulator::Code;

int bcm_subport_port_group_subport_multi_set( int unit, bcm_subport_port_group_t group, uint32_t count,
                                              const uint32_t *ports ) {
   traceArguments( __func__, unit, group, count, NumberList{ count, ports } );
   return callChip( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) -> int {
      auto *groups = chip.backend->subportGroups();
      if ( !groups ) {
         return Code::unavailable;
      }
      const int code = groups->membersIs( group, count, ports );
      chip.wrotePorts( groups->changed() );
      return code;
   } );
}

int bcm_field_qualify_InterfaceClassPort( int unit, uint32_t entry, uint32_t data, uint32_t mask ) {
   traceArguments( __func__, unit, entry, data, mask );
   return callChip( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      return chip.wroteEntry( entry, chip.tcam.qualifyInterfaceClassPort( entry, data, mask ) );
   } );
}

int vm_field_qualify_SubportGroupIds( int unit, uint32_t entry, uint32_t dataCount,
                                      const bcm_subport_port_group_t *data, uint32_t maskCount,
                                      const bcm_subport_port_group_t *mask ) {
   traceArguments( __func__, unit, entry, dataCount, NumberList{ dataCount, data }, maskCount,
                   NumberList{ maskCount, mask } );
   return callChip( sdkFunction( __func__ ), unit, [ & ]( ChipState &chip ) {
      return chip.backend->subportGroups()
                ? chip.wroteEntry( entry,
                                   chip.tcam.qualifyAclGroup( entry, dataCount, data, maskCount, mask ) )
                : Code::unavailable;
   } );
}
