#pragma once

#include "agent/TcamAgent.h"

// What the agent checks before it lets a request reach the library. Each function throws RequestRefused, or
// returns when nothing is wrong; none changes anything.
namespace QuarraAgent::RequestChecks {

using QuarraTcam::ClassIdTcamGroupConfig;
using QuarraTcam::IntfGroupInfo;
using QuarraTcam::QuarraTcamPortsManager;
using QuarraTcam::RequestKey;

// "unknownGroup"; gives the group's configuration.
const ClassIdTcamGroupConfig &knownGroup( TcamGroupId group );

// "entryIdInvalid", "entryTaken".
void freeEntryId( const std::map<U32, Entry> &entries, const InstallRequest &request );

// "unknownPort", "portsAndEthernet".
void knownPorts( const ChipConfig &chip, const PortSet &chipPorts, const InstallRequest &request );

// "ethernetNeedsWidthOne".
void ethernetFits( const ClassIdTcamGroupConfig &config, const InstallRequest &request );

// "ruleRequired", "unknownRule": in a system group, a rule that was reserved at start-up; in another group
// with such rules, their names are theirs under the group's own feature alone.
void knownRule( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                const InstallRequest &request );

// The key of a rule that was reserved at start-up in a group that is no system group.
RequestKey keyOfReservedRule( const QuarraTcam::RuleId &rule );

// "fixedOffsetGroup", "groupNotCreated", "noSpace", "spaceTooNarrow": a new key may be reserved in the group
// at all. "indexCollision": the index holds the key under an interface group of the same hash.
void keyCanBeReserved( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                       const InstallRequest &request, const RequestKey &key, const IntfGroupInfo &intfGroup );

// "noSpace", "spaceTooNarrow": the chip has the group's space, and it is as wide as what the group takes at
// once. A group that can fall back to a single bit may ask for one bit more.
void spaceIsWideEnough( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config );

// The message of a fixed-width group that found no pool when it was created.
RequestRefused noPool( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config );

// "systemGroup", "groupReserved", "groupInUse", "groupNotCreated".
void groupCanBeDeleted( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                        const std::map<U32, Entry> &entries );

// "chipTooSmall": what is reserved at start-up fits into the chip's spaces.
void startUpFits( const Variant &variant, const ChipConfig &chip );

// The message of a reservation that found no room: what was needed, what is free, and who holds the rest.
RequestRefused noRoom( const QuarraTcamPortsManager &manager, const ClassIdTcamGroupConfig &config,
                       U32 entry );

} // namespace QuarraAgent::RequestChecks
