#include "lab/TextFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace QuarraLab {
namespace {

// More than any configuration has: 100,000 rules take some 30 MB.
constexpr std::size_t mostBytes = std::size_t{ 128 } << 20;
constexpr std::size_t mostBytesOfALine = std::size_t{ 16 } << 20; // a dump within a line takes a few

} // namespace

InputError::InputError( const std::string &message ) : std::runtime_error( messageLine( message ) ) {}

InputErrors::InputErrors( const std::vector<std::string> &messages ) : InputError( messages.front() ) {
   std::ranges::transform( messages, std::back_inserter( lines_ ), messageLine );
}

InputFile::InputFile( const std::string &file )
   : name_( file == "-" ? "standard input" : file ),
     descriptor_( file == "-" ? STDIN_FILENO : open( file.c_str(), O_RDONLY | O_CLOEXEC ) ) {
   if ( descriptor_ < 0 ) {
      refuse( "cannot be read: " + std::generic_category().message( errno ) );
   }
}

InputFile::~InputFile() {
   if ( descriptor_ != STDIN_FILENO ) {
      close( descriptor_ );
   }
}

bool InputFile::readMore( std::string &text ) {
   std::array<char, 1 << 16> buffer;
   ssize_t size = 0;
   do {
      size = read( descriptor_, buffer.data(), buffer.size() );
   } while ( size < 0 && errno == EINTR );
   if ( size < 0 ) {
      refuse( "cannot be read: " + std::generic_category().message( errno ) );
   }
   text.append( buffer.data(), static_cast<std::size_t>( size ) );
   return size > 0;
}

void InputFile::refuse( const std::string &what ) const {
   throw InputError( name_ + ": " + what );
}

std::string readText( const std::string &file ) {
   InputFile input( file );
   std::string text;
   while ( input.readMore( text ) ) {
      if ( text.size() > mostBytes ) {
         input.refuse( fmt::format( "holds more than {} MiB", mostBytes >> 20 ) );
      }
   }
   return text;
}

std::optional<std::string> LineReader::next() {
   ++number_;
   for ( ;; ) {
      const auto end = read_.find( '\n', searched_ );
      const auto size = std::min( end, read_.size() ) - start_;
      if ( size > mostBytesOfALine ) {
         file_.refuse( fmt::format( "line {} is longer than {} MiB", number_, mostBytesOfALine >> 20 ) );
      }
      if ( end != std::string::npos ) {
         auto line = read_.substr( start_, size );
         start_ = searched_ = end + 1;
         return line;
      }
      read_.erase( 0, start_ );
      start_ = 0;
      searched_ = read_.size();
      if ( !file_.readMore( read_ ) ) {
         return read_.empty() ? std::nullopt : std::optional( std::exchange( read_, {} ) );
      }
   }
}

} // namespace QuarraLab
