#include "tools/GroupMap.h"

#include <charconv>

#include <fmt/format.h>

#include "acl/ConfigRows.h"
#include "lab/TextFile.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;
namespace {

using namespace QuarraTcam;
using QuarraAgent::SdkGeneration;

// On SDK6 groups of one-bit pools: tables of one type may overlap in their ports.
const GroupMap sdk6GroupMap = {
   { "L3", 13 },          { "L3V6", 14 },  { "L3V4V6", 59 }, { "MIRROR", 42 },     { "MIRRORV6", 43 },
   { "MIRROR_DSCP", 52 }, { "PFCWD", 55 }, { "MCLAG", 56 },  { "CTRLPLANE", 108 }, { otherTypes, 132 },
};

// With fixed-width class IDs a one-bit group holds one port set, so here groups of eight-bit pools: 255 port
// sets each, but a port belongs to one of them.
const GroupMap hsdkGroupMap = {
   { "L3", 16 },          { "L3V6", 17 },  { "L3V4V6", 18 }, { "MIRROR", 19 },    { "MIRRORV6", 20 },
   { "MIRROR_DSCP", 21 }, { "PFCWD", 22 }, { "MCLAG", 23 },  { "CTRLPLANE", 24 }, { otherTypes, 25 },
};

} // namespace

const GroupMap &defaultGroupMap( SdkGeneration generation ) {
   return generation == SdkGeneration::sdk6 ? sdk6GroupMap : hsdkGroupMap;
}

void addToMap( GroupMap &map, const std::string &text ) {
   const auto equals = text.find( '=' );
   const std::string type = upperCase( text.substr( 0, equals ) );
   U16 group = 0;
   const char *const end = text.data() + text.size();
   const char *const digits = equals == std::string::npos ? end : text.data() + equals + 1;
   const auto [ rest, problem ] = std::from_chars( digits, end, group );
   if ( type.empty() || digits == end || rest != end || problem != std::errc() ) {
      throw InputError( fmt::format( "--map {}: expected TYPE=GROUP, a group from 0 to 65535", text ) );
   }
   if ( !map.emplace( type, TcamGroupId( group ) ).second ) {
      throw InputError( fmt::format( "--map {}: type {} is mapped twice", text, type ) );
   }
}

} // namespace QuarraTool
