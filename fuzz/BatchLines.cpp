#include <sstream>

#include "fuzz/Checks.h"
#include "tools/Batch.h"

// The lines of a batch on a small chip: every answer is JSON, and a refused line changes nothing.
namespace {

using namespace QuarraFuzz;
using QuarraLab::JsonOut;

constexpr std::size_t mostLines = 32;
constexpr std::size_t mostPorts = 32; // a larger chip only takes longer

JsonOut state( QuarraTool::Batch &batch ) {
   return batch.answer( R"({"op":"dump"})" );
}

bool answerLine( QuarraTool::Batch &batch, const std::string &line ) {
   const auto answer = batch.answer( line );
   const auto text = answer.dump( -1, ' ', false, JsonOut::error_handler_t::replace );
   require( JsonOut::accept( text ), "an answer is JSON", text );
   require( text.find( '\n' ) == text.npos, "an answer is one line", text );
   const bool ok = answer.at( "ok" ).get<bool>();
   if ( !ok ) {
      requireOneLine( answer.at( "error" ).at( "code" ).get<std::string>() );
      requireOneLine( answer.at( "error" ).at( "message" ).get<std::string>() );
   }
   return ok;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   QuarraTool::Batch batch( smallChip( "testSdk6" ) );
   std::istringstream lines( textOf( data, size ) );
   std::size_t number = 0;
   for ( std::string line; number < mostLines && std::getline( lines, line ); ++number ) {
      // Dumps take longer than all the rest: they are compared around one line of one input in eight or so.
      const bool compared = number != 0 && number == size % 256;
      const auto before = compared ? state( batch ) : JsonOut();
      const bool ok = answerLine( batch, line );
      require( ok || !compared || state( batch ) == before, "a refused line changes nothing", line );
      if ( batch.usedSwitch() && batch.usedSwitch()->ports().size() > mostPorts ) {
         return 0;
      }
   }
   return 0;
}
