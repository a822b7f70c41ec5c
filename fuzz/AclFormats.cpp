#include "acl/Changes.h"
#include "acl/ReadAcl.h"
#include "fuzz/Checks.h"

// A configuration in any format, and behind a byte of value 1 a change or a second file. Whatever comes: each
// complaint is one line, and what is left is a configuration whose rules lie within their tables, and that
// does not differ from itself.
namespace {

using namespace QuarraFuzz;
using namespace QuarraAcl;

bool isWithin( const std::vector<std::string> &ports, const std::vector<std::string> &others ) {
   return std::ranges::all_of(
      ports, [ & ]( const std::string &port ) { return std::ranges::find( others, port ) != others.end(); } );
}

void checkConfig( const AclConfig &config ) {
   for ( const std::string &warning : config.warnings ) {
      requireOneLine( warning );
   }
   for ( const AclTable &table : config.tables ) {
      require( isWithin( table.ports, config.ports ), "a table's ports are the switch's", table.name );
      for ( const AclRule &rule : table.rules ) {
         require( rule.table == table.name && isWithin( *rule.ports, table.ports ),
                  "a rule is within its table", rule.name );
         require( fieldsText( rule.fields ).find( '\n' ) == std::string::npos, "a rule's text is one line",
                  rule.name );
      }
   }
   require( changesBetween( config, config ).none(), "a configuration does not differ from itself",
            config.file );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   constexpr char separator = '\1';
   const std::string text = textOf( data, size );
   std::vector<AclText> texts;
   for ( std::size_t start = 0; start <= text.size() && texts.size() < 3; ) {
      const std::size_t end = std::min( text.find( separator, start ), text.size() );
      texts.push_back( { "file" + std::to_string( texts.size() ), text.substr( start, end - start ) } );
      start = end + 1;
   }
   const AclReading reading = parseAcl( texts );
   for ( const std::string &line : complaintLines( reading.complaints ) ) {
      requireOneLine( line );
   }
   if ( reading.usable() ) {
      checkConfig( reading.config );
   } else {
      require( reading.config.tables.empty(), "a fatal complaint leaves nothing",
               reading.complaints.front().text() );
   }
   return 0;
}
