#include "lab/ColdStart.h"

#include <set>

namespace QuarraLab {

using namespace QuarraAgent;

void bringBack( TcamAgent &agent, const Salvaged &salvaged, ColdStarted &result ) {
   auto groups = salvaged.groups;
   for ( const auto &request : salvaged.entries ) {
      groups.push_back( request.group );
   }
   std::set<QuarraTcam::TcamGroupId> created;
   for ( const auto group : groups ) {
      if ( !created.insert( group ).second ) {
         continue;
      }
      try {
         agent.createGroup( group );
      } catch ( const StoreRefused & ) {
         throw;
      } catch ( const RequestRefused & ) {
         // The group's entries are refused in turn, each with the reason.
      }
   }
   for ( const auto &request : salvaged.entries ) {
      try {
         agent.install( request );
         ++result.back;
      } catch ( const StoreRefused & ) {
         throw;
      } catch ( const RequestRefused &refused ) {
         result.refused.push_back( { request, refused.code(), refused.what() } );
      }
   }
}

} // namespace QuarraLab
