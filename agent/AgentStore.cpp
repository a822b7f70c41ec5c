#include "agent/AgentStore.h"

#include "Nodra/Text.h"

#include "agent/Recovery.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;
using Nodra::Text;

StoreRefused otherStartUp( const Store &store, const std::string &before, const std::string &now ) {
   return { "storeReservations", "store " + store.path() + ": at start-up it had \"" + before +
                                    "\", this library has \"" + now + "\"" };
}

void checkIdentity( const Store &store, const StoreIdentity &mine ) {
   const auto kept = store.identity();
   if ( kept.variant != mine.variant || kept.chip.profile != mine.chip.profile ) {
      throw StoreRefused( "storeOfAnother", "store " + store.path() + " is of variant " + kept.variant +
                                               " on chip " + kept.chip.profile + ", the agent runs variant " +
                                               mine.variant + " on chip " + mine.chip.profile );
   }
   if ( !( kept.chip == mine.chip ) ) {
      throw StoreRefused( "storeOfAnother", "store " + store.path() + " is of a chip " + kept.chip.profile +
                                               " with other sizes or ports than the agent's" );
   }
   const std::string none = "nothing";
   for ( std::size_t i = 0; i < std::max( kept.startUp.size(), mine.startUp.size() ); ++i ) {
      const auto &before = i < kept.startUp.size() ? kept.startUp[ i ] : none;
      const auto &now = i < mine.startUp.size() ? mine.startUp[ i ] : none;
      if ( before != now ) {
         throw otherStartUp( store, before, now );
      }
   }
}

} // namespace

StoreIdentity identityOf( const TcamAgent &agent ) {
   StoreIdentity identity{ std::string( agent.variant().name ), agent.chip(), {} };
   for ( const auto &[ group, config ] : classIdTcamGroupsInfo ) {
      Text text;
      text << "group " << group << " " << config->classIdType() << " width " << config->classIdPoolWidth()
           << " pools " << config->classIdNumPools() << " bits " << config->classIdPoolBits() << " "
           << config->allocationType();
      identity.startUp.push_back( text.string() );
      const auto &status = agent.manager().classIdTcamGroupStatus( group );
      if ( !status ) {
         continue;
      }
      for ( const auto &[ key, request ] : status->requestStatus() ) {
         if ( request->entryRefHas( INVALID_ENTRY_ID ) ) {
            Text rule;
            rule << "group " << group << " rule " << key << " class ID " << request->classId() << " at bit "
                 << status->poolStatus( request->poolId() )->baseOffset();
            identity.startUp.push_back( rule.string() );
         }
      }
   }
   return identity;
}

AgentStore::AgentStore( TcamAgent &agent, const std::string &path, const StoreOptions &options )
   : agent_( agent ) {
   store_ = Store::make( path, identityOf( agent ), options, [ & ]( Store &store ) {
      keeper_ = std::make_unique<RecordKeeper>( agent_, store );
      keeper_->keepAll();
   } );
   agent_.journalIs( keeper_.get() );
}

AgentStore::AgentStore( TcamAgent &agent, std::unique_ptr<Store> store )
   : agent_( agent ),
     store_( std::move( store ) ),
     keeper_( std::make_unique<RecordKeeper>( agent, *store_ ) ) {
   checkIdentity( *store_, identityOf( agent ) );
   keeper_->restore();
   if ( const auto request = store_->inFlight() ) {
      Recovery( agent_, *store_, *keeper_ ).end( *request );
      restarted_ = { request->removal ? Restarted::Outcome::done : Restarted::Outcome::undone, *request };
   }
   agent_.journalIs( keeper_.get() );
}

} // namespace QuarraAgent
