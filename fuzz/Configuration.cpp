#include "fuzz/Checks.h"
#include "tools/ApplyReport.h"

// A config_db.json, applied on a small chip of any variant: it is refused, or has a report and a JSON
// document.
namespace {

using namespace QuarraFuzz;
using namespace QuarraAcl;
using namespace QuarraLab;
using namespace QuarraTool;

constexpr std::size_t most = 32; // ports, tables, rules of a table: more only take longer

bool isSmall( const AclConfig &config ) {
   return config.ports.size() <= most && config.tables.size() <= most &&
          std::ranges::all_of( config.tables,
                               []( const auto &table ) { return table.rules.size() <= most; } );
}

void applyAndReport( AclConfig config, const std::string &variant ) {
   const Applied applied( std::move( config ), smallChip( variant ), {} );
   const auto report = applyReport( applied, false );
   for ( std::size_t start = 0; start < report.size(); start = report.find( '\n', start ) + 1 ) {
      const auto line = report.substr( start, report.find( '\n', start ) - start );
      require( oneLine( line ) == line, "a report has no control characters", line );
   }
   const auto json = JsonOut::parse( applyJson( applied ).dump() );
   require( json.at( "ok" ) == applied.allFitAndMatch(), "report and document agree", report );
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   readOrRefuse( [ & ] {
      auto config = parseConfigDb( textOf( data, size ), "fuzz" );
      if ( isSmall( config ) ) {
         const auto variants = QuarraAgent::variants();
         applyAndReport( std::move( config ), std::string( variants[ size % variants.size() ].name ) );
      }
   } );
   return 0;
}
