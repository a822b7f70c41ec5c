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
   RequestKey() : RequestKey( "", 0, "" ) {}
   RequestKey( std::string name, U32 number, std::string secondName )
      : name_( std::move( name ) ),
        number_( number ),
        secondName_( std::move( secondName ) ),
        hash_( mixed() ),
        oneName_( name_ == secondName_ ) {}

   const std::string &name() const { return name_; }
   U32 number() const { return number_; }
   const std::string &secondName() const { return secondName_; }

   U32 hash() const { return hash_; }
   bool operator==( const RequestKey &other ) const {
      return hash_ == other.hash_ && number_ == other.number_ && name_ == other.name_ &&
             ( ( oneName_ && other.oneName_ ) || secondName_ == other.secondName_ );
   }
   auto operator<=>( const RequestKey & ) const = default;

   friend std::ostream &operator<<( std::ostream &out, const RequestKey &key ) {
      return out << key.name_ << ':' << key.number_ << ':' << key.secondName_;
   }

 private:
   U32 mixed() const {
      Zev::Hash hash( Zev::hash( name_ ) );
      hash.mix( number_ );
      hash.mix( Zev::hash( secondName_ ) );
      return hash.value();
   }

   std::string name_;
   U32 number_;
   std::string secondName_;
   U32 hash_;     // of the three: made once, asked often
   bool oneName_; // both names are the same, as they nearly always are: one comparison does
};

// The entry id of no entry: holds the class IDs that are reserved at start-up.
inline constexpr U32 INVALID_ENTRY_ID = 0;

} // namespace QuarraTcam
