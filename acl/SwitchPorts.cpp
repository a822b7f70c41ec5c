#include "acl/SwitchPorts.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraAcl {

// The kinds of groups, their usual names, and where they are listed.
struct GroupKindRow {
   PortGroupKind kind;
   std::string_view prefix;
   std::string_view noun;
   std::string_view table;
};

namespace {

constexpr std::size_t maxPorts = 1023;

constexpr GroupKindRow groupKinds[] = {
   { PortGroupKind::channel, "PortChannel", "port channel", "PORTCHANNEL" },
   { PortGroupKind::vlan, "Vlan", "VLAN", "VLAN" },
};

const GroupKindRow &rowOf( PortGroupKind kind ) {
   return *std::ranges::find( groupKinds, kind, &GroupKindRow::kind );
}

bool isListed( const Draft &draft, PortGroupKind kind ) {
   return kind == PortGroupKind::channel && draft.listsChannels;
}

} // namespace

SwitchPorts::SwitchPorts( const Draft &draft, const std::string &file, Complaints &complaints )
   : draft_( draft ), complaints_( complaints ) {
   for ( const DraftPort &port : draft.ports ) {
      physical_.insert( port.name );
   }
   addGroups();
   for ( const DraftMember &member : draft.members ) {
      addMember( member );
   }
   if ( !draft.listsPorts ) {
      addPortsOfAclTables();
   }
   if ( physical_.size() > maxPorts ) {
      complaints_.addFatal( { &file, "PORT" }, fmt::format( "a chip has at most {} ports, the file names {}",
                                                            maxPorts, physical_.size() ) );
   }
   for ( const std::string &name : draft.spoiltGroups ) {
      spoil( name );
   }
}

void SwitchPorts::spoil( const std::string &group ) {
   if ( const auto found = groups_.find( group ); found != groups_.end() ) {
      found->second.spoilt = true;
   }
}

// All groups come before any member, so that a member can be told from a group. A member's row makes a group,
// too.
void SwitchPorts::addGroups() {
   const auto add = [ this ]( PortGroupKind kind, const std::string &name, const Place &place ) {
      if ( physical_.contains( name ) ) {
         complaints_.add( place,
                          fmt::format( "expected a {}, \"{}\" is in PORT", rowOf( kind ).noun, name ) );
      } else {
         groups_.try_emplace( name, Group{ kind, {}, {} } );
      }
   };
   for ( const DraftGroup &group : draft_.groups ) {
      add( group.kind, group.name, group.place );
   }
   for ( const DraftMember &member : draft_.members ) {
      if ( isListed( draft_, member.kind ) && !groups_.contains( member.group ) ) {
         complaints_.add( member.place, fmt::format( "{} \"{}\" is not in {}", rowOf( member.kind ).noun,
                                                     member.group, rowOf( member.kind ).table ) );
      } else {
         add( member.kind, member.group, member.place );
      }
   }
}

// A VLAN's members may be port channels. What is wrong with a VLAN matters only where an ACL names it.
void SwitchPorts::addMember( const DraftMember &member ) {
   const auto found = groups_.find( member.group );
   if ( found == groups_.end() ) {
      return; // complained about
   }
   Group &group = found->second;
   const GroupKindRow *kind = kindOf( member.port );
   const bool fits = !kind || ( member.kind == PortGroupKind::vlan && kind->kind == PortGroupKind::channel &&
                                groups_.contains( member.port ) );
   std::string problem;
   if ( !fits ) {
      problem = fmt::format( "expected a port, \"{}\" is a {}", member.port, kind->noun );
   } else if ( !kind && !draft_.listsPorts ) {
      physical_.insert( member.port );
   } else if ( !kind && !physical_.contains( member.port ) ) {
      problem = unknown( member.port );
   }
   if ( problem.empty() ) {
      group.members.insert( member.port );
      return;
   }
   group.spoilt = true;
   if ( member.kind == PortGroupKind::vlan ) {
      group.problems.emplace_back( member.place, problem );
   } else {
      complaints_.add( member.place, problem );
   }
}

// Only where no file lists the ports. Where none lists port channels either, their usual name tells them
// apart.
void SwitchPorts::addPortsOfAclTables() {
   for ( const DraftTable &table : draft_.tables ) {
      for ( const std::string &name : table.ports ? table.ports->names : std::vector<std::string>() ) {
         const GroupKindRow *kind = kindOf( name );
         if ( !kind ) {
            physical_.insert( name );
         } else if ( kind->kind == PortGroupKind::channel && !draft_.listsChannels ) {
            groups_.try_emplace( name, Group{ kind->kind, {}, {} } );
         }
      }
   }
}

// Null for a port's name.
const GroupKindRow *SwitchPorts::kindOf( const std::string &name ) const {
   if ( const auto group = groups_.find( name ); group != groups_.end() ) {
      return &rowOf( group->second.kind );
   }
   const auto *kind = std::ranges::find_if(
      groupKinds, [ & ]( const GroupKindRow &row ) { return name.starts_with( row.prefix ); } );
   return physical_.contains( name ) || kind == std::end( groupKinds ) ? nullptr : kind;
}

std::string SwitchPorts::unknown( const std::string &name ) const {
   if ( const GroupKindRow *kind = kindOf( name ) ) {
      return fmt::format( "{} \"{}\" is not in {}", kind->noun, name, kind->table );
   }
   return draft_.listsPorts ? fmt::format( "port \"{}\" is not in PORT", name )
                            : fmt::format( "no ACL table and no port channel names port \"{}\"", name );
}

// The ports of a group, a VLAN's port channels taken apart.
std::vector<std::string> SwitchPorts::portsOf( const Group &group ) const {
   std::vector<std::string> ports;
   for ( const std::string &member : group.members ) {
      const auto channel = groups_.find( member );
      if ( channel == groups_.end() ) {
         ports.push_back( member );
      } else {
         ports.insert( ports.end(), channel->second.members.begin(), channel->second.members.end() );
      }
   }
   return ports;
}

bool SwitchPorts::isSpoilt( const Group &group ) const {
   return group.spoilt || std::ranges::any_of( group.members, [ this ]( const std::string &member ) {
             const auto channel = groups_.find( member );
             return channel != groups_.end() && channel->second.spoilt;
          } );
}

PortSelection SwitchPorts::select( const NameList &list, const Subject &subject ) const {
   NameSet seen;
   NameSet ports;
   NameSet repeated;
   NameSet emptyGroups;
   const auto addPort = [ & ]( const std::string &port ) {
      if ( !ports.insert( port ).second ) {
         repeated.insert( port );
      }
   };
   const auto refuse = [ & ]( const Place &place, const std::string &message ) {
      complaints_.add( place, message, subject );
   };
   for ( std::size_t i = 0; i < list.names.size(); ++i ) {
      const std::string &name = list.names[ i ];
      if ( name.empty() ) {
         continue;
      }
      const auto group = groups_.find( name );
      if ( !seen.insert( name ).second ) {
         repeated.insert( name );
      } else if ( physical_.contains( name ) ) {
         addPort( name );
      } else if ( group == groups_.end() ) {
         refuse( list.placeOf( i ), unknown( name ) );
      } else if ( isSpoilt( group->second ) ) {
         for ( const auto &[ place, message ] : group->second.problems ) {
            refuse( place, message );
         }
         refuse( list.placeOf( i ),
                 fmt::format( "the {} \"{}\" is wrong itself", rowOf( group->second.kind ).noun, name ) );
      } else if ( const auto members = portsOf( group->second ); members.empty() ) {
         emptyGroups.insert( name );
      } else {
         std::ranges::for_each( members, addPort );
      }
   }
   return { { ports.begin(), ports.end() },
            { repeated.begin(), repeated.end() },
            { emptyGroups.begin(), emptyGroups.end() } };
}

// A port works for one port channel at a time, so one of the two is most likely a slip.
Warnings SwitchPorts::sharedMembers() const {
   std::map<std::string, std::vector<std::string>, NaturalLess> channelsOf;
   Warnings sentences;
   for ( const auto &[ name, group ] : groups_ ) {
      if ( group.kind == PortGroupKind::channel ) {
         for ( const std::string &member : group.members ) {
            channelsOf[ member ].push_back( name );
         }
      }
   }
   for ( const auto &[ member, names ] : channelsOf ) {
      if ( names.size() > 1 ) {
         Place place = std::ranges::find( draft_.members, member, &DraftMember::port )->place;
         place.path = "PORTCHANNEL_MEMBER";
         sentences.emplace_back( place, fmt::format( "{} is a member of {}", member, joinNames( names ) ) );
      }
   }
   return sentences;
}

std::string joinNames( const std::vector<std::string> &names ) {
   if ( names.size() < 2 ) {
      return names.empty() ? "" : names.front();
   }
   return fmt::format( "{} and {}", fmt::join( names.begin(), names.end() - 1, ", " ), names.back() );
}

} // namespace QuarraAcl
