#pragma once

#include <map>
#include <string>
#include <vector>

#include "lab/Switch.h"

namespace QuarraLab {

// The ports of a switch by their interface names. What it prints is one line, whatever a name holds.
class PortNames {
 public:
   explicit PortNames( const Switch &theSwitch );

   std::string name( const QuarraModPort &port ) const; // "Ethernet4"; "Port9" where nobody named it

   // "Ethernet4 (port 2)"; the number alone says it where nobody named the port: "Port9".
   std::string full( const QuarraModPort &port ) const;

   // Rising ports, runs of neighbours folded: "Ethernet0-Ethernet11, Ethernet40"; "none" when there is none.
   std::string list( const std::vector<QuarraModPort> &ports ) const;

   // The same of those that a class ID was asked for; "all ethernet" stands for them all.
   std::string list( const QuarraTcam::IntfGroupInfo &intfGroup ) const;

   // The port of that interface name, or of that number: "2" in module 0, "1/2" in module 1. Throws
   // RequestRefused ("unknownPort") with the names that there are.
   QuarraModPort find( const std::string &text ) const;

   // Whether find() knows it.
   bool has( const std::string &text ) const;

 private:
   const QuarraModPort *lookUp( const std::string &text ) const;

   std::map<QuarraModPort, std::string> names_;
   std::map<std::string, QuarraModPort, std::less<>> ports_; // by name and by number
};

} // namespace QuarraLab
