#pragma once

#include "simulator/SimulatedChip.h"

#include <gtest/gtest.h>

namespace QuarraSimulator {

using enum Generation;
using QuarraCentral::QuarraModPort;
using Ports = std::vector<U32>;

constexpr int unit = 3;
constexpr auto table = "ING_SYSTEM_PORT_TABLE";
constexpr auto key = "SYSTEM_SOURCE";
constexpr Sdk::QualifierFrame wholeValue = { .firstBit = 0, .startBit = 0, .endBit = 59 };

// 60 ACL-group bits, 12 class bits, 100 system ports.
inline ChipOptions optionsOf( Generation generation ) {
   const auto systemPort = []( auto port ) { return port.modId().value() * 20u + port.port(); };
   return { generation, unit, 60, 12, 100, systemPort, { 1, 2, 31, 32 }, { 0 }, { 2047 } };
}

inline int setGroup( U32 group, const Ports &ports, int onUnit = unit ) {
   return bcm_subport_port_group_subport_multi_set( onUnit, group, static_cast<U32>( ports.size() ),
                                                    ports.data() );
}

// A chip on which no test leaks a handle, or asks for a failure that no call meets.
struct Chip : testing::Test {
   explicit Chip( Generation generation ) : chip( optionsOf( generation ) ) {}

   void TearDown() override {
      EXPECT_EQ( chip.liveHandleTexts(), std::vector<std::string>() );
      EXPECT_EQ( chip.pendingFailures(), 0u );
   }

   SimulatedChip chip;
};

} // namespace QuarraSimulator
