// The same on the reference agent, which brings the chip up and refuses what would break an invariant.
#include <cstdio>

#include "agent/TcamAgent.h"
#include "shim.h"

int main() {
   installShim();
   const auto &variant = *QuarraAgent::variantOf( "sdk6" );
   QuarraAgent::TcamAgent agent( variant, QuarraAgent::defaultChip( variant.generation ),
                                 QuarraTcam::getQuarraTcamPortsManager() );
   agent.install( { .group = 13, .entry = 1, .ports = { { 0, 1 }, { 0, 2 }, { 0, 3 } } } );
   agent.install( { .group = 13, .entry = 2, .ports = { { 0, 3 }, { 0, 2 }, { 0, 1 } } } );
   try {
      agent.install( { .group = 13, .entry = 3, .ports = { { 0, 600 } } } );
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      std::printf( "%s: %s\n", refused.code().c_str(), refused.what() );
   }
   agent.remove( 13, 1 );
   agent.remove( 13, 2 );
}
