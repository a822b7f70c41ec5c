#include "tests/BadInputs.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "lab/TextFile.h"

namespace QuarraTest {
namespace {

using QuarraLab::JsonOut;

std::string pieceOf( const JsonOut &part ) {
   std::string text;
   if ( part.is_string() ) {
      return part.get<std::string>();
   }
   if ( part.contains( "bytes" ) ) {
      std::istringstream bytes( part.at( "bytes" ).get<std::string>() );
      for ( std::string byte; bytes >> byte; ) {
         text += static_cast<char>( std::stoi( byte, nullptr, 16 ) );
      }
      return text;
   }
   for ( int time = 0; time < part.at( "times" ).get<int>(); ++time ) {
      text += part.at( "of" ).get<std::string>();
   }
   return text;
}

std::string inputOf( const JsonOut &fields ) {
   std::string text;
   if ( fields.contains( "json" ) ) {
      text = fields.at( "json" ).dump();
   } else if ( fields.contains( "text" ) ) {
      text = fields.at( "text" ).get<std::string>();
   } else if ( fields.contains( "parts" ) ) {
      for ( const auto &part : fields.at( "parts" ) ) {
         text += pieceOf( part );
      }
   }
   if ( fields.contains( "frame" ) ) {
      constexpr std::string_view hole = "\"~\"";
      auto frame = fields.at( "frame" ).dump();
      text = frame.replace( frame.find( hole ), hole.size(), text );
   }
   return text;
}

} // namespace

std::string BadInput::field( const std::string &name ) const {
   return fields.contains( name ) ? fields.at( name ).get<std::string>() : "";
}

std::string BadInput::where() const {
   constexpr std::size_t shown = 200;
   const auto input = text.empty() ? fields.dump() : text;
   return group + ": " + QuarraLab::oneLine( input.substr( 0, shown ) );
}

std::vector<BadInput> allBadInputs() {
   std::vector<BadInput> inputs;
   JsonOut heading;
   std::istringstream lines( fileText( "tests/data/badInputs.jsonl" ) );
   for ( std::string line; std::getline( lines, line ); ) {
      if ( line.empty() ) {
         continue;
      }
      auto fields = JsonOut::parse( line );
      if ( fields.contains( "group" ) ) {
         if ( heading.contains( "prelude" ) && !fields.contains( "prelude" ) ) {
            fields[ "prelude" ] = heading.at( "prelude" );
         }
         heading = std::move( fields );
         continue;
      }
      auto merged = heading;
      merged.update( fields );
      inputs.push_back( { merged.at( "group" ), merged.at( "kind" ), inputOf( merged ), merged } );
   }
   return inputs;
}

std::vector<BadInput> badInputs( const std::string &kind ) {
   auto inputs = allBadInputs();
   std::erase_if( inputs, [ & ]( const auto &input ) { return input.kind != kind; } );
   return inputs;
}

const std::set<std::string> &documentedCodes() {
   static const std::set<std::string> codes = [] {
      std::set<std::string> found;
      const auto document = fileText( "docs/tool.md" );
      std::istringstream rows( document.substr( document.find( "\n## Error codes" ) ) );
      for ( std::string row; std::getline( rows, row ); ) {
         const auto cell = row.substr( 0, row.find( '|', 1 ) );
         auto from = cell.find( '`' );
         while ( from != std::string::npos ) {
            const auto to = cell.find( '`', from + 1 );
            found.insert( cell.substr( from + 1, to - from - 1 ) );
            from = cell.find( '`', to + 1 );
         }
      }
      return found;
   }();
   return codes;
}

std::string fileText( const std::string &file ) {
   return QuarraLab::readText( std::string( QUARRA_SOURCES ) + "/" + file );
}

std::vector<std::string> textsIn( const std::string &folder ) {
   std::set<std::string> files;
   for ( const auto &file : std::filesystem::directory_iterator( QUARRA_SOURCES "/" + folder ) ) {
      files.insert( file.path().filename() );
   }
   std::vector<std::string> texts;
   std::ranges::transform( files, std::back_inserter( texts ),
                           [ & ]( const auto &file ) { return fileText( folder + "/" + file ); } );
   return texts;
}

std::string lineProblem( const std::string &text ) {
   return !text.empty() && QuarraLab::oneLine( text ) == text ? "" : "not one line of text: " + text;
}

std::string answerProblem( const JsonOut &answer ) {
   const auto text = answer.dump( -1, ' ', false, JsonOut::error_handler_t::replace );
   const auto json = JsonOut::parse( text, nullptr, false );
   if ( json.is_discarded() || !json.is_object() || !json.contains( "ok" ) ||
        text.find( '\n' ) != text.npos ) {
      return "no answer: " + text;
   }
   if ( json.at( "ok" ) == true ) {
      return "";
   }
   const auto &error = json.at( "error" );
   if ( !documentedCodes().contains( error.at( "code" ) ) ) {
      return "no code of docs/tool.md: " + text;
   }
   return lineProblem( error.at( "message" ) );
}

} // namespace QuarraTest
