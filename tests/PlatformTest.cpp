#include "tests/Library.h"

#include <fstream>
#include <numeric>

#include "Nodra/Locks.h"
#include "Sdk/SdkCall.h"
#include "Vesk/UniqueId.h"

// The ground that the library stands on: tracing, containers, ranges, bitmaps, hashes and the door to the SDK.
namespace QuarraTest {
namespace {

using Bits = std::vector<U32>;
using Vesk::Bitmap;

Nodra::TraceHandle unitTrace( "PlatformTest" );

class Tracing : public ::testing::Test {
 protected:
   Tracing() { Nodra::traceLevelsDelAll(); }
   ~Tracing() override { Nodra::traceLevelsDelAll(); }
};

TEST_F( Tracing, LevelsAreTurnedOnAsTheSettingsSay ) {
   const auto levels = []( const char *settings ) {
      Nodra::traceLevelsDelAll();
      EXPECT_EQ( Nodra::traceLevelsIs( settings ), "" ) << settings;
      return unitTrace.levels();
   };
   EXPECT_EQ( levels( "" ), 0 );
   EXPECT_EQ( levels( "PlatformTest/0" ), 0x001 );
   EXPECT_EQ( levels( "PlatformTest/9" ), 0x200 );
   EXPECT_EQ( levels( "PlatformTest/1-3,PlatformTest/8" ), 0x10e );
   EXPECT_EQ( levels( "QuarraTcamPorts/0-9" ), 0 ) << "a handle whose name only starts alike";
   EXPECT_EQ( levels( "*/4,QuarraTcamPorts/5" ), 0x010 );
   EXPECT_EQ( QuarraTcamPortsLevels(), 0 );
}

} // namespace
} // namespace QuarraTest
