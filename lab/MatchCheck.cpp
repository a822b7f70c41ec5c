#include "lab/MatchCheck.h"

#include <algorithm>
#include <bit>
#include <map>

#include "Nodra/Text.h"

namespace QuarraLab {
namespace {

using namespace QuarraTcam;
using enum ClassIdType;
using QuarraAgent::Entry;
using QuarraAgent::InstallRequest;

bool asks( const InstallRequest &request, const QuarraModPort &port ) {
   return request.ethernet ||
          std::find( request.ports.begin(), request.ports.end(), port ) != request.ports.end();
}

// The same for many ports of one entry, asked for in rising order.
class AskedPorts {
 public:
   explicit AskedPorts( const InstallRequest &request )
      : ethernet_( request.ethernet ), ports_( request.ports ) {
      if ( !std::is_sorted( ports_.begin(), ports_.end() ) ) {
         std::sort( ports_.begin(), ports_.end() );
      }
   }

   bool has( const QuarraModPort &port ) {
      while ( next_ < ports_.size() && ports_[ next_ ] < port ) {
         ++next_;
      }
      return ethernet_ || ( next_ < ports_.size() && ports_[ next_ ] == port );
   }

 private:
   bool ethernet_;
   std::vector<QuarraModPort> ports_;
   std::size_t next_ = 0;
};

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

// The entry of the group that asks for the port under another key, if one is still installed: " (entry 4)".
std::string otherAsker( const Switch &theSwitch, const Entry &entry, const QuarraModPort &port ) {
   for ( const auto &[ id, other ] : theSwitch.agent().entries() ) {
      if ( other.request.group == entry.request.group && other.key != entry.key &&
           asks( other.request, port ) ) {
         return " (entry " + std::to_string( id ) + ")";
      }
   }
   return "";
}

// Why the ports that are programmed for the entry's key are not the entry's own.
std::string reasonInTheLibrary( const Switch &theSwitch, const Entry &entry, const QuarraModPort &port,
                                const ClassIdRequestStatus &request ) {
   const auto group = entry.request.group;
   if ( request.entryRefHas( INVALID_ENTRY_ID ) ) {
      return "one rule has one class ID, and a newer entry of the same rule asked for other ports";
   }
   if ( classIdTcamGroupsInfo.at( group )->classIdPoolWidth() > 1 ) {
      return ( Nodra::Text() << "a port carries one class ID of group " << group << ", and a newer entry"
                             << otherAsker( theSwitch, entry, port ) << " took the port" )
         .string();
   }
   return "";
}

// Whether the pool lies over the bit of a fixed-offset group, which the search for free bits does not know
// of.
bool coversAFixedOffset( ClassIdType type, const PoolStatus &pool ) {
   return std::any_of( classIdTcamGroupsInfo.begin(), classIdTcamGroupsInfo.end(), [ & ]( const auto &item ) {
      const auto &config = *item.second;
      return config.classIdPoolBits() != 0 && config.classIdType() == type &&
             pool.tcamMask()->test( static_cast<U32>( std::countr_zero( config.classIdPoolBits() ) ) );
   } );
}

// Why the chip does not carry what is programmed for the entry's key.
std::string reasonOnTheChip( const Switch &theSwitch, const Entry &entry, const QuarraModPort &port,
                             const ClassIdRequestStatus &request, const PoolStatus &pool ) {
   const auto group = entry.request.group;
   const auto &config = *classIdTcamGroupsInfo.at( group );
   if ( config.classIdPoolBits() != 0 ) {
      return ( Nodra::Text() << "group " << group
                             << " shares its bit with the other groups at this fixed offset" )
         .string();
   }
   if ( coversAFixedOffset( config.classIdType(), pool ) ) {
      return ( Nodra::Text() << "the pool of group " << group
                             << " lies over the bit of the fixed-offset groups" )
         .string();
   }
   if ( config.classIdType() == aclGroupFixedWidth && config.classIdPoolWidth() > 1 ) {
      return ( Nodra::Text() << "a bit of fixed-width group " << group
                             << " is programmed without the ports of its other class IDs" )
         .string();
   }
   const auto &variant = theSwitch.agent().variant();
   const auto &onTheChip = variant.generation.ethernetPorts;
   const auto &onTheTwin = variant.generation.twinEthernetPorts;
   const auto &own = QuarraAgent::ethernetPortsOf( variant );
   if ( request.intfGroup()->ethernet() && ( port.port() < own.first || port.port() > own.last ) ) {
      return ( Nodra::Text() << "all ethernet ports of an " << std::string( variant.generation.name )
                             << " chip are ports " << onTheChip.first << " to " << onTheChip.last
                             << ", of its twin " << onTheTwin.first << " to " << onTheTwin.last )
         .string();
   }
   return "";
}

std::string reasonOf( const Switch &theSwitch, const Entry &entry, const QuarraModPort &port ) {
   const auto &status = *theSwitch.agent().manager().classIdTcamGroupStatus( entry.request.group );
   const auto &request = *status.requestStatus( entry.key );
   const auto &intfGroup = *request.intfGroup();
   // An all-ethernet group lists no ports: an entry that does list some is beside the point on all of them.
   const bool moved = intfGroup.ethernet() ? !entry.request.ethernet
                                           : intfGroup.portIdHas( port ) != asks( entry.request, port );
   const auto reason =
      moved ? reasonInTheLibrary( theSwitch, entry, port, request )
            : reasonOnTheChip( theSwitch, entry, port, request, *status.poolStatus( request.poolId() ) );
   return reason.empty() ? "no rule of the system explains this: a fault" : reason;
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
      AskedPorts asked( entry.request );
      for ( std::size_t i = 0; i < aclGroups.size(); ++i ) {
         const auto &port = theSwitch.ports()[ i ];
         if ( entry.request.ethernet && theSwitch.isCpuPort( port ) ) {
            continue;
         }
         const bool expected = asked.has( port );
         const bool found = onChip.matches( port, aclGroups[ i ] );
         if ( found != expected ) {
            mismatches.push_back(
               { id, entry.request.group, port, expected, found, reasonOf( theSwitch, entry, port ) } );
         }
      }
   }
   return mismatches;
}

} // namespace QuarraLab
