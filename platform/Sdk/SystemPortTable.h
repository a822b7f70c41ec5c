#pragma once

#include <stdint.h>

// The logical table of system ports, as far as class IDs need its layout: an entry for each system port,
// whose ACL-group value of 160 bits lies in nine fields.
namespace Sdk {

inline constexpr char systemPortTable[] = "ING_SYSTEM_PORT_TABLE";
inline constexpr char systemPortKey[] = "SYSTEM_SOURCE";

// A field, and the bits of the ACL-group value that it holds.
struct AclGroupField {
   const char *name;
   uint8_t firstBit;
   uint8_t bits;
};

inline constexpr AclGroupField aclGroupFields[] = {
   { "ACL_GROUP_BITMAP", 0, 32 },       { "ACL_GROUP_CLASS_ID_0", 32, 16 },
   { "ACL_GROUP_CLASS_ID_1", 48, 16 },  { "ACL_GROUP_CLASS_ID_2", 64, 16 },
   { "ACL_GROUP_CLASS_ID_3", 80, 16 },  { "ACL_GROUP_CLASS_ID_4", 96, 16 },
   { "ACL_GROUP_CLASS_ID_5", 112, 16 }, { "ACL_GROUP_CLASS_ID_6", 128, 16 },
   { "ACL_GROUP_CLASS_ID_7", 144, 16 },
};

// The field that holds a bit; null above the last one.
constexpr const AclGroupField *aclGroupFieldOf( unsigned bit ) {
   for ( const auto &field : aclGroupFields ) {
      if ( bit < unsigned{ field.firstBit } + field.bits ) {
         return &field;
      }
   }
   return nullptr;
}

} // namespace Sdk
