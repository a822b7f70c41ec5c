#include "tools/GroupMap.h"

#include <charconv>

#include <fmt/format.h>

#include "acl/ConfigRows.h"
#include "agent/RequestChecks.h"
#include "lab/TextFile.h"

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;

GroupMap defaultGroupMap( const QuarraAgent::Generation &generation ) {
   GroupMap map;
   for ( const auto &[ type, group ] : generation.groupMap ) {
      map.emplace( type, group );
   }
   return map;
}

void addToMap( GroupMap &map, const std::string &text ) {
   const auto equals = text.find( '=' );
   const std::string type = upperCase( text.substr( 0, equals ) );
   Nodra::Types::U16 group = 0;
   const char *const end = text.data() + text.size();
   const char *const digits = equals == std::string::npos ? end : text.data() + equals + 1;
   const auto [ rest, problem ] = std::from_chars( digits, end, group );
   if ( type.empty() || digits == end || rest != end || problem != std::errc() ) {
      throw InputError( fmt::format( "--map {}: expected TYPE=GROUP, a group from 0 to 65535", text ) );
   }
   if ( !map.emplace( type, QuarraTcam::TcamGroupId( group ) ).second ) {
      throw InputError( fmt::format( "--map {}: type {} is mapped twice", text, type ) );
   }
}

void checkGroups( const GroupMap &map ) {
   for ( const auto &[ type, group ] : map ) {
      QuarraAgent::RequestChecks::knownGroup( group );
   }
}

} // namespace QuarraTool
