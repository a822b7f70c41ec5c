#pragma once

#include <string>
#include <vector>

#include <fmt/format.h>

#include "acl/ReadAcl.h"

// What a reader makes of a text, in one line that a test can hold against what it expects.
namespace QuarraAcl {

using Names = std::vector<std::string>;

// What a file comes to, in one line: the tables and their rules, each with its ports, then the warnings.
inline std::string summary( const AclConfig &config ) {
   Names parts;
   for ( const AclTable &table : config.tables ) {
      const std::string leftOut = table.leftOut.empty() ? "" : " left out: " + table.leftOut;
      parts.push_back(
         fmt::format( "{} {} on {}{}", table.name, table.type, fmt::join( table.ports, "," ), leftOut ) );
      for ( const AclRule &rule : table.rules ) {
         parts.push_back( fmt::format( "{}|{} {} on {}", rule.table, rule.name, rule.priority,
                                       fmt::join( *rule.ports, "," ) ) );
      }
   }
   parts.insert( parts.end(), config.warnings.begin(), config.warnings.end() );
   return fmt::format( "{}", fmt::join( parts, "; " ) );
}

inline std::string answerTo( const std::string &text ) {
   const AclReading reading = parseAcl( { { "f", text } } );
   return reading.good() ? summary( reading.config )
                         : fmt::format( "{}", fmt::join( complaintLines( reading.complaints ), " & " ) );
}

} // namespace QuarraAcl
