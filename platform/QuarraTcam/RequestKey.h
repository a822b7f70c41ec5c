#pragma once

#include <compare>
#include <ostream>
#include <string>
#include <utility>

#include "Zev/Hash.h"

namespace QuarraTcam {

using namespace Nodra::Types;

// What holds a class ID: one rule, or one interface set, of a TCAM group. Ordered field by field.
class RequestKey {
 public:
   RequestKey() = default;
   RequestKey( std::string name, U32 number, std::string secondName )
      : name_( std::move( name ) ), number_( number ), secondName_( std::move( secondName ) ) {}

   const std::string &name() const { return name_; }
   U32 number() const { return number_; }
   const std::string &secondName() const { return secondName_; }

   U32 hash() const {
      Zev::Hash hash( Zev::hash( name_ ) );
      hash.mix( number_ );
      hash.mix( Zev::hash( secondName_ ) );
      return hash.value();
   }
   auto operator<=>( const RequestKey & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const RequestKey &key ) {
      return out << key.name_ << ':' << key.number_ << ':' << key.secondName_;
   }

 private:
   std::string name_;
   U32 number_ = 0;
   std::string secondName_;
};

// The entry id of no entry: holds the class IDs that are reserved at start-up.
inline constexpr U32 INVALID_ENTRY_ID = 0;

} // namespace QuarraTcam
