#pragma once

#include <vector>

#include "agent/TcamAgent.h"

// What the store holds, one struct a table; docs/restart.md lists the tables. Orders are numbers that count
// up over the life of a store: members are walked, and restored, in their order.
namespace QuarraAgent {

struct SpaceRow { // a class-ID space
   QuarraTcam::ClassIdType type;
   Vesk::Bitmap bits; // set: reserved
};

struct GroupRow {
   TcamGroupId group;
   U64 order = 0;
   U16 lastPool = 0;
};

struct PoolRow {
   TcamGroupId group;
   U16 pool = 0;
   U8 baseOffset = 0;
   U8 size = 0;
   std::vector<U16> free; // the next to be lent first
};

struct RequestRow {
   TcamGroupId group;
   U64 order = 0;
   QuarraTcam::RequestKey key;
   U16 classId = 0;
   U16 pool = 0;
   bool startUp = false; // reserved when the agent started
   QuarraTcam::IntfGroupInfo::PtrConst intfGroup;
};

struct IndexRow { // a key in the index of interface groups
   TcamGroupId group;
   U64 bucket = 0; // order of the bucket among the group's; all of one hash
   U64 order = 0;  // order in the bucket
   QuarraTcam::RequestKey key;
   QuarraTcam::IntfGroupInfo::PtrConst intfGroup;
};

struct WordRow { // a word of a port table
   U64 order = 0;
   QuarraCentral::PortTabWriteRequestKey key;
   U32 value = 0;
};

struct BitRow { // a bit of the ACL-group value, with the ports it was last put on
   U8 bit = 0;
   QuarraTcam::IntfGroupInfo::PtrConst intfGroup;
};

struct EntryRow {
   U64 order = 0;
   U64 requestOrder = 0; // of the request, in its group, that holds the entry's class ID
   InstallRequest request;
};

} // namespace QuarraAgent
