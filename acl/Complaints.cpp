#include "acl/Complaints.h"

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

// A name or a value of the file may be endless.
std::string shortened( const std::string &text, std::size_t most ) {
   if ( text.size() <= most ) {
      return text;
   }
   while ( most > 0 && ( static_cast<unsigned char>( text[ most ] ) & 0xc0 ) == 0x80 ) {
      --most; // not in the middle of a character
   }
   return text.substr( 0, most ) + "...";
}

std::string firstOf( const std::vector<AclComplaint> &complaints ) {
   const std::size_t more = complaints.size() - 1;
   return complaints.front().text() +
          ( more ? fmt::format( " (and {} more {})", more, more == 1 ? "complaint" : "complaints" ) : "" );
}

} // namespace

std::string AclComplaint::text() const {
   constexpr std::size_t mostOfAPlace = 400;
   constexpr std::size_t mostOfAMessage = 1000;
   const std::string where = place.empty() ? "" : shortened( place, mostOfAPlace ) + ": ";
   const std::string position = line ? fmt::format( ":{}:{}", line, column ) : "";
   return oneLine( fmt::format( "{}{}: {}{}", file, position, where, shortened( message, mostOfAMessage ) ) );
}

void Complaints::add( const Place &place, std::string message, const Subject &subject ) {
   all_.push_back( { *place.file, place.path, std::move( message ), subject.table, subject.rule } );
   subjects_.emplace( subject.table, subject.rule );
}

void Complaints::addFatal( const Place &place, std::string message ) {
   add( place, std::move( message ) );
   all_.back().fatal = true;
   anyFatal_ = true;
}

void Complaints::addFatal( const Place &place, const Complaint &complaint ) {
   addFatal( place + complaint.place(), complaint.message() );
   all_.back().line = complaint.line();
   all_.back().column = complaint.column();
}

std::vector<std::string> complaintLines( const std::vector<AclComplaint> &complaints, std::size_t most ) {
   std::vector<std::string> lines;
   for ( const AclComplaint &complaint : complaints ) {
      if ( lines.size() == most ) {
         lines.push_back( fmt::format( "and {} more", complaints.size() - most ) );
         break;
      }
      lines.push_back( complaint.text() );
   }
   return lines;
}

AclRefused::AclRefused( std::vector<AclComplaint> complaints )
   : InputError( firstOf( complaints ) ), complaints_( std::move( complaints ) ) {}

} // namespace QuarraAcl
