// The ports of a switch, the port channels and VLANs, and what a list of their names stands for.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "acl/Draft.h"
#include "acl/NaturalOrder.h"

namespace QuarraAcl {

using NameSet = std::set<std::string, NaturalLess>;

// What a list of port names stands for.
struct PortSelection {
   std::vector<std::string> ports;       // physical, in chip order, no duplicates
   std::vector<std::string> repeated;    // names given twice, directly or through a port channel or VLAN
   std::vector<std::string> emptyGroups; // port channels and VLANs without members
};

class SwitchPorts {
 public:
   // Takes ports, port channels, VLANs and their members. Where no file lists ports, the physical ones are
   // those that members and ACL tables name.
   SwitchPorts( const Draft &draft, const std::string &file, Complaints &complaints );

   const NameSet &physical() const { return physical_; }

   // A name that is neither a port nor a group of ports is a complaint about `subject`.
   PortSelection select( const NameList &list, const Subject &subject ) const;

   // One sentence for each port that is a member of several port channels.
   Warnings sharedMembers() const;

 private:
   struct Group {
      PortGroupKind kind;
      NameSet members;
      std::vector<std::pair<Place, std::string>> problems; // told only where an ACL names the group
      bool spoilt = false; // something in it is wrong, so nobody knows what it covers
   };

   void addGroups();
   void addMember( const DraftMember &member );
   void addPortsOfAclTables();
   const struct GroupKindRow *kindOf( const std::string &name ) const;
   std::string unknown( const std::string &name ) const;
   void spoil( const std::string &group );
   bool isSpoilt( const Group &group ) const;
   std::vector<std::string> portsOf( const Group &group ) const;

   const Draft &draft_;
   Complaints &complaints_;
   NameSet physical_;
   std::map<std::string, Group, NaturalLess> groups_;
};

// "Ethernet0", "Ethernet0 and Ethernet4", "Ethernet0, Ethernet4 and Ethernet8".
std::string joinNames( const std::vector<std::string> &names );

} // namespace QuarraAcl
