#include <algorithm>

#include <fmt/format.h>

#include "lab/Diff.h"
#include "lab/Who.h"

// A switch's state, from a dump or from the switch.
namespace QuarraLab {
namespace {

const Json &member( const Json &object, const char *name, const std::string &place ) {
   if ( !object.is_object() || !object.contains( name ) ) {
      throw Complaint( place, std::string( "expected an object with \"" ) + name + "\", as a dump has it" );
   }
   return object.at( name );
}

U32 number( const Json &object, const char *name, const std::string &place ) {
   const auto &value = member( object, name, place );
   if ( !value.is_number_unsigned() || value.get<U64>() > 0xffffffff ) {
      throw Complaint( place + "." + name, "expected a whole number, got " + valueText( value ) );
   }
   return value.get<U32>();
}

const Json &list( const Json &object, const char *name, const std::string &place ) {
   const auto &value = member( object, name, place );
   if ( !value.is_array() ) {
      throw Complaint( place + "." + name, "expected a list, got " + typeName( value ) );
   }
   return value;
}

std::string at( const std::string &place, const char *name, std::size_t index ) {
   return place + ( place.empty() ? "" : "." ) + name + "[" + std::to_string( index ) + "]";
}

// A number of module 0, or an object with module and port; with a name, or without.
QuarraModPort portOf( const Json &json, const std::string &place, SwitchState &state ) {
   constexpr U32 maxModule = 63;
   constexpr U32 maxPort = 1023;
   U32 module = 0;
   U32 port = 0;
   if ( json.is_number_unsigned() ) {
      port = static_cast<U32>( std::min<U64>( json.get<U64>(), maxPort + 1 ) );
   } else {
      const auto &inner = member( json, "port", place );
      if ( inner.is_object() ) {
         return portOf( inner, place, state );
      }
      port = number( json, "port", place );
      module = json.contains( "module" ) ? number( json, "module", place ) : 0;
   }
   if ( module > maxModule || port > maxPort ) {
      throw Complaint( place, "expected a port of 0 to 1023 in a module of 0 to 63" );
   }
   const QuarraModPort modPort( static_cast<U16>( module ), port );
   if ( json.is_object() && json.contains( "name" ) && json.at( "name" ).is_string() ) {
      state.portNames[ modPort ] = json.at( "name" ).get<std::string>();
   }
   return modPort;
}

// The bits of "0x...": bit 0 the lowest.
std::set<U32> bitsOfHex( const Json &value, const std::string &place ) {
   const auto text = value.is_string() ? value.get<std::string>() : std::string();
   if ( text.size() < 3 || !text.starts_with( "0x" ) ||
        text.find_first_not_of( "0123456789abcdefABCDEF", 2 ) != std::string::npos ) {
      throw Complaint( place, "expected a number as \"0x...\", got " + valueText( value ) );
   }
   std::set<U32> bits;
   for ( std::size_t digit = 2; digit < text.size(); ++digit ) {
      const auto nibble = static_cast<U32>( std::stoul( text.substr( digit, 1 ), nullptr, 16 ) );
      for ( U32 bit = 0; bit < 4; ++bit ) {
         if ( nibble >> bit & 1 ) {
            bits.insert( static_cast<U32>( text.size() - 1 - digit ) * 4 + bit );
         }
      }
   }
   return bits;
}

void readRequest( const Json &request, const std::string &place, ClassIdPlace where, SwitchState &state ) {
   where.classId = number( request, "classId", place );
   auto &classId = state.classIds[ where ];
   classId.ethernet = member( request, "ethernet", place ) == true;
   std::size_t index = 0;
   for ( const auto &port : list( request, "ports", place ) ) {
      classId.ports.insert( portOf( port, at( place, "ports", index++ ), state ) );
   }
   for ( const auto &entry : list( request, "entries", place ) ) {
      if ( !entry.is_number_unsigned() ) {
         throw Complaint( place + ".entries", "expected numbers, got " + valueText( entry ) );
      }
      if ( const U32 id = entry.get<U32>() ) {
         classId.entries.insert( id );
         state.entries[ id ].place = where;
      }
   }
}

void readGroup( const Json &group, const std::string &place, SwitchState &state ) {
   ClassIdPlace where;
   where.group = number( group, "group", place );
   const auto &type = member( member( group, "config", place ), "type", place + ".config" );
   where.space = type.is_string() ? type.get<std::string>() : std::string();
   std::map<U32, std::pair<U32, U32>> pools; // offset and width
   std::size_t index = 0;
   for ( const auto &pool : list( group, "pools", place ) ) {
      const auto inPool = at( place, "pools", index++ );
      pools[ number( pool, "id", inPool ) ] = { number( pool, "offset", inPool ),
                                                number( pool, "width", inPool ) };
   }
   index = 0;
   for ( const auto &request : list( group, "requests", place ) ) {
      const auto inRequest = at( place, "requests", index++ );
      const auto pool = pools.find( number( request, "poolId", inRequest ) );
      if ( pool == pools.end() ) {
         throw Complaint( inRequest + ".poolId", "the group has no such pool" );
      }
      std::tie( where.offset, where.width ) = pool->second;
      readRequest( request, inRequest, where, state );
   }
}

void readChipPorts( const Json &chip, SwitchState &state ) {
   std::size_t index = 0;
   for ( const auto &port : list( chip, "ports", "chip" ) ) {
      const auto place = at( "chip", "ports", index++ );
      auto &values = state.ports[ portOf( member( port, "port", place ), place, state ) ];
      for ( const auto &[ name, value ] : port.items() ) {
         if ( value.is_string() && name != "name" ) {
            values[ name ] = bitsOfHex( value, fmt::format( "{}.{}", place, name ) );
         }
      }
   }
}

} // namespace

SwitchState stateOfDump( const Json &dump ) {
   SwitchState state;
   std::size_t index = 0;
   for ( const auto &group : list( dump, "groups", "" ) ) {
      readGroup( group, at( "", "groups", index++ ), state );
   }
   if ( dump.contains( "chip" ) && dump.at( "chip" ).is_object() ) {
      readChipPorts( dump.at( "chip" ), state );
   }
   if ( dump.contains( "entries" ) && dump.at( "entries" ).is_array() ) {
      for ( const auto &entry : dump.at( "entries" ) ) {
         const auto item = entry.is_object() && entry.contains( "entry" )
                              ? state.entries.find( number( entry, "entry", "entries" ) )
                              : state.entries.end();
         if ( item != state.entries.end() && entry.contains( "rule" ) && entry.at( "rule" ).is_string() ) {
            // The report of `apply` tells table and rule apart.
            const auto table = entry.contains( "table" ) && entry.at( "table" ).is_string()
                                  ? entry.at( "table" ).get<std::string>() + "|"
                                  : std::string();
            item->second.rule = table + entry.at( "rule" ).get<std::string>();
         }
      }
   }
   return state;
}

SwitchState stateOf( const Switch &theSwitch ) {
   // Through text, since what a dump says is the one description of a state.
   const JsonOut dump = { { "groups", dumpGroups( theSwitch ) }, { "chip", dumpChip( theSwitch ) } };
   auto state = stateOfDump( Json::parse( dump.dump() ) );
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      state.entries.at( id ).rule = ruleOf( entry.request );
   }
   for ( const auto &port : theSwitch.agent().chip().ports ) {
      state.portNames[ port.port ] = port.intf;
   }
   return state;
}

} // namespace QuarraLab
