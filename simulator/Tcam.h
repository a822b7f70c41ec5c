#pragma once

#include <map>

#include "simulator/SimulatedChip.h"

namespace QuarraSimulator {

// The TCAM's entries by id, each with at most one qualifier on the ingress port. A qualifier that is refused
// leaves the entry as it was.
class Tcam {
 public:
   Tcam( U32 aclGroupBits, U32 sourceTrunkMapBits )
      : aclGroupBits_( aclGroupBits ), sourceTrunkMapBits_( sourceTrunkMapBits ) {}

   // As the operations of SimulatedChip.
   int create( U32 entry, const Sdk::QualifierFrame &frame );
   int install( U32 entry );
   int destroy( U32 entry );

   // Fails when the chip has no class-ID bits (unavailable), when data or mask lie outside of them or data
   // outside of the mask (parameter), when there is no such entry (not found), and when its frame is the
   // ACL-group value (conflict).
   int qualifyInterfaceClassPort( U32 entry, U32 data, U32 mask );

   // The same with lists of bits, which must be there and rise, inside of what the frame lets the qualifier
   // cover; and the other frame.
   int qualifyAclGroup( U32 entry, U32 dataCount, const U32 *data, U32 maskCount, const U32 *mask );

   const std::map<U32, TcamEntry> &entries() const { return entries_; }

   // Past the SDK: no check.
   void entryIs( U32 entry, const TcamEntry &held ) { entries_.insert_or_assign( entry, held ); }
   void entryDel( U32 entry ) { destroy( entry ); }

 private:
   bool has( const Sdk::QualifierFrame &frame ) const;

   // Whether there is an entry that takes a qualifier of the kind; and the one to write, which is a copy that
   // waits where the entry is installed.
   int takes( U32 entry, TcamEntry::Kind kind ) const;
   TcamEntry &written( U32 entry );

   U32 aclGroupBits_;
   U32 sourceTrunkMapBits_;
   std::map<U32, TcamEntry> entries_;
   std::map<U32, TcamEntry> waiting_; // installed ones with a new qualifier, for their next installation
};

} // namespace QuarraSimulator
