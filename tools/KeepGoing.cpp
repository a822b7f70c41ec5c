#include "tools/KeepGoing.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraTool {

using namespace QuarraAcl;
using namespace QuarraLab;

AclReading usableOf( AclReading reading, bool keepGoing ) {
   if ( keepGoing && reading.usable() ) {
      return reading;
   }
   return { std::move( reading ).orRefuse(), {} };
}

bool isComplainedAbout( const std::vector<AclComplaint> &complaints, const std::string &rule ) {
   return std::ranges::any_of( complaints, [ & ]( const AclComplaint &complaint ) {
      const auto &table = complaint.table;
      return !table.empty() && ( complaint.rule.empty() ? rule.starts_with( table + "|" )
                                                        : rule == table + "|" + complaint.rule );
   } );
}

ChangeOptions keepingWhatIsWrong( const std::vector<AclComplaint> &complaints ) {
   return { [ &complaints ]( const std::string &rule ) { return isComplainedAbout( complaints, rule ); } };
}

std::vector<std::string> wrongLines( const std::vector<AclComplaint> &complaints, bool all ) {
   constexpr std::size_t some = 100;
   return complaintLines( complaints, all ? complaints.size() : some );
}

std::string wrongText( const std::vector<AclComplaint> &complaints, bool all ) {
   if ( complaints.empty() ) {
      return {};
   }
   auto text = fmt::format( "{}\n", wrongHeading );
   for ( const auto &line : wrongLines( complaints, all ) ) {
      text += fmt::format( "  {}\n", line );
   }
   return text + "\n";
}

JsonOut complaintsJson( const std::vector<AclComplaint> &complaints ) {
   auto list = JsonOut::array();
   for ( const auto &complaint : complaints ) {
      JsonOut json = { { "file", complaint.file },
                       { "place", complaint.place },
                       { "message", complaint.message },
                       { "table", complaint.table } };
      if ( !complaint.rule.empty() ) {
         json[ "rule" ] = complaint.rule;
      }
      list.push_back( std::move( json ) );
   }
   return list;
}

} // namespace QuarraTool
