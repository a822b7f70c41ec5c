#pragma once

#include <functional>
#include <memory>

#include "lab/ChipFile.h"
#include "lab/Dump.h"

namespace QuarraTool {

using namespace QuarraLab;

// Drives a switch by JSON lines: one object a line in, one object a line out, in order (docs/tool.md). A line
// that cannot be carried out is answered with an error and changes nothing; the run goes on.
class Batch {
 public:
   using Maker = std::function<std::unique_ptr<Switch>( const ChipChoice &choice )>;

   // On a new switch: one in memory, unless `make` makes another.
   explicit Batch( ChipChoice choice, Maker make = {} )
      : choice_( std::move( choice ) ), make_( std::move( make ) ) {}

   static std::string operationNames(); // "chip, createGroup, ..."

   // On a switch that lasts and is there.
   explicit Batch( std::unique_ptr<Switch> lasting );

   // The switch, once an operation has needed it; null before.
   const Switch *usedSwitch() const { return switch_.get(); }

   // Whether the store of the switch did not take a change.
   bool storeFailed() const { return storeFailed_; }

   // The answer to one line. Throws StoreRefused when the switch cannot be made.
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
   JsonOut expect( JsonFields &fields );

   // BatchQuestions.cpp
   JsonOut why( JsonFields &fields );
   JsonOut who( JsonFields &fields );
   JsonOut usage( JsonFields &fields );
   JsonOut diff( JsonFields &fields );
   JsonOut plan( JsonFields &fields ); // BatchPlan.cpp

   void make();

   ChipChoice choice_;
   Maker make_;
   bool storeFailed_ = false;
   std::unique_ptr<Switch> switch_;
   U64 lineNumber_ = 0;
};

} // namespace QuarraTool
