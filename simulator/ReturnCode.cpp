#include "simulator/ReturnCode.h"

#include <algorithm>
#include <iterator>

namespace QuarraSimulator {
namespace {

struct CodeText {
   int code;
   const char *text;
};

constexpr CodeText codeTexts[] = {
   { Code::internal, "Internal error" },
   { Code::memory, "Out of memory" },
   { Code::unit, "Invalid unit" },
   { Code::parameter, "Invalid parameter" },
   { Code::empty, "Table empty" },
   { Code::full, "Table full" },
   { Code::notFound, "Entry not found" },
   { Code::exists, "Entry exists" },
   { Code::timeout, "Operation timed out" },
   { Code::busy, "Operation still running" },
   { Code::failure, "Operation failed" },
   { Code::unavailable, "Feature unavailable" },
   { Code::conflict, "Conflicting qualifier" },
};

} // namespace

const char *errorText( int code ) {
   if ( code >= 0 ) {
      return "Ok";
   }
   const auto item = std::find_if( std::begin( codeTexts ), std::end( codeTexts ),
                                   [ code ]( const CodeText &codeText ) { return codeText.code == code; } );
   return item == std::end( codeTexts ) ? "Unknown error" : item->text;
}

} // namespace QuarraSimulator
