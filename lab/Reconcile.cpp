#include "lab/Reconcile.h"

#include <algorithm>
#include <map>
#include <set>

#include "agent/RequestChecks.h"
#include "agent/StoreRefused.h"

namespace QuarraLab {
namespace {

using namespace QuarraAgent;
using namespace QuarraTcam;

std::vector<QuarraCentral::QuarraModPort> sorted( std::vector<QuarraCentral::QuarraModPort> ports ) {
   std::sort( ports.begin(), ports.end() );
   return ports;
}

bool isAsWanted( const InstallRequest &is, const InstallRequest &wanted ) {
   return is.group == wanted.group && is.ethernet == wanted.ethernet && is.rule == wanted.rule &&
          ( is.ports == wanted.ports || sorted( is.ports ) == sorted( wanted.ports ) );
}

// Whether each class ID of the group is a bit of its own, so that a port may carry the old one and the new
// one.
bool hasBitsOfItsOwn( TcamGroupId group ) {
   const auto config = classIdTcamGroupsInfo.find( group );
   return config != classIdTcamGroupsInfo.end() && config->second->classIdPoolWidth() == 1;
}

class Reconciler {
 public:
   Reconciler( TcamAgent &agent, std::vector<WantedEntry> &wanted, const ReconcileOptions &options )
      : agent_( agent ), wanted_( wanted ), options_( options ) {}

   Reconciled run() {
      findByLabel();
      claim();
      removeUnclaimed();
      removeThoseInTheWay();
      for ( std::size_t i = 0; i < wanted_.size(); ++i ) {
         install( i );
      }
      deleteEmptyGroups();
      return std::move( reconciled_ );
   }

 private:
   void findByLabel() {
      for ( const auto &[ id, entry ] : agent_.entries() ) {
         const auto &label = entry.request.label;
         if ( !label.empty() && !( options_.keeps && options_.keeps( label ) ) ) {
            byLabel_[ label ].push_back( id );
         }
      }
   }

   // A label may be there twice: a process died between the new entry and the end of the old one.
   void claim() {
      before_.resize( wanted_.size() );
      for ( const bool same : { true, false } ) {
         for ( std::size_t i = 0; i < wanted_.size(); ++i ) {
            const auto item = byLabel_.find( wanted_[ i ].request.label );
            if ( before_[ i ] || item == byLabel_.end() ) {
               continue;
            }
            auto &ids = item->second;
            const auto id = std::find_if( ids.begin(), ids.end(), [ & ]( U32 candidate ) {
               return !same || isAsWanted( requestOf( candidate ), wanted_[ i ].request );
            } );
            if ( id != ids.end() ) {
               before_[ i ] = requestOf( *id );
               wanted_[ i ].change = same ? EntryFate::stays : EntryFate::changes;
               ids.erase( id );
            }
         }
      }
   }

   const InstallRequest &requestOf( U32 id ) const { return agent_.entries().at( id ).request; }

   void removeUnclaimed() {
      for ( const auto &[ label, ids ] : byLabel_ ) {
         for ( const U32 id : ids ) {
            reconciled_.gone.push_back( requestOf( id ) );
         }
      }
      std::sort( reconciled_.gone.begin(), reconciled_.gone.end(),
                 []( const auto &a, const auto &b ) { return a.entry < b.entry; } );
      for ( const auto &request : reconciled_.gone ) {
         remove( request );
      }
   }

   void remove( const InstallRequest &request ) {
      agent_.remove( request.group, request.entry );
      left_.insert( request.group );
   }

   bool goesFirst( std::size_t i ) const {
      return wanted_[ i ].change == EntryFate::changes &&
             !( hasBitsOfItsOwn( before_[ i ]->group ) && hasBitsOfItsOwn( wanted_[ i ].request.group ) );
   }

   void removeThoseInTheWay() {
      for ( std::size_t i = 0; i < wanted_.size(); ++i ) {
         if ( goesFirst( i ) ) {
            comesBack_.insert( before_[ i ]->entry );
            remove( *before_[ i ] );
         }
      }
   }

   U32 freeEntry() {
      do {
         ++lastEntry_;
      } while ( agent_.entries().contains( lastEntry_ ) || comesBack_.contains( lastEntry_ ) );
      return lastEntry_;
   }

   void install( std::size_t i ) {
      auto &entry = wanted_[ i ];
      if ( entry.change == EntryFate::stays ) {
         entry.request.entry = before_[ i ]->entry;
         ++reconciled_.stayed;
         return;
      }
      createGroup( entry.request.group );
      entry.request.entry = goesFirst( i ) ? before_[ i ]->entry : freeEntry();
      const bool isThere = entry.change == EntryFate::changes && !goesFirst( i );
      bool installed = tryInstall( entry );
      if ( isThere && installed ) {
         remove( *before_[ i ] );
      } else if ( isThere && entry.refusedCode == "noRoom" ) { // the old one's may do
         remove( *before_[ i ] );
         entry.request.entry = before_[ i ]->entry;
         installed = tryInstall( entry );
      }
      if ( installed ) {
         if ( options_.installed ) {
            options_.installed( entry );
         }
         ++( entry.change == EntryFate::comes ? reconciled_.came : reconciled_.changed );
      } else if ( before_[ i ] ) {
         putBack( entry, *before_[ i ] );
      }
   }

   void createGroup( TcamGroupId group ) {
      if ( !created_.insert( group ).second ) {
         return;
      }
      try {
         agent_.createGroup( group );
      } catch ( const StoreRefused & ) {
         throw;
      } catch ( const RequestRefused & ) {
         // The group's entries are refused in turn, each with the reason.
      }
   }

   bool tryInstall( WantedEntry &entry ) {
      try {
         agent_.install( entry.request );
         entry.refusedCode.clear();
         entry.refusedMessage.clear();
         return true;
      } catch ( const StoreRefused & ) {
         throw;
      } catch ( const RequestRefused &refused ) {
         entry.refusedCode = refused.code();
         entry.refusedMessage = refused.what();
         return false;
      }
   }

   void putBack( WantedEntry &entry, const InstallRequest &before ) {
      WantedEntry again{ before };
      const bool isThere = agent_.entries().contains( before.entry ) || tryInstall( again );
      entry.refusedMessage += isThere ? "; it stays as it was" : "; what was there is gone";
   }

   // A group that a file made, with all that the file put into it gone, goes, too: its pool is somebody
   // else's room.
   void deleteEmptyGroups() {
      for ( const auto &[ id, entry ] : agent_.entries() ) {
         left_.erase( entry.request.group );
      }
      for ( const auto group : left_ ) {
         if ( !created_.contains( group ) &&
              classIdTcamGroupsInfo.at( group )->classIdType() == ClassIdType::aclGroupFixedWidth ) {
            agent_.deleteGroup( group );
         }
      }
   }

   TcamAgent &agent_;
   std::vector<WantedEntry> &wanted_;
   const ReconcileOptions &options_;
   std::map<std::string, std::vector<U32>> byLabel_;   // entries that no wanted one has claimed
   std::vector<std::optional<InstallRequest>> before_; // by wanted entry: what was there of it
   std::set<TcamGroupId> created_;
   std::set<TcamGroupId> left_; // groups that entries were removed from
   std::set<U32> comesBack_;    // entries that were removed, and come back under their number
   U32 lastEntry_ = 0;
   Reconciled reconciled_;
};

} // namespace

std::string_view stringValue( EntryFate fate ) {
   switch ( fate ) {
   case EntryFate::stays:
      return "stays";
   case EntryFate::comes:
      return "comes";
   case EntryFate::changes:
      return "changes";
   }
   return "";
}

Reconciled reconcile( TcamAgent &agent, std::vector<WantedEntry> &wanted, const ReconcileOptions &options ) {
   return Reconciler( agent, wanted, options ).run();
}

} // namespace QuarraLab
