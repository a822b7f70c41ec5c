#include "lab/FillRun.h"

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "lab/Who.h"

namespace QuarraLab {

using QuarraAgent::TcamAgent;

bool mustBeCreated( const TcamAgent &agent, TcamGroupId group ) {
   return QuarraTcam::poolsComeWithGroup( typeOf( group ) ) &&
          !agent.manager().classIdTcamGroupStatusHas( group );
}

U32 nextEntry( const TcamAgent &agent, U32 last ) {
   do {
      ++last;
   } while ( !last || agent.entries().contains( last ) );
   return last;
}

bool FillRun::install( QuarraAgent::InstallRequest request ) {
   if ( !request.entry ) {
      request.entry = nextEntry( agent_, lastEntry_ );
   }
   lastEntry_ = request.entry;
   try {
      if ( mustBeCreated( agent_, request.group ) ) {
         agent_.createGroup( request.group );
      }
      agent_.install( request );
      return true;
   } catch ( const QuarraAgent::RequestRefused & ) {
      return false;
   }
}

} // namespace QuarraLab
