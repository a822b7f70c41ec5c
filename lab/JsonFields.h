#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "QuarraCentral/QuarraModPort.h"
#include "agent/RequestRefused.h"
#include "lab/JsonText.h"

namespace QuarraLab {

using namespace Nodra::Types;

// What is wrong with an input, in the order in which it was found.
using Refusals = std::vector<QuarraAgent::RequestRefused>;

// The fields of one JSON object of a batch line or a chip file. Reading a field marks it as known; finish()
// refuses the rest. Everything wrong is a RequestRefused: "missingField", "badField" (wrong type),
// "outOfRange", "unknownField". It is thrown; or, where there is a list for it, added to that, and the field
// reads as some good value or as absent.
class JsonFields {
 public:
   // `place` names the object in messages: "install".
   JsonFields( const Json &object, std::string place, Refusals *refusals = nullptr );

   // Runs what reads fields or checks what they say: the first thing wrong ends it, and is treated as above.
   template <typename Read>
   void attempt( const Read &read ) {
      auto *const refusals = std::exchange( refusals_, nullptr );
      try {
         read();
      } catch ( const QuarraAgent::RequestRefused &refused ) {
         if ( !refusals ) {
            throw;
         }
         refusals->push_back( refused );
      }
      refusals_ = refusals;
   }
   bool goodSoFar() const { return !refusals_ || refusals_->empty(); }

   bool has( const std::string &name ) const;
   const Json &value( const std::string &name );                       // must be there, or it is thrown
   U32 number( const std::string &name, U32 min, U32 max );            // must be there
   U32 number( const std::string &name, U32 min, U32 max, U32 other ); // `other` when absent
   std::string text( const std::string &name );                        // must be there, on one line
   std::optional<std::string> optionalText( const std::string &name );
   bool flag( const std::string &name ); // false when absent

   // The fields of the object in a field that must be there.
   JsonFields object( const std::string &name );

   // The port of an interface. Throws RequestRefused when there is none of that name.
   using PortFinder = std::function<QuarraCentral::QuarraModPort( const std::string &name )>;

   // One port, written as in a list; must be there.
   QuarraCentral::QuarraModPort port( const std::string &name, const PortFinder &find = {} );

   // A list of ports: a number stands for a port of module 0, an object { "module": M, "port": P } for any;
   // the module may be left out. With `find`, the name of an interface does, too, and an object may have it
   // as "name" beside its port.
   std::vector<QuarraCentral::QuarraModPort> ports( const std::string &name, const PortFinder &find = {} );

   void finish();

   const std::string &place() const { return place_; }

   // The range check behind number(), for values inside lists.
   static U32 checkedNumber( const Json &value, const std::string &place, U32 min, U32 max );

 private:
   const Json &object_;
   std::string place_;
   Refusals *refusals_;
   std::set<std::string> known_;
};

} // namespace QuarraLab
