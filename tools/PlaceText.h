#pragma once

#include "lab/Diff.h"

// What changes are told in: places of class IDs, ports gained and lost.
namespace QuarraTool {

using namespace QuarraLab;

// "bit 14", "bits 0-7, class ID 3": where in its space.
std::string bitsText( const ClassIdPlace &place );

// "group 13, aclGroupFlexibleWidth bit 14".
std::string placeText( const ClassIdPlace &place );

// "moves from bit 14 to bit 15 (group 13, aclGroupFlexibleWidth)".
std::string moveText( const ClassIdPlace &from, const ClassIdPlace &to );

// Ports by their names, which must outlive it.
class ChangedPorts {
 public:
   explicit ChangedPorts( const std::map<QuarraModPort, std::string> &names ) : names_( names ) {}

   std::string name( const QuarraModPort &port ) const;
   std::string list( const std::set<QuarraModPort> &ports ) const; // the first dozen

   // "gains A, B; loses C"
   std::string gainsAndLosses( const GainedAndLost<QuarraModPort> &ports ) const;

 private:
   const std::map<QuarraModPort, std::string> &names_;
};

} // namespace QuarraTool
