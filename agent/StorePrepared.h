#pragma once

#include "agent/Store.h"
#include "agent/StoreSchema.h"

namespace QuarraAgent {

// Statements that every request uses.
struct Store::Prepared {
   explicit Prepared( const Database &database )
      : putMeta( database, Schema::put( Schema::meta ) ),
        putSpace( database, Schema::put( Schema::space ) ),
        putGroup( database, Schema::put( Schema::groupStatus ) ),
        putPool( database, Schema::put( Schema::pool ) ),
        putRequest( database, Schema::put( Schema::request ) ),
        putIndexed( database, Schema::put( Schema::indexed ) ),
        putWord( database, Schema::put( Schema::portWord ) ),
        putBit( database, Schema::put( Schema::bit ) ),
        putEntry( database, Schema::put( Schema::entry ) ),
        putInFlight( database, Schema::put( Schema::inFlight ) ),
        eraseGroup( database, Schema::erase( Schema::groupStatus, "tcamGroup" ) ),
        erasePool( database, Schema::erase( Schema::pool, "tcamGroup, pool" ) ),
        eraseRequest( database, Schema::erase( Schema::request, "tcamGroup, ord" ) ),
        eraseIndexed( database, Schema::erase( Schema::indexed, "tcamGroup, bucket, ord" ) ),
        eraseEntry( database, Schema::erase( Schema::entry, "entry" ) ),
        eraseInFlight( database, Schema::erase( Schema::inFlight, "one" ) ),
        begin( database, "BEGIN" ),
        commit( database, "COMMIT" ) {}

   Statement putMeta, putSpace, putGroup, putPool, putRequest, putIndexed, putWord, putBit, putEntry,
      putInFlight;
   Statement eraseGroup, erasePool, eraseRequest, eraseIndexed, eraseEntry, eraseInFlight;
   Statement begin, commit;
};

} // namespace QuarraAgent
