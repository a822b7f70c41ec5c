#include "acl/ConfigDbPorts.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

constexpr std::size_t maxPorts = 1023;

bool looksLikeChannel( const std::string &name ) {
   return name.starts_with( "PortChannel" );
}

// A port works for one port channel at a time, so one of the two is most likely a slip.
void warnSharedMembers( const std::map<std::string, NameSet, NaturalLess> &channels,
                        std::vector<std::string> &warnings ) {
   std::map<std::string, std::vector<std::string>, NaturalLess> channelsOf;
   for ( const auto &[ channel, members ] : channels ) {
      for ( const std::string &member : members ) {
         channelsOf[ member ].push_back( channel );
      }
   }
   for ( const auto &[ member, names ] : channelsOf ) {
      if ( names.size() > 1 ) {
         warnings.push_back(
            fmt::format( "PORTCHANNEL_MEMBER: {} is a member of {}", member, joinNames( names ) ) );
      }
   }
}

} // namespace

SwitchPorts::SwitchPorts( const ConfigTables &tables, std::vector<std::string> &warnings )
   : tables_( tables ), portsAreListed_( tables.has( "PORT" ) ) {
   addPorts();
   addChannels();
   addMembers();
   if ( !portsAreListed_ ) {
      addPortsOfAclTables();
      warnings.push_back(
         fmt::format( "PORT: the file has no such table, so the chip has only the ports that ACL tables "
                      "and port channels name, {} in all",
                      physical_.size() ) );
   }
   if ( physical_.size() > maxPorts ) {
      throw Complaint( "PORT", fmt::format( "a chip has at most {} ports, the file names {}", maxPorts,
                                            physical_.size() ) );
   }
   warnSharedMembers( channels_, warnings );
}

void SwitchPorts::addPorts() {
   for ( const auto &[ name, entry ] : tables_.entries( "PORT" ) ) {
      physical_.insert( name );
   }
}

void SwitchPorts::addChannel( const std::string &name, const std::string &place ) {
   if ( physical_.contains( name ) ) {
      throw Complaint( place, fmt::format( "expected a port channel, \"{}\" is in PORT", name ) );
   }
   channels_.try_emplace( name );
}

// All channels come before any member, so that a member can be told from a channel.
void SwitchPorts::addChannels() {
   for ( const auto &[ name, entry ] : tables_.entries( "PORTCHANNEL" ) ) {
      addChannel( name, entry.place );
   }
   for ( const auto &[ key, entry ] : tables_.entries( "PORTCHANNEL_MEMBER" ) ) {
      const std::string &channel = entry.name.front();
      if ( tables_.has( "PORTCHANNEL" ) && !channels_.contains( channel ) ) {
         throw Complaint( entry.place, fmt::format( "port channel \"{}\" is not in PORTCHANNEL", channel ) );
      }
      addChannel( channel, entry.place );
   }
}

void SwitchPorts::addMember( const std::string &channel, const std::string &port, const std::string &place ) {
   if ( isChannel( port ) ) {
      throw Complaint( place, fmt::format( "expected a port, \"{}\" is a port channel", port ) );
   }
   if ( !portsAreListed_ ) {
      physical_.insert( port );
   } else if ( !physical_.contains( port ) ) {
      refuse( port, place );
   }
   channels_.at( channel ).insert( port );
}

void SwitchPorts::addMembers() {
   for ( const auto &[ channel, entry ] : tables_.entries( "PORTCHANNEL" ) ) {
      const NameList list = findNames( entry, "members" ).value_or( NameList{} );
      for ( std::size_t i = 0; i < list.names.size(); ++i ) {
         addMember( channel, list.names[ i ], list.placeOf( i ) );
      }
   }
   for ( const auto &[ key, entry ] : tables_.entries( "PORTCHANNEL_MEMBER" ) ) {
      addMember( entry.name.front(), entry.name.back(), entry.place );
   }
}

// Only for a file without a table PORT. Where it has no port channels either, their usual name tells them
// apart.
void SwitchPorts::addPortsOfAclTables() {
   for ( const auto &[ key, entry ] : tables_.entries( "ACL_TABLE" ) ) {
      const NameList list = findNames( entry, "ports" ).value_or( NameList{} );
      for ( const std::string &name : list.names ) {
         if ( !isChannel( name ) ) {
            physical_.insert( name );
         } else if ( !tables_.has( "PORTCHANNEL" ) ) {
            channels_.try_emplace( name );
         }
      }
   }
}

bool SwitchPorts::isChannel( const std::string &name ) const {
   return channels_.contains( name ) || ( !physical_.contains( name ) && looksLikeChannel( name ) );
}

void SwitchPorts::refuse( const std::string &name, const std::string &place ) const {
   if ( looksLikeChannel( name ) ) {
      throw Complaint( place, fmt::format( "port channel \"{}\" is not in PORTCHANNEL", name ) );
   }
   if ( portsAreListed_ ) {
      throw Complaint( place, fmt::format( "port \"{}\" is not in PORT", name ) );
   }
   throw Complaint( place, fmt::format( "no ACL table and no port channel names port \"{}\"", name ) );
}

PortSelection SwitchPorts::select( const NameList &list ) const {
   NameSet seen;
   NameSet ports;
   NameSet repeated;
   NameSet emptyChannels;
   const auto addPort = [ & ]( const std::string &port ) {
      if ( !ports.insert( port ).second ) {
         repeated.insert( port );
      }
   };
   for ( std::size_t i = 0; i < list.names.size(); ++i ) {
      const std::string &name = list.names[ i ];
      const auto channel = channels_.find( name );
      if ( !seen.insert( name ).second ) {
         repeated.insert( name );
      } else if ( physical_.contains( name ) ) {
         addPort( name );
      } else if ( channel == channels_.end() ) {
         refuse( name, list.placeOf( i ) );
      } else if ( channel->second.empty() ) {
         emptyChannels.insert( name );
      } else {
         std::ranges::for_each( channel->second, addPort );
      }
   }
   return { { ports.begin(), ports.end() },
            { repeated.begin(), repeated.end() },
            { emptyChannels.begin(), emptyChannels.end() } };
}

std::string joinNames( const std::vector<std::string> &names ) {
   if ( names.size() < 2 ) {
      return names.empty() ? "" : names.front();
   }
   return fmt::format( "{} and {}", fmt::join( names.begin(), names.end() - 1, ", " ), names.back() );
}

} // namespace QuarraAcl
