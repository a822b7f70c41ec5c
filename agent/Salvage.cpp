#include "agent/Salvage.h"

#include <algorithm>

namespace QuarraAgent {
namespace {

// Reads a part; what cannot be read is left out.
template <typename Read>
void attempt( Read read ) {
   try {
      read();
   } catch ( const StoreRefused & ) {
      // what was read until here counts
   }
}

std::vector<InstallRequest> readEntries( const Store &store, U64 &unreadable ) {
   std::vector<EntryRow> rows;
   attempt( [ & ] {
      store.eachReadable( [ & ]( EntryRow row ) { rows.push_back( std::move( row ) ); },
                          [ & ] { ++unreadable; } );
   } );
   std::ranges::sort( rows, {}, &EntryRow::order );
   std::optional<RequestInFlight> inFlight;
   attempt( [ & ] { inFlight = store.inFlight(); } );
   std::vector<InstallRequest> entries;
   for ( auto &row : rows ) {
      if ( !inFlight || !inFlight->removal || inFlight->request.entry != row.request.entry ) {
         entries.push_back( std::move( row.request ) );
      }
   }
   return entries;
}

std::vector<TcamGroupId> readGroups( const Store &store ) {
   std::vector<GroupRow> rows;
   attempt( [ & ] { store.each( [ & ]( GroupRow row ) { rows.push_back( row ); } ); } );
   std::ranges::sort( rows, {}, &GroupRow::order );
   std::vector<TcamGroupId> groups;
   for ( const auto &row : rows ) {
      groups.push_back( row.group );
   }
   return groups;
}

} // namespace

Salvaged salvage( const std::string &path ) {
   Salvaged salvaged;
   try {
      Store::open( path, {} );
   } catch ( const StoreRefused &refused ) {
      if ( refused.code() == "storeInUse" ) {
         throw;
      }
      salvaged.why = refused.code() + ": " + refused.what();
   }
   attempt( [ & ] {
      const auto store = Store::openUnchecked( path );
      attempt( [ & ] { salvaged.identity = store->identity(); } );
      salvaged.groups = readGroups( *store );
      salvaged.entries = readEntries( *store, salvaged.unreadable );
   } );
   return salvaged;
}

} // namespace QuarraAgent
