#include "tests/ToolRun.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <sys/wait.h>

#include "lab/TextFile.h"

namespace QuarraTest {
namespace {

using Lines = std::vector<std::string>;

Lines linesOf( const std::string &text ) {
   Lines lines;
   std::istringstream in( text );
   for ( std::string line; std::getline( in, line ); ) {
      lines.push_back( line );
   }
   return lines;
}

void replaceAll( std::string &text, const std::string &what, const std::string &with ) {
   for ( std::size_t at = 0; ( at = text.find( what, at ) ) != std::string::npos; at += with.size() ) {
      text.replace( at, what.size(), with );
   }
}

// Whether the lines are the expected ones; "..." is any number of them.
bool matches( Lines::const_iterator expected, Lines::const_iterator expectedEnd, Lines::const_iterator line,
              Lines::const_iterator end ) {
   for ( ; expected != expectedEnd && *expected != "..."; ++expected, ++line ) {
      if ( line == end || *line != *expected ) {
         return false;
      }
   }
   if ( expected == expectedEnd ) {
      return line == end;
   }
   for ( ++expected; !matches( expected, expectedEnd, line, end ); ++line ) {
      if ( line == end ) {
         return false;
      }
   }
   return true;
}

} // namespace

ToolTest::ToolTest() {
   std::string name = ( std::filesystem::temp_directory_path() / "quarraToolXXXXXX" ).string();
   EXPECT_TRUE( mkdtemp( name.data() ) );
   folder_ = name;
}

ToolTest::~ToolTest() {
   std::filesystem::remove_all( folder_ );
}

std::string ToolTest::write( const std::string &name, const std::string &text ) const {
   std::ofstream( folder_ / name, std::ios::binary ) << text;
   return file( name );
}

ToolRan ToolTest::run( const std::vector<std::string> &arguments, const std::string &input ) const {
   const char *const other = std::getenv( "QUARRA_TCAM" ); // another build of it, as scripts/mutants.py has
   std::string line = "cd '" QUARRA_SOURCES "' && '" + std::string( other ? other : QUARRA_TCAM ) + "'";
   for ( const auto &argument : arguments ) {
      line += " '" + argument + "'";
   }
   line += " <'" + input + "' >'" + file( "printed" ) + "' 2>'" + file( "errors" ) + "'";
   const int status = std::system( line.c_str() );
   return { WIFEXITED( status ) ? WEXITSTATUS( status ) : -1, QuarraLab::readText( file( "printed" ) ),
            QuarraLab::readText( file( "errors" ) ) };
}

void ToolTest::expectRun( const std::string &line, const std::string &expected ) const {
   Lines arguments;
   std::istringstream words( line );
   for ( std::string word; words >> word; ) {
      replaceAll( word, "@", folder_.string() );
      arguments.push_back( word );
   }
   const auto ran = run( arguments );
   auto said = ran.printed + ran.complained + ( ran.code ? "exit " + std::to_string( ran.code ) + "\n" : "" );
   replaceAll( said, folder_.string(), "@" );
   const auto wanted = linesOf( expected );
   const auto got = linesOf( said );
   if ( !matches( wanted.begin(), wanted.end(), got.begin(), got.end() ) ) {
      EXPECT_EQ( said, expected ) << "$ " << line;
   }
}

void ToolTest::expectTranscript( const std::string &transcript ) const {
   std::string line;
   std::string expected;
   auto lines = linesOf( transcript.substr( transcript.find( '$' ) ) );
   lines.emplace_back( "$ " );
   for ( const auto &next : lines ) {
      if ( !next.starts_with( "$ " ) ) {
         expected += next + "\n";
         continue;
      }
      if ( !line.empty() ) {
         expectRun( line, expected );
      }
      line = next.substr( 2 );
      expected.clear();
   }
}

} // namespace QuarraTest
