// How full a switch is: each class-ID space, what each group can still take, who holds how much.
#pragma once

#include <string>
#include <vector>

#include "lab/Who.h"

namespace QuarraLab {

struct SpaceUsage {
   Space space;
   U32 used = 0;           // bits that are reserved
   U32 largestFreeRun = 0; // adjacent free bits: what one pool can take at most
   U32 freeRuns = 0;       // 1: the free bits lie together
   U32 free() const { return space.size - used; }
   double percent() const { return 100.0 * used / space.size; }
};

// The bits of the pools over a space that a group holds.
struct GroupUsage {
   TcamGroupId group;
   ClassIdType type = ClassIdType::classIdInvalid;
   U32 poolWidth = 0;
   U32 pools = 0;
   U32 bits = 0;             // of those pools
   U32 classIdsLent = 0;     // those reserved at start-up too
   U32 classIdsReserved = 0; // reserved at start-up
   U32 entries = 0;
   U32 furtherPortSets = 0; // different new port sets that can still be installed, one after the other
};

// A table of a configuration: what its rules hold, alone or together with other tables.
struct TableUsage {
   std::string table; // empty: entries whose rule names no table
   TcamGroupId group;
   U32 entries = 0;
   U32 classIds = 0;
   U32 shared = 0; // of those, also used by other tables
};

struct Usage {
   std::vector<SpaceUsage> spaces;
   std::vector<GroupUsage> groups; // every group of the variant
   std::vector<TableUsage> tables;
};

Usage usageOf( const Switch &theSwitch );

// The largest number of further port sets that a group can take, by the rules of reservation: a free class ID
// of any of its pools, then a new pool of the group's width, then a new pool of one bit; a fixed-width group
// has the pool that it gets when it is created. Nothing is reserved. 0 for groups that take only what was
// reserved at start-up.
U32 furtherPortSets( const QuarraTcam::QuarraTcamPortsManager &manager, TcamGroupId group );

// What decides whether somebody is called: the fullest space, or fixed-width group, in percent.
struct Level {
   std::string name; // "aclGroupFlexibleWidth", "group 16"
   U32 used = 0;
   U32 size = 0;
   U32 largestFreeRun = 0; // of bits; 0 for a group
   double percent() const { return size ? 100.0 * used / size : 0; }
};

// Every space, in bits; and every fixed-width group that has been created with pools wider than one bit, in
// class IDs, because it is full when these are lent, whatever the space has left.
std::vector<Level> levelsOf( const Switch &theSwitch );

enum class Health {
   ok = 0,
   warning = 1,
   critical = 2,
   unknown = 3
}; // the exit codes of a monitoring plug-in

// One line as a monitoring system reads it: "QUARRA-TCAM WARNING - ... | label=value;warn;crit;min;max".
struct Monitoring {
   Health health;
   std::string line;
};
Monitoring monitor( const std::vector<Level> &levels, double warnPercent, double critPercent );

// The text exposition format of Prometheus.
std::string prometheusText( const Switch &theSwitch, const Usage &usage );

JsonOut usageJson( const Usage &usage );

} // namespace QuarraLab
