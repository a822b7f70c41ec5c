// The ports and port channels of a switch, and what a list of their names stands for.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "acl/ConfigDbTables.h"

namespace QuarraAcl {

using NameSet = std::set<std::string, NaturalLess>;

// What a list of port names stands for.
struct PortSelection {
   std::vector<std::string> ports;         // physical, in chip order, no duplicates
   std::vector<std::string> repeated;      // names given twice, directly or through a port channel
   std::vector<std::string> emptyChannels; // port channels without members
};

class SwitchPorts {
 public:
   // Reads ports, port channels and their members; in a file without a table PORT the physical ports are
   // those that members and ACL tables name. Throws Complaint.
   SwitchPorts( const ConfigTables &tables, std::vector<std::string> &warnings );

   const NameSet &physical() const { return physical_; }

   // Throws Complaint for a name that is neither a port nor a port channel.
   PortSelection select( const NameList &list ) const;

 private:
   void addPorts();
   void addChannel( const std::string &name, const std::string &place );
   void addChannels();
   void addMember( const std::string &channel, const std::string &port, const std::string &place );
   void addMembers();
   void addPortsOfAclTables();
   bool isChannel( const std::string &name ) const;
   [[noreturn]] void refuse( const std::string &name, const std::string &place ) const;

   const ConfigTables &tables_;
   const bool portsAreListed_; // the file has a table PORT
   NameSet physical_;
   std::map<std::string, NameSet, NaturalLess> channels_;
};

// "Ethernet0", "Ethernet0 and Ethernet4", "Ethernet0, Ethernet4 and Ethernet8".
std::string joinNames( const std::vector<std::string> &names );

} // namespace QuarraAcl
