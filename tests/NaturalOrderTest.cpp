#include "acl/NaturalOrder.h"

#include <gtest/gtest.h>

#include <iterator>

namespace QuarraAcl {
namespace {

// Each stands before all that follow it. Names of one number, and numbers past any integer, are told apart.
TEST( NaturalOrder, NumbersInNamesAreOrderedByTheirValue ) {
   const char *const names[] = { "",
                                 "01",
                                 "1",
                                 "2",
                                 "10",
                                 "12",
                                 "100",
                                 "E",
                                 "E0",
                                 "E1",
                                 "E2",
                                 "E9",
                                 "E10",
                                 "E12",
                                 "E19",
                                 "E100",
                                 "E100a",
                                 "E100b",
                                 "E101",
                                 "Eth1/1",
                                 "Eth1/2",
                                 "Eth1/10",
                                 "Eth2/1",
                                 "Eth10/1",
                                 "a1b2",
                                 "a1b10",
                                 "a10b1",
                                 "a18446744073709551616",
                                 "a18446744073709551617",
                                 "a100000000000000000000",
                                 "b" };
   for ( std::size_t i = 0; i < std::size( names ); ++i ) {
      for ( std::size_t j = 0; j < std::size( names ); ++j ) {
         EXPECT_EQ( NaturalLess()( names[ i ], names[ j ] ), i < j ) << names[ i ] << " and " << names[ j ];
      }
   }
}

} // namespace
} // namespace QuarraAcl
