// Who holds what: class-ID spaces, the pools over their bits, the class IDs that are lent, the rules behind
// them. Read from the records' attributes; what ports carry is the chip's own value.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "lab/Dump.h"
#include "lab/PortNames.h"

namespace QuarraLab {

using QuarraTcam::ClassIdRequestStatus;
using QuarraTcam::ClassIdType;
using QuarraTcam::PoolStatus;

// A class-ID space of the chip. Its bits count from 0; the ACL-group spaces lie in one value of the port.
struct Space {
   ClassIdType type = ClassIdType::classIdInvalid;
   U32 size = 0;
   U32 firstBit = 0; // where the space starts in that value; 0 for a space with a word of its own
};

// The type of a group's class IDs; classIdInvalid for a group that has none on this chip.
ClassIdType typeOf( TcamGroupId group );

// The spaces of the chip, by type; none of size 0.
std::vector<Space> spacesOf( const Switch &theSwitch );

// The space that a group draws from; null when the chip has none of its type.
std::optional<Space> spaceOf( const Switch &theSwitch, TcamGroupId group );

// By its name ("aclGroupFixedWidth") or the short one ("fixed", "flexible", "ifp", "vfp"). Throws
// RequestRefused ("noSpace") with the spaces that the chip has.
Space spaceNamed( const Switch &theSwitch, const std::string &name );

// What a port carries in the space.
Vesk::Bitmap carriedValue( const Switch &theSwitch, const Space &space, const QuarraModPort &port );

// The value that a pool's bits have in a port's value of the space.
U32 valueIn( const Vesk::Bitmap &value, const PoolStatus &pool );

// A class ID that is lent. The pointers are the manager's records: good until the switch is changed.
struct Holder {
   TcamGroupId group;
   const PoolStatus *pool = nullptr;
   const ClassIdRequestStatus *request = nullptr;

   // The bits of the space that the class ID sets, rising.
   std::vector<U32> bits() const;
};

// The class ID of an installed entry.
Holder holderOf( const TcamAgent &agent, const QuarraAgent::Entry &entry );

// All class IDs that are lent, by group and in order of creation.
std::vector<Holder> holdersOf( const Switch &theSwitch );

// A pool, whether it lends something or not.
struct GroupPool {
   TcamGroupId group;
   const PoolStatus *pool = nullptr;

   bool covers( U32 bit ) const { return bit >= pool->baseOffset() && bit < end(); }
   U32 end() const { return U32{ pool->baseOffset() } + pool->size(); }
};

// The pools over a space, by first bit and group. Pools of groups with a fixed offset may lie over others.
std::vector<GroupPool> poolsOf( const Switch &theSwitch, ClassIdType type );

// The entry's own name: its label, "TABLE|RULE" for a rule of a configuration, else its rule's; empty when it
// has none.
std::string ruleOf( const QuarraAgent::InstallRequest &request );

// The table in front of the "|"; empty when the name has none.
std::string tableOf( const std::string &rule );

// One bit of a space.
struct BitReport {
   Space space;
   U32 bit = 0;
   bool taken = false; // in the bitmap of the space
   std::vector<GroupPool> pools;
   std::vector<Holder> holders;         // the class IDs that set the bit
   std::vector<QuarraModPort> carriers; // the ports whose value has it
};

// Throws RequestRefused ("outOfRange") for a bit that the space does not have.
BitReport whoHoldsBit( const Switch &theSwitch, const Space &space, U32 bit );

// The class IDs behind a table's rules.
struct TableReport {
   std::string table;
   struct Share {
      Holder holder;
      std::vector<U32> entries; // the table's own, rising
   };
   std::vector<Share> shares;
};

// Throws RequestRefused ("unknownTable") when no installed entry is a rule of the table.
TableReport whoHoldsForTable( const Switch &theSwitch, const std::string &table );

// ---- As JSON

// Group, space, pool, class ID, bits, entries with their rules, ports programmed.
JsonOut holderJson( const Switch &theSwitch, const PortsJson &ports, const Holder &holder );
JsonOut bitReportJson( const Switch &theSwitch, const BitReport &report );
JsonOut tableReportJson( const Switch &theSwitch, const TableReport &report );

} // namespace QuarraLab
