#include "tools/MatchCheck.h"

#include <algorithm>
#include <map>

#include "Nodra/Text.h"

namespace QuarraTool {
namespace {

using namespace QuarraTcam;
using QuarraAgent::Entry;
using QuarraAgent::InstallRequest;

bool asks( const InstallRequest &request, const QuarraModPort &port ) {
   return request.ethernet ||
          std::find( request.ports.begin(), request.ports.end(), port ) != request.ports.end();
}

// Whether the bits that an ACL-group qualifier lists read in the port's value as in the data. Positions count
// from the start of the group's own space.
bool matchesAclGroup( const QuarraSimulator::TcamEntry &entry, const Vesk::Bitmap &value, U32 spaceStart ) {
   return std::all_of( entry.maskBits.begin(), entry.maskBits.end(), [ & ]( U32 bit ) {
      const bool wanted = std::binary_search( entry.dataBits.begin(), entry.dataBits.end(), bit );
      return value.test( spaceStart + bit ) == wanted;
   } );
}

bool matchesClass( const QuarraSimulator::TcamEntry &entry, U32 word ) {
   constexpr U32 comparedBits = 0xffff;
   return ( ( word ^ entry.data ) & entry.mask & comparedBits ) == 0;
}

// What is compared for one entry: read once, asked for every port.
class EntryOnChip {
 public:
   EntryOnChip( const Switch &theSwitch, U32 id, const Entry &entry )
      : switch_( theSwitch ), type_( classIdTcamGroupsInfo.at( entry.request.group )->classIdType() ) {
      const auto &entries = theSwitch.chip().tcamEntries();
      const auto item = entries.find( id );
      onChip_ = item == entries.end() ? nullptr : &item->second;
      spaceStart_ = type_ == aclGroupFixedWidth ? theSwitch.agent().chip().flexibleBits : U32{ 0 };
   }

   bool matches( const QuarraModPort &port, const Vesk::Bitmap &aclGroup ) const {
      using Kind = QuarraSimulator::TcamEntry::Kind;
      if ( !onChip_ ) {
         return false;
      }
      switch ( onChip_->kind ) {
      case Kind::aclGroup:
         return matchesAclGroup( *onChip_, aclGroup, spaceStart_ );
      case Kind::interfaceClassPort:
         return matchesClass( *onChip_, switch_.sourceTrunkMapWord( type_, port ) );
      case Kind::none:
         return true;
      }
      return false;
   }

 private:
   const Switch &switch_;
   ClassIdType type_;
   const QuarraSimulator::TcamEntry *onChip_;
   U32 spaceStart_ = 0;
};

// ---- Reasons: the rules of the system by which an entry does not match what it was asked for
// --------------------

// The other entry of the same class ID space that explains the mismatch, if `test` finds one.
template <typename Test>
const Entry *otherEntry( const Switch &theSwitch, U32 id, Test test, U32 &otherId ) {
   for ( const auto &[ candidate, entry ] : theSwitch.agent().entries() ) {
      if ( candidate != id && test( entry ) ) {
         otherId = candidate;
         return &entry;
      }
   }
   return nullptr;
}

std::string reasonOf( const Switch &theSwitch, U32 id, const Entry &entry, const QuarraModPort &port ) {
   const auto group = entry.request.group;
   const auto &config = *classIdTcamGroupsInfo.at( group );
   U32 other = 0;
   Nodra::Text text;
   const auto sharesKey = [ & ]( const Entry &e ) {
      return e.request.group == group && e.key == entry.key &&
             asks( e.request, port ) != asks( entry.request, port );
   };
   const auto takesPort = [ & ]( const Entry &e ) {
      return e.request.group == group && e.key != entry.key && asks( e.request, port );
   };
   const auto sharesOffset = [ & ]( const Entry &e ) {
      const auto &otherConfig = *classIdTcamGroupsInfo.at( e.request.group );
      return e.request.group != group && config.classIdPoolBits() != 0 &&
             otherConfig.classIdPoolBits() == config.classIdPoolBits() &&
             otherConfig.classIdType() == config.classIdType();
   };
   if ( otherEntry( theSwitch, id, sharesKey, other ) ) {
      text << "one rule has one class ID, and entry " << other << " of the same rule asks for other ports";
   } else if ( config.classIdPoolWidth() > 1 && otherEntry( theSwitch, id, takesPort, other ) ) {
      text << "a port carries one class ID of group " << group << ", and entry " << other
           << " asks for the port too";
   } else if ( config.classIdType() == aclGroupFixedWidth && config.classIdPoolWidth() > 1 ) {
      text << "a bit of fixed-width group " << group
           << " is programmed without the ports of its other class IDs";
   } else if ( otherEntry( theSwitch, id, sharesOffset, other ) ) {
      text << "groups " << group << " and " << theSwitch.agent().entries().at( other ).request.group
           << " keep their class IDs at one fixed offset";
   } else {
      text << "no rule of the system explains this: a fault";
   }
   return text.string();
}

} // namespace

std::vector<Mismatch> checkMatches( const Switch &theSwitch ) {
   std::vector<Vesk::Bitmap> aclGroups;
   for ( const auto &port : theSwitch.ports() ) {
      aclGroups.push_back( theSwitch.aclGroup( port ) );
   }
   std::vector<Mismatch> mismatches;
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      const EntryOnChip onChip( theSwitch, id, entry );
      for ( std::size_t i = 0; i < aclGroups.size(); ++i ) {
         const auto &port = theSwitch.ports()[ i ];
         if ( entry.request.ethernet && theSwitch.isCpuPort( port ) ) {
            continue;
         }
         const bool expected = asks( entry.request, port );
         const bool found = onChip.matches( port, aclGroups[ i ] );
         if ( found != expected ) {
            mismatches.push_back(
               { id, entry.request.group, port, expected, found, reasonOf( theSwitch, id, entry, port ) } );
         }
      }
   }
   return mismatches;
}

} // namespace QuarraTool
