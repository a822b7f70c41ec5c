#include "tools/OutputFiles.h"

#include <filesystem>

#include <fmt/format.h>

#include "lab/TextFile.h"
#include "tools/Output.h"

namespace QuarraTool {
namespace {

namespace fs = std::filesystem;

// Whatever the names are, and whether it is there yet. Devices and pipes lose nothing when they are written
// to.
bool isOneFile( const std::string &one, const std::string &other ) {
   std::error_code error;
   if ( fs::exists( one, error ) && fs::exists( other, error ) ) {
      return fs::is_regular_file( one, error ) && fs::equivalent( one, other, error );
   }
   return whatIsWritten( one ) == whatIsWritten( other );
}

} // namespace

std::vector<std::string> filesRead( const GlobalOptions &global,
                                    const std::vector<std::vector<std::string>> &named ) {
   std::vector<std::string> files;
   for ( const auto &some : named ) {
      files.insert( files.end(), some.begin(), some.end() );
   }
   if ( global.chipFile ) {
      files.push_back( *global.chipFile );
   }
   if ( global.switchDir ) {
      std::error_code error;
      for ( const auto &item : fs::directory_iterator( *global.switchDir, error ) ) {
         files.push_back( item.path().string() );
      }
   }
   return files;
}

void checkOutputs( const std::string &command, const std::vector<OutputFile> &outputs,
                   const std::vector<std::string> &read ) {
   for ( auto output = outputs.begin(); output != outputs.end(); ++output ) {
      if ( output->file.empty() ) {
         continue;
      }
      const auto what = fmt::format( "{}: {} {}", command, output->option, output->file );
      if ( output->file == "-" ) {
         throw InputError( what + ": standard output has what is printed: expected a file" );
      }
      for ( auto other = outputs.begin(); other != output; ++other ) {
         if ( !other->file.empty() && isOneFile( output->file, other->file ) ) {
            throw InputError( fmt::format( "{}: {} names the same file", what, other->option ) );
         }
      }
      for ( const auto &file : read ) {
         if ( isOneFile( output->file, file ) ) {
            throw InputError( fmt::format( "{}: this would overwrite {}, which is read", what, file ) );
         }
      }
   }
}

} // namespace QuarraTool
