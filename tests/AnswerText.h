#pragma once

#include "tests/ToolRun.h"

// Switches for tests of what people read, small enough to be reckoned by hand.
namespace QuarraTest {

inline constexpr auto deskPorts = R"({"ports":26})";

// Group 16 has pools of four bits, 13 pools of one, 129 words of table 9. On a fresh chip bits 0 to 13 and
// words 0 and 1 are reserved at start-up. Entries 4, 6 and 7 take port 3 from entries 1 to 3.
inline constexpr auto desk = R"({"op":"createGroup","group":16}
{"op":"install","group":16,"entry":1,"ports":[1,2,3],"label":"DESKS|DNS"}
{"op":"install","group":16,"entry":2,"ports":[1,2,3],"label":"DESKS|WEB"}
{"op":"install","group":16,"entry":3,"ports":[1,2,3],"label":"GUESTS|WEB"}
{"op":"install","group":16,"entry":4,"ports":[3,5]}
{"op":"install","group":16,"entry":6,"ports":[3,5]}
{"op":"install","group":16,"entry":7,"ports":[3,5]}
{"op":"install","group":13,"entry":9,"ethernet":true,"label":"ALL|ANY"}
{"op":"install","group":13,"entry":10,"ports":[]}
{"op":"install","group":13,"entry":11,"ports":[1,3,5,7,9,11,13,15,17,19,21,23,25,26],"label":"ODD|ONE"}
{"op":"install","group":129,"entry":20,"ports":[2,4]}
{"op":"install","group":13,"entry":12,"ports":[0,1],"label":"CPU|ONE"}
)";

class AnswerText : public ToolTest {
 protected:
   // Makes the switch "@/NAME" with what the lines install.
   void make( const std::string &name, const std::string &lines, const std::string &chip = "{}" ) const {
      const auto ran = run( { "batch", write( name + ".jsonl", lines ), "--switch", file( name ), "--variant",
                              "sdk6", "--chip", write( name + ".json", chip ) } );
      ASSERT_EQ( ran.code, 0 ) << ran.printed << ran.complained;
   }
};

} // namespace QuarraTest
