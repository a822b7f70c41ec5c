#include <sstream>

#include "Nodra/Trace.h"
#include "fuzz/Checks.h"
#include "tools/GroupMap.h"
#include "tools/Nearest.h"

// The text of one option as a trace setting, as an SDK call that is to fail, as a variant, as a misspelt
// word, and each of its words as a mapping from a table type to a group.
extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   using namespace QuarraFuzz;
   const auto text = textOf( data, size );
   Nodra::traceLevelsIs( text );
   Nodra::traceLevelsDelAll();
   const auto near = QuarraTool::nearest( text, { "apply", "batch", "groups" } );
   require( text != "apply" || near == text, "the nearest word is the word itself", near );
   readOrRefuse( [ & ] {
      const auto failure = QuarraLab::sdkCallFailure( text );
      require( failure.nth > 0 && failure.code < 0, "calls count from 1 and fail with a negative code",
               text );
   } );
   readOrRefuse(
      [ & ] { require( QuarraLab::defaultChoice( text ).variant->name == text, "variant", text ); } );
   readOrRefuse( [ & ] {
      QuarraTool::GroupMap map;
      std::istringstream words( text );
      for ( std::string word; words >> word; ) {
         QuarraTool::addToMap( map, word );
      }
      require( !map.contains( "" ), "a mapped type has a name", text );
   } );
   return 0;
}
