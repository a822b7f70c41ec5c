#include "lab/Dump.h"

#include <algorithm>
#include <set>

#include <fmt/format.h>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/SystemAclFeatures.h"

namespace QuarraLab {
namespace {

using namespace QuarraTcam;

JsonOut poolJson( const PoolStatus &pool ) {
   return { { "id", pool.poolId() },
            { "offset", pool.baseOffset() },
            { "width", pool.size() },
            { "free", std::vector<U16>( pool.classIdPool().begin(), pool.classIdPool().end() ) } };
}

JsonOut requestJson( const PortsJson &ports, const ClassIdRequestStatus &request ) {
   return { { "key", keyJson( request.requestKey() ) },
            { "classId", request.classId() },
            { "poolId", request.poolId() },
            { "entries", std::set<U32>( request.entryRef().begin(), request.entryRef().end() ) },
            { "ports", ports.list( request.intfGroup()->portId() ) },
            { "ethernet", request.intfGroup()->ethernet() } };
}

// One element for each interface group that the index stores, whatever its hash: by ports, its keys in their
// order.
JsonOut indexJson( const PortsJson &ports, const ClassIdTcamGroupStatus &status ) {
   std::vector<std::pair<const IntfGroupInfo *, JsonOut>> stored;
   for ( const auto &[ hash, info ] : status.intfGroupHashToIntfGroupInfo() ) {
      for ( const auto &[ key, intfGroup ] : info->requestKeyToIntfGroup() ) {
         const auto same =
            std::find_if( stored.begin(), stored.end(), [ &wanted = *intfGroup ]( const auto &item ) {
               return wanted.portId() == item.first->portId() && wanted.ethernet() == item.first->ethernet();
            } );
         if ( same != stored.end() ) {
            same->second.push_back( keyJson( key ) );
         } else {
            stored.emplace_back( intfGroup.get(), JsonOut::array( { keyJson( key ) } ) );
         }
      }
   }
   std::sort( stored.begin(), stored.end(), []( const auto &a, const auto &b ) {
      return std::lexicographical_compare( a.first->portId().begin(), a.first->portId().end(),
                                           b.first->portId().begin(), b.first->portId().end() );
   } );
   auto index = JsonOut::array();
   for ( const auto &[ intfGroup, keys ] : stored ) {
      index.push_back( { { "ports", ports.list( intfGroup->portId() ) },
                         { "ethernet", intfGroup->ethernet() },
                         { "keys", keys } } );
   }
   return index;
}

std::string hexWord( U32 word ) {
   return fmt::format( "{:#x}", word );
}

JsonOut chipPorts( const Switch &theSwitch ) {
   const PortsJson names( theSwitch );
   auto ports = JsonOut::array();
   for ( const auto &port : theSwitch.ports() ) {
      const auto aclGroup = theSwitch.aclGroup( port );
      const auto word = [ & ]( ClassIdType type ) { return theSwitch.sourceTrunkMapWord( type, port ); };
      if ( !aclGroup.count() && std::ranges::none_of( sourceTrunkMapTypes, word ) ) {
         continue;
      }
      JsonOut json = { { "port", names.port( port ) }, { "aclGroup", aclGroup.hex() } };
      for ( const auto type : sourceTrunkMapTypes ) {
         json[ std::string( stringValue( type ) ) ] = hexWord( word( type ) );
      }
      ports.push_back( std::move( json ) );
   }
   return ports;
}

JsonOut chipEntries( const Switch &theSwitch ) {
   using Kind = QuarraSimulator::TcamEntry::Kind;
   auto entries = JsonOut::array();
   for ( const auto &[ id, entry ] : theSwitch.chip().tcamEntries() ) {
      JsonOut json = { { "entry", id } };
      switch ( entry.kind ) {
      case Kind::aclGroup:
         json[ "qualifier" ] = "aclGroup";
         json[ "dataBits" ] = entry.dataBits;
         json[ "maskBits" ] = entry.maskBits;
         break;
      case Kind::interfaceClassPort:
         json[ "qualifier" ] = "interfaceClassPort";
         json[ "word" ] = stringValue( typeOfSourceTrunkMapTable( entry.frame.sourceTrunkMapTable ) );
         json[ "data" ] = hexWord( entry.data );
         json[ "mask" ] = hexWord( entry.mask );
         break;
      case Kind::none:
         json[ "qualifier" ] = nullptr;
         break;
      }
      entries.push_back( std::move( json ) );
   }
   return entries;
}

} // namespace

PortsJson::PortsJson( const Switch &theSwitch ) {
   for ( const auto &port : theSwitch.ports() ) {
      names_.emplace( port, QuarraAgent::portName( port ) ); // the CPU's, too
   }
   for ( const auto &port : theSwitch.agent().chip().ports ) {
      names_[ port.port ] = port.intf;
   }
}

JsonOut PortsJson::port( const QuarraModPort &port ) const {
   const auto name = names_.find( port );
   JsonOut json = { { "name", name == names_.end() ? QuarraAgent::portName( port ) : name->second } };
   if ( port.modId() != QuarraCentral::ModId( 0 ) ) {
      json[ "module" ] = port.modId().value();
   }
   json[ "port" ] = port.port();
   return json;
}

QuarraModPort PortsJson::find( const std::string &name ) const {
   const auto found =
      std::find_if( names_.begin(), names_.end(), [ & ]( const auto &port ) { return port.second == name; } );
   if ( found == names_.end() ) {
      throw QuarraAgent::RequestRefused( "unknownPort", fmt::format( "there is no port \"{}\"", name ) );
   }
   return found->first;
}

JsonOut configJson( const ClassIdTcamGroupConfig &config ) {
   auto reserved = JsonOut::array();
   for ( const auto &[ key, flag ] : config.requestKey() ) {
      reserved.push_back( key.name() );
   }
   return { { "type", stringValue( config.classIdType() ) },
            { "poolBits", config.classIdPoolBits() },
            { "poolWidth", config.classIdPoolWidth() },
            { "numPools", config.classIdNumPools() },
            { "allocation", stringValue( config.allocationType() ) },
            { "system", isSystemAclGroup( config.tcamGroupId() ) },
            { "feature", stringValue( QuarraAgent::featureOf( config.tcamGroupId() ) ) },
            { "rules", reserved } };
}

JsonOut portJson( const QuarraModPort &port ) {
   if ( port.modId() == QuarraCentral::ModId( 0 ) ) {
      return port.port();
   }
   return { { "module", port.modId().value() }, { "port", port.port() } };
}

JsonOut keyJson( const RequestKey &key ) {
   return JsonOut::array( { key.name(), key.number(), key.secondName() } );
}

JsonOut mismatchJson( const Switch &theSwitch, const PortsJson &ports, const Mismatch &mismatch ) {
   return { { "entry", mismatch.entry },
            { "group", mismatch.group.value() },
            { "port", ports.port( mismatch.port ) },
            { "expected", mismatch.expected },
            { "found", mismatch.found },
            { "cause", reasonName( mismatch.reason ) },
            { "reason", reasonText( theSwitch.agent().variant(), mismatch ) } };
}

JsonOut dumpSpaces( const Switch &theSwitch ) {
   JsonOut spaces = JsonOut::object();
   for ( const auto &[ type, bitmap ] : theSwitch.agent().manager().classIdHwStatus() ) {
      spaces[ std::string( stringValue( type ) ) ] = { { "size", bitmap->size() },
                                                       { "set", bitmap->setBits() } };
   }
   return spaces;
}

JsonOut dumpGroups( const Switch &theSwitch ) {
   const PortsJson ports( theSwitch );
   auto groups = JsonOut::array();
   for ( const auto group : getTcamGroups() ) {
      JsonOut json = { { "group", group.value() },
                       { "config", configJson( *classIdTcamGroupsInfo.at( group ) ) } };
      auto pools = JsonOut::array();
      auto requests = JsonOut::array();
      auto index = JsonOut::array();
      if ( const auto &status = theSwitch.agent().manager().classIdTcamGroupStatus( group ) ) {
         for ( const auto &[ poolId, pool ] : status->poolStatus() ) {
            pools.push_back( poolJson( *pool ) );
         }
         for ( const auto &[ key, request ] : status->requestStatus() ) {
            requests.push_back( requestJson( ports, *request ) );
         }
         index = indexJson( ports, *status );
      }
      json[ "pools" ] = std::move( pools );
      json[ "requests" ] = std::move( requests );
      json[ "index" ] = std::move( index );
      groups.push_back( std::move( json ) );
   }
   return groups;
}

JsonOut dumpChip( const Switch &theSwitch ) {
   return { { "ports", chipPorts( theSwitch ) }, { "entries", chipEntries( theSwitch ) } };
}

} // namespace QuarraLab
