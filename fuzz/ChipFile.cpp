#include "fuzz/Checks.h"
#include "lab/Switch.h"

// A chip file: it is refused, or a switch comes up on the chip that it chooses.
extern "C" int LLVMFuzzerTestOneInput( const std::uint8_t *data, std::size_t size ) {
   using namespace QuarraFuzz;
   constexpr std::size_t mostPorts = 32; // a larger chip only takes longer
   readOrRefuse( [ & ] {
      const auto choice = QuarraLab::parseChip( textOf( data, size ), "fuzz", smallChip( "testSdk6" ) );
      if ( choice.chip.ports.size() <= mostPorts ) {
         const QuarraLab::Switch theSwitch( choice );
         require( theSwitch.ports().size() == choice.chip.ports.size() + choice.chip.cpuPorts.size(),
                  "a switch has the ports of its chip", choice.chip.profile );
      }
   } );
   return 0;
}
