#pragma once

#include <string>
#include <vector>

#include "agent/TcamAgent.h"

namespace QuarraAgent {

// A difference between what the agent put on the chip and what the chip holds.
struct Drift {
   enum class Kind {
      entryMissing, // an installed entry is not on the chip
      entryUnknown, // the chip holds an entry that nobody installed
      qualifier,    // an entry compares other bits, or another class ID
      portBit,      // a bit of a port's ACL-group value
      portWord,     // a word of a port table
   };

   Kind kind;
   U32 entry = 0; // of the first three
   U16 port = 0;  // of a port's bit or word: the port's number (HSDK: the system port)
   QuarraCentral::ModId module = 0;
   U8 bit = 0;
   U8 table = 0;
   std::string expected; // "1", "0x12", "data 3 mask 3,4"; "nothing" where there should be nothing
   std::string found;
};

std::string_view stringValue( Drift::Kind kind );

// What an audit read, and how it compares.
struct Audited {
   std::vector<Drift> drifts; // entries by id, then bits by port, then words
   U64 entries = 0;           // compared
   U64 bits = 0;
   U64 words = 0;
   bool readsEntries = false; // the SDK can read back entries, and words
   bool readsBits = false;    // and the ports' bits
};

// Reads back what the chip holds and compares it with what the agent put there. HSDK chips are asked through
// the library's own functions of the SDK for the ports' bits; everything else through the shim's ReadBack,
// and is left out where it has none. On the SDK6 twin, which leaves the chip alone, there are no bits to
// compare. Writes nothing. Main thread only.
Audited audit( const TcamAgent &agent );

// Writes what differs, and nothing else: entries that are missing or wrong are made anew, unknown ones
// destroyed, bits and words set. Gives the drifts that were there.
Audited repair( const TcamAgent &agent );

} // namespace QuarraAgent
