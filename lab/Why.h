// Why an entry matches a port, or does not: bit by bit, from what the chip holds.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "lab/MatchCheck.h"
#include "lab/Who.h"

namespace QuarraLab {

// What the bits of one pool say in a port's value.
struct PoolReading {
   GroupPool pool;
   U32 value = 0;                // 0: no class ID of the pool
   std::optional<Holder> holder; // whose class ID the value is; nobody's when it is not lent
};

// What a port carries in one space.
struct SpaceReading {
   Space space;
   Vesk::Bitmap value;
   std::vector<PoolReading> pools; // those with a bit set, by first bit
   std::vector<U32> strayBits;     // set, and in no pool
};

// Everything that a port carries; each space of the chip, also where the port has nothing.
std::vector<SpaceReading> readPort( const Switch &theSwitch, const QuarraModPort &port );

// One bit that an entry compares. Counted from the start of its space.
struct ComparedBit {
   U32 bit = 0;
   bool wanted = false;  // the entry's data
   bool carried = false; // the port's value
   bool differs() const { return wanted != carried; }
};

// One entry against one port.
struct MatchAnswer {
   U32 entry = 0;
   QuarraModPort port;
   Space space;
   Holder holder;                 // the class ID of the entry
   std::vector<ComparedBit> bits; // each bit of the entry's mask, rising
   bool asked = false;            // the entry was asked to match the port
   bool compared = true;          // not the CPU's own port for an entry of all ethernet ports (docs/tool.md)
   bool matches = false;          // the chip's own answer
   bool asAsked() const { return !compared || asked == matches; }
   std::vector<U32> differingBits() const;
};

// Throws RequestRefused ("unknownEntry") for an entry that is not installed.
MatchAnswer whyMatches( const Switch &theSwitch, U32 entry, const QuarraModPort &port );

// The ports that the entry matches, by the chip's own answer; rising.
std::vector<QuarraModPort> matchedPorts( const Switch &theSwitch, U32 entry );

// The installed entries that `what` names: an entry's number, a table, "TABLE|RULE", or a rule's name; all of
// them when it is empty. Rising. Throws RequestRefused ("unknownEntry") when it names none.
std::vector<U32> entriesNamed( const Switch &theSwitch, const std::string &what );

// A port and what entries make of it.
struct PortReport {
   QuarraModPort port;
   std::vector<SpaceReading> carries;
   std::vector<MatchAnswer> answers;
   std::map<U32, Mismatch>
      mismatches; // by entry: the rule of the system behind an answer that is not as asked
};

PortReport explainPort( const Switch &theSwitch, const QuarraModPort &port, std::span<const U32> entries );

// ---- As JSON

JsonOut spaceReadingJson( const Switch &theSwitch, const PortsJson &ports, const SpaceReading &reading );
JsonOut matchAnswerJson( const Switch &theSwitch, const MatchAnswer &answer );
// `ruleTexts`: by entry, the rule as its author wrote it, where somebody knows.
JsonOut portReportJson( const Switch &theSwitch, const PortReport &report,
                        const std::map<U32, std::string> &ruleTexts = {} );

} // namespace QuarraLab
