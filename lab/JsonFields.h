#pragma once

#include <optional>
#include <set>
#include <string>

#include "QuarraCentral/QuarraModPort.h"
#include "agent/RequestRefused.h"
#include "lab/JsonText.h"

namespace QuarraLab {

using namespace Nodra::Types;

// The fields of one JSON object of a batch line or a chip file. Reading a field marks it as known; finish()
// refuses the rest. Everything wrong throws RequestRefused: "missingField", "badField" (wrong type),
// "outOfRange", "unknownField".
class JsonFields {
 public:
   // `place` names the object in messages: "install".
   JsonFields( const Json &object, std::string place );

   bool has( const std::string &name ) const;
   const Json &value( const std::string &name );                       // must be there
   U32 number( const std::string &name, U32 min, U32 max );            // must be there
   U32 number( const std::string &name, U32 min, U32 max, U32 other ); // `other` when absent
   std::string text( const std::string &name );                        // must be there, on one line
   std::optional<std::string> optionalText( const std::string &name );
   bool flag( const std::string &name ); // false when absent

   // The fields of the object in a field that must be there.
   JsonFields object( const std::string &name );

   QuarraCentral::QuarraModPort port( const std::string &name ); // must be there; written as in a list

   // A list of ports: a number stands for a port of module 0, an object { "module": M, "port": P } for any.
   std::vector<QuarraCentral::QuarraModPort> ports( const std::string &name );

   void finish() const;

   const std::string &place() const { return place_; }

   // The range check behind number(), for values inside lists.
   static U32 checkedNumber( const Json &value, const std::string &place, U32 min, U32 max );

 private:
   const Json &object_;
   std::string place_;
   std::set<std::string> known_;
};

} // namespace QuarraLab
