#pragma once

#include <compare>
#include <ostream>
#include <string>
#include <utility>

namespace Ivrel {

// An interface of the switch by its name; the default one is invalid. Ordered by name.
class IntfId {
 public:
   IntfId() = default;
   explicit IntfId( std::string name ) : name_( std::move( name ) ) {}

   bool valid() const { return !name_.empty(); }
   const std::string &name() const { return name_; }

   auto operator<=>( const IntfId & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const IntfId &intf ) {
      return out << ( intf.valid() ? intf.name_ : "(no interface)" );
   }

 private:
   std::string name_;
};

} // namespace Ivrel
