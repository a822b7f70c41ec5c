#pragma once

#include <map>

#include "lab/MatchCheck.h"
#include "lab/Who.h"

namespace QuarraLab {

// Finds the rule behind a mismatch. What it looks up of a group it looks up once, so that many mismatches
// cost little more than few. Valid while the switch stays as it is.
class MatchReasons {
 public:
   explicit MatchReasons( const Switch &theSwitch );

   // Fills the reason in, and who is behind it. `portIndex` is the port's place in the switch's list.
   void explain( Mismatch &mismatch, const QuarraAgent::Entry &entry, std::size_t portIndex );

 private:
   using Request = QuarraTcam::ClassIdRequestStatus;

   struct PortHolder {
      const Request *request;
      U32 firstEntry;
   };

   // A group's requests by the ports that they hold now. Where pools are wider than a bit, each port has one.
   struct Group {
      const QuarraTcam::ClassIdTcamGroupConfig *config;
      const QuarraTcam::ClassIdTcamGroupStatus *status;
      std::optional<Space> space;                   // none without class IDs
      std::vector<std::vector<PortHolder>> holders; // by port index
   };

   // What the key's class ID says of one mismatch.
   struct Case {
      const Mismatch &mismatch;
      const Group &group;
      const Request &request;
      std::size_t portIndex;
      U64 differing; // bits of the pool that the port carries and should not, or the other way round,
      U64 missing;   // and those of them that it should carry; both from the pool's first bit on
   };

   const Group &groupOf( QuarraTcam::TcamGroupId id );
   std::size_t placeOf( const QuarraModPort &port ) const;
   Case caseOf( const Mismatch &mismatch, const Group &group, const Request &request,
                std::size_t portIndex ) const;

   // The rules by which the library's records part from what was asked.
   void inTheRecords( Mismatch &mismatch, const Group &group, const Request &request, std::size_t portIndex );

   // Those by which the chip parts from the records. Each returns whether it is the one.
   bool atAFixedOffset( Mismatch &mismatch, const Case &found );
   bool lostABit( const Case &found ) const;
   bool outsideOfEthernet( const Case &found ) const;

   const Switch &switch_;
   std::map<QuarraTcam::ClassIdType, U32> fixedOffsets_; // the bit of the fixed-offset groups of a type
   std::map<QuarraTcam::TcamGroupId, Group> groups_;
};

} // namespace QuarraLab
