#include "agent/Recovery.h"

#include <algorithm>

#include "Sdk/SdkCall.h"
#include "agent/RequestChecks.h"

namespace QuarraAgent {

static Nodra::TraceHandle unitTrace( "TcamAgent" );
namespace {

using namespace QuarraTcam;

// Stands in for the chip's helper while a request is gone through once more: notes which bits it programs,
// and programs none.
class Rehearsal : public QuarraTcamPortsHelper {
 public:
   explicit Rehearsal( QuarraTcamPortsManager &manager )
      : QuarraTcamPortsHelper( manager.scsd() ), manager_( manager ), real_( manager.portsHelper() ) {
      modIdLowIs( real_->modIdLow() );
      modIdHighIs( real_->modIdHigh() );
      systemPortMaxIs( real_->systemPortMax() );
   }

   void setAclGroupClassId( U8 bitToSet, const IntfGroupInfo::PtrConst & ) override {
      bits_.push_back( bitToSet );
   }
   bool isSourceTrunkMapGroup( TcamGroupId group ) override { return real_->isSourceTrunkMapGroup( group ); }
   ClassIdType getClassIdTypeForGroup( TcamGroupId group ) override {
      return real_->getClassIdTypeForGroup( group );
   }
   void populateCpuIntfGroup( const IntfGroupInfo::Ptr &intfGroup ) override {
      real_->populateCpuIntfGroup( intfGroup );
   }

   // The bits that `work` programs, in its order, as often as it does.
   template <typename Work>
   static std::vector<U8> bitsOf( QuarraTcamPortsManager &manager, Work work ) {
      const auto rehearsal = std::make_shared<Rehearsal>( manager );
      manager.portsHelperIs( rehearsal );
      work();
      manager.portsHelperIs( rehearsal->real_ );
      return rehearsal->bits_;
   }

 private:
   QuarraTcamPortsManager &manager_;
   QuarraTcamPortsHelper::Ptr real_;
   std::vector<U8> bits_;
};

// Each bit once, where it stands first.
std::vector<U8> firstOnes( const std::vector<U8> &bits ) {
   std::vector<U8> once;
   for ( const U8 bit : bits ) {
      if ( std::find( once.begin(), once.end(), bit ) == once.end() ) {
         once.push_back( bit );
      }
   }
   return once;
}

} // namespace

void Recovery::end( const RequestInFlight &request ) {
   try {
      request.removal ? complete( request.request ) : undo( request.request );
   } catch ( const StoreRefused & ) {
      throw;
   } catch ( const RequestRefused &refused ) {
      store_.damaged( std::string( "the request in flight cannot have been one: " ) + refused.what() );
   }
}

// What was written last goes back first.
void Recovery::undo( const InstallRequest &request ) {
   const auto &config = RequestChecks::knownGroup( request.group );
   RequestChecks::freeEntryId( agent_.entries_, request );
   RequestChecks::knownPorts( agent_.chip_, agent_.chipPorts_, request );
   RequestChecks::ethernetFits( config, request );
   RequestChecks::knownRule( *agent_.manager_, config, request );
   auto &manager = *agent_.manager_;
   bool roomForIt = false;
   auto bits = firstOnes( Rehearsal::bitsOf( manager, [ & ] {
      const auto intfGroup = agent_.intfGroupOf( request );
      const auto key = agent_.keyOf( request, intfGroup );
      roomForIt = manager.reserveClassIdForIntfGroup( request.group, key, request.entry, intfGroup );
      if ( roomForIt ) {
         manager.programClassIdForIntfGroup( request.group, key, request.entry, intfGroup );
      }
   } ) );
   std::reverse( bits.begin(), bits.end() );
   keeper_.restore();
   if ( roomForIt ) { // else it was refused before its first SDK call
      writeChip( request.entry, bits );
   }
   keeper_.undone();
}

// What was written last is written last.
void Recovery::complete( const InstallRequest &request ) {
   const auto item = agent_.entries_.find( request.entry );
   if ( item == agent_.entries_.end() || item->second.request.group != request.group ) {
      store_.damaged( "the request in flight removes an entry that is not there" );
   }
   auto bits = Rehearsal::bitsOf( *agent_.manager_, [ & ] { agent_.removeEntry( item ); } );
   std::reverse( bits.begin(), bits.end() );
   bits = firstOnes( bits );
   std::reverse( bits.begin(), bits.end() );
   writeChip( request.entry, bits );
   keeper_.done( request.group, request.entry );
}

// The entry may be gone, or may never have come: that is no error.
void Recovery::writeChip( U32 entry, const std::vector<U8> &bits ) {
   const int unit = SdkShim->vmSingleUnit();
   SDK_TRY( SdkShim->fieldEntryDestroy( unit, entry ) );
   auto &manager = *agent_.manager_;
   for ( const U8 bit : bits ) {
      const auto &ports = manager.programmedBit( bit );
      manager.portsHelper()->setAclGroupClassId( bit, ports ? ports : intfGroupInfoFactory() );
   }
   agent_.portTableService_->drain();
}

} // namespace QuarraAgent
