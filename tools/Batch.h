#pragma once

#include <memory>

#include "lab/ChipFile.h"
#include "lab/Dump.h"

namespace QuarraTool {

using namespace QuarraLab;

// Drives a switch by JSON lines: one object a line in, one object a line out, in order (docs/tool.md). A line
// that cannot be carried out is answered with an error and changes nothing; the run goes on.
class Batch {
 public:
   explicit Batch( ChipChoice choice ) : choice_( std::move( choice ) ) {}

   // The switch, once an operation has needed it; null before.
   const Switch *usedSwitch() const { return switch_.get(); }

   // The answer to one line.
   JsonOut answer( const std::string &line );

 private:
   struct Operation;
   static const Operation operations[];

   JsonOut carryOut( const std::string &line, JsonOut &id ); // what an answer says beside ok and id
   Switch &theSwitch();                                      // made with the first operation that needs it

   JsonOut chip( JsonFields &fields );
   JsonOut createGroup( JsonFields &fields );
   JsonOut deleteGroup( JsonFields &fields );
   JsonOut install( JsonFields &fields );
   JsonOut remove( JsonFields &fields );
   JsonOut dump( JsonFields &fields );
   JsonOut check( JsonFields &fields );

   // BatchQuestions.cpp
   JsonOut why( JsonFields &fields );
   JsonOut who( JsonFields &fields );
   JsonOut usage( JsonFields &fields );
   JsonOut diff( JsonFields &fields );

   ChipChoice choice_;
   std::unique_ptr<Switch> switch_;
   U64 lineNumber_ = 0;
};

} // namespace QuarraTool
