// What crosses the boundary between shared libraries and a program of hidden visibility: exceptions, types,
// objects of the program called by the library and the other way round.
#include <cstdio>
#include <typeinfo>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"
#include "QuarraTcamSdkBaseTypes/Version.h"
#include "simulator/SimulatedChip.h"

static_assert( QUARRA_TCAM_PORTS_VERSION_NUMBER >= 100 );

namespace {

int failed = 0;

void expect( bool holds, const char *what ) {
   if ( !holds ) {
      std::printf( "does not cross: %s\n", what );
      ++failed;
   }
}

struct OwnHelper : QuarraTcam::QuarraTcamSdk6PortsHelper {
   using QuarraTcamSdk6PortsHelper::QuarraTcamSdk6PortsHelper;
};

} // namespace

int main() {
   QuarraSimulator::SimulatedChip chip( {} );
   expect( dynamic_cast<QuarraSimulator::SimulatedChip *>( SdkShim ) == &chip,
           "the chip behind the platform's shim" );

   auto scsd = std::make_shared<Quarra::QuarraCommonSmData>();
   const auto made = QuarraTcam::quarraTcamTestSdk6PortsHelperFactory( scsd );
   expect( std::dynamic_pointer_cast<QuarraTcam::QuarraTcamTestSdk6PortsHelper>( made ) != nullptr,
           "the class of a helper that the library made" );
   const auto &helper = *made;
   expect( typeid( helper ) == typeid( QuarraTcam::QuarraTcamTestSdk6PortsHelper ), "its type" );
   const QuarraTcam::QuarraTcamPortsHelper::Ptr own = std::make_shared<OwnHelper>( scsd );
   expect( std::dynamic_pointer_cast<QuarraTcam::QuarraTcamSdk6PortsHelper>( own ) != nullptr,
           "the base of a helper of the program" );

   scsd->quarraCpuModPortIs( { 65, 0 } ); // a module id out of range
   bool caught = false;
   try {
      made->populateCpuIntfGroup( QuarraTcam::intfGroupInfoFactory() );
   } catch ( const Nodra::RangeError & ) {
      caught = true;
   } catch ( ... ) {}
   expect( caught, "the range error" );
   return failed;
}
