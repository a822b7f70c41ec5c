#pragma once

#include <string_view>

namespace QuarraAcl {

// Natural order: a run of digits counts as one number, so Ethernet2 comes before Ethernet10. Names that
// differ only in leading zeros are different names.
struct NaturalLess {
   bool operator()( std::string_view left, std::string_view right ) const;
};

} // namespace QuarraAcl
