#include <algorithm>

#include "Nodra/Text.h"
#include "Vesk/UniqueId.h"
#include "agent/RecordKeeper.h"
#include "agent/Shadow.h"

namespace QuarraAgent {
namespace {

using namespace QuarraTcam;

} // namespace

// Makes an agent's records from the rows of a store, and checks that they fit together. The rules are those
// that hold between any two requests.
class RecordReader {
 public:
   explicit RecordReader( RecordKeeper &keeper )
      : keeper_( keeper ),
        agent_( keeper.agent_ ),
        manager_( *keeper.agent_.manager_ ),
        store_( keeper.store_ ) {}

   void read() {
      forget();
      readSpaces();
      readGroups();
      readPools();
      readRequests();
      readIndex();
      readWords();
      readBits();
      readEntries();
      checkPools();
      checkIndex();
      checkSpaces();
      keeper_.uniqueId_ = store_.number( "uniqueId" );
      Vesk::UniqueId::restart( keeper_.uniqueId_ );
   }

 private:
   using Kept = RecordKeeper::KeptGroup;

   // The parts of the text are put together only when it is needed.
   template <typename... Parts>
   void must( bool holds, const Parts &...parts ) const {
      if ( !holds ) {
         Nodra::Text text;
         ( text << ... << parts );
         store_.damaged( text.string() );
      }
   }

   void seen( U64 order ) { keeper_.order_ = std::max( keeper_.order_, order ); }

   void forget() {
      manager_.classIdTcamGroupStatusDelAll();
      manager_.programmedBitDelAll();
      agent_.manager_->sourceTrunkMapConfig()->requestDelAll();
      agent_.entries_.clear();
      agent_.askers_.clear();
      keeper_.groups_.clear();
      keeper_.spaces_.clear();
      keeper_.bits_.fill( nullptr );
      keeper_.words_.clear();
   }

   void readSpaces() {
      store_.each( [ & ]( SpaceRow row ) {
         const auto &bitmap = manager_.classIdHwStatus( row.type );
         must( bitmap && bitmap->size() == row.bits.size(), "space ", row.type, " of ", row.bits.size(),
               " bits is not the chip's" );
         bitmap->copyFrom( row.bits );
         keeper_.spaces_.emplace( row.type, *bitmap );
      } );
      must( keeper_.spaces_.size() == manager_.classIdHwStatuss(), "a class-ID space is missing" );
   }

   // In the order in which the groups got their first pools.
   void readGroups() {
      std::vector<GroupRow> rows;
      store_.each( [ & ]( GroupRow row ) { rows.push_back( row ); } );
      std::sort( rows.begin(), rows.end(), []( const auto &a, const auto &b ) { return a.order < b.order; } );
      for ( const auto &row : rows ) {
         must( classIdTcamGroupsInfo.contains( row.group ), "group ", row.group, " uses no class IDs" );
         const auto &status = manager_.classIdTcamGroupStatusIs( row.group );
         status->lastPoolNumIs( row.lastPool );
         seen( row.order );
         keeper_.groups_[ row.group ] = Kept{ status, row.order, row.lastPool, {}, {}, {} };
      }
   }

   Kept &groupOf( TcamGroupId group, const char *what ) {
      const auto item = keeper_.groups_.find( group );
      must( item != keeper_.groups_.end(), what, " of group ", group, ", which has no pools" );
      return item->second;
   }

   void readPools() {
      store_.each( [ & ]( PoolRow row ) {
         auto &kept = groupOf( row.group, "a pool" );
         const auto &space = manager_.classIdHwStatus( classIdTcamGroupsInfo.at( row.group )->classIdType() );
         constexpr U32 widest = 16;
         must( space && row.pool && row.pool <= kept.lastPool && row.size && row.size <= widest &&
                  U32{ row.baseOffset } + row.size <= space->size(),
               "pool ", row.pool, " of group ", row.group, " lies outside of its space" );
         const auto &pool = kept.record->poolStatusIs( row.pool );
         pool->sizeIs( row.size );
         pool->baseOffsetIs( row.baseOffset );
         pool->tcamMaskIs( 0, space->size(), Vesk::HBitmap::BitState::clear );
         pool->tcamMask()->rangeSet( row.baseOffset, U32{ row.baseOffset } + row.size - 1 );
         for ( const U16 classId : row.free ) {
            pool->classIdPoolEnq( classId );
         }
         kept.pools.emplace( row.pool, std::move( row.free ) );
      } );
   }

   void readRequests() {
      store_.each( [ & ]( const RequestRow &row ) {
         auto &kept = groupOf( row.group, "a request" );
         must( !kept.record->requestStatusHas( row.key ), "key ", row.key, " of group ", row.group,
               " twice" );
         must( kept.record->poolStatusHas( row.pool ), "key ", row.key, " of group ", row.group,
               " without its pool ", row.pool );
         const auto &request = kept.record->requestStatusIs( row.key );
         request->classIdIs( row.classId );
         request->poolIdIs( row.pool );
         request->intfGroupIs()->deepCopy( row.intfGroup );
         if ( row.startUp ) {
            request->entryRefIs( INVALID_ENTRY_ID );
         }
         seen( row.order );
         kept.requests.push_back(
            { request, row.order, row.intfGroup->portId(), row.intfGroup->ethernet() } );
      } );
   }

   void readIndex() {
      store_.each( [ & ]( const IndexRow &row ) {
         auto &kept = groupOf( row.group, "an index" );
         must( kept.record->requestStatusHas( row.key ), "key ", row.key, " in the index of group ",
               row.group, " only" );
         const auto &record = kept.record->intfGroupHashToIntfGroupInfoIs( row.intfGroup->hash() );
         if ( kept.buckets.empty() || kept.buckets.back().order != row.bucket ) {
            must( record->requestKeyToIntfGroups() == 0, "two buckets of one hash in the index of group ",
                  row.group );
            kept.buckets.push_back( { record, row.bucket, {} } );
         }
         must( kept.buckets.back().record == record && !record->requestKeyToIntfGroupHas( row.key ),
               "two hashes in one bucket of the index of group ", row.group );
         record->requestKeyToIntfGroupIs( row.key, row.intfGroup );
         seen( row.bucket );
         seen( row.order );
         kept.buckets.back().indexed.push_back(
            { row.key, row.intfGroup, row.intfGroup->portIds(), row.order } );
      } );
   }

   void readWords() {
      store_.each( [ & ]( WordRow row ) {
         agent_.manager_->sourceTrunkMapConfig()->requestIs( row.key, row.value );
         keeper_.words_.emplace( row.key.packed(), row.order );
         seen( row.order );
      } );
   }

   void readBits() {
      store_.each( [ & ]( const BitRow &row ) {
         manager_.programmedBitIs( row.bit, row.intfGroup );
         keeper_.bits_[ row.bit ] = row.intfGroup;
      } );
   }

   struct Reference {
      U64 order;
      U32 entry;
      ClassIdRequestStatus *request;
   };

   // The rows come by entry id; a request counts its entries from the oldest.
   void readEntries() {
      std::vector<Reference> references;
      store_.each( [ & ]( EntryRow row ) {
         auto &request = row.request;
         const U32 entry = request.entry;
         auto &requests = groupOf( request.group, "an entry" ).requests;
         const auto item =
            std::lower_bound( requests.begin(), requests.end(), row.requestOrder,
                              []( const auto &candidate, U64 order ) { return candidate.order < order; } );
         must( item != requests.end() && item->order == row.requestOrder && entry != INVALID_ENTRY_ID,
               "entry ", entry, " of group ", request.group, " without a class ID" );
         must( std::all_of( request.ports.begin(), request.ports.end(),
                            [ & ]( const auto &port ) { return agent_.chipPorts_.has( port ); } ),
               "entry ", entry, " on ports that the chip does not have" );
         references.push_back( { row.order, entry, item->record.get() } );
         agent_.entries_.emplace_hint( agent_.entries_.end(), entry,
                                       Entry{ std::move( request ), item->record->requestKey() } );
      } );
      std::sort( references.begin(), references.end(),
                 []( const auto &a, const auto &b ) { return a.order < b.order; } );
      for ( const auto &reference : references ) {
         reference.request->entryRefIs( reference.entry );
         seen( reference.order );
      }
      for ( const auto &[ id, entry ] : agent_.entries_ ) {
         agent_.countAsker( entry );
      }
   }

   // Every class ID is either free or lent to one request, and every request has a user.
   void checkPools() {
      for ( const auto &[ group, kept ] : keeper_.groups_ ) {
         std::map<U16, std::vector<bool>> known;
         for ( const auto &[ id, pool ] : kept.record->poolStatus() ) {
            auto &classIds = known[ id ];
            classIds.resize( std::size_t{ 1 } << pool->size() );
            for ( const U16 classId : pool->classIdPool() ) {
               meet( classIds, classId, group, id );
            }
         }
         for ( const auto &request : kept.requests ) {
            must( request.record->entryRefs() != 0, "key ", request.record->requestKey(), " of group ", group,
                  " without an entry" );
            meet( known.at( request.record->poolId() ), request.record->classId(), group,
                  request.record->poolId() );
         }
         for ( const auto &[ id, classIds ] : known ) {
            must( std::count( classIds.begin(), classIds.end(), true ) + 1 ==
                     static_cast<std::ptrdiff_t>( classIds.size() ),
                  "pool ", id, " of group ", group, " has lost a class ID" );
         }
         must( !known.empty(), "group ", group, " without a pool" );
      }
   }

   void meet( std::vector<bool> &classIds, U16 classId, TcamGroupId group, U16 pool ) const {
      must( classId && classId < classIds.size() && !classIds[ classId ], "class ID ", classId, " of pool ",
            pool, " of group ", group, " is none of the pool's, or is there twice" );
      classIds[ classId ] = true;
   }

   // The index finds each request by the ports that it holds now. Those of system groups are found by their
   // rules, and the keys reserved at start-up stay in the index with the ports that they had once.
   void checkIndex() {
      for ( const auto &[ group, kept ] : keeper_.groups_ ) {
         if ( isSystemAclGroup( group ) ) {
            continue;
         }
         std::size_t surplus = 0;
         for ( const auto &bucket : kept.buckets ) {
            for ( const auto &indexed : bucket.indexed ) {
               surplus += !kept.record->requestStatus( indexed.key )->entryRefHas( INVALID_ENTRY_ID );
            }
         }
         for ( const auto &request : kept.requests ) {
            if ( request.record->entryRefHas( INVALID_ENTRY_ID ) ) {
               continue;
            }
            const auto &key = request.record->requestKey();
            const auto &intfGroup = request.record->intfGroup();
            const auto &bucket = kept.record->intfGroupHashToIntfGroupInfo( intfGroup->hash() );
            must( bucket && bucket->requestKeyToIntfGroupHas( key ) &&
                     bucket->requestKeyToIntfGroup( key )->isEqual( intfGroup ),
                  "the index of group ", group, " does not find key ", key );
            --surplus;
         }
         must( surplus == 0, "the index of group ", group, " has a key of other ports" );
      }
   }

   // The reserved bits are those of the pools; pools at a fixed offset do not mark theirs.
   void checkSpaces() {
      std::map<ClassIdType, Vesk::Bitmap> pools;
      for ( const auto &[ type, bits ] : manager_.classIdHwStatus() ) {
         pools.emplace( type, Vesk::Bitmap( 0, bits->size(), Vesk::HBitmap::BitState::clear ) );
      }
      for ( const auto &[ group, kept ] : keeper_.groups_ ) {
         const auto &config = *classIdTcamGroupsInfo.at( group );
         for ( const auto &[ id, pool ] : kept.record->poolStatus() ) {
            if ( config.classIdPoolBits() == 0 ) {
               auto &bits = pools.at( config.classIdType() );
               const U32 last = U32{ pool->baseOffset() } + pool->size() - 1;
               must( !bits.anySet( pool->baseOffset(), last ), "pool ", id, " of group ", group,
                     " lies over another pool" );
               bits.rangeSet( pool->baseOffset(), last );
            }
         }
      }
      for ( const auto &[ type, bits ] : manager_.classIdHwStatus() ) {
         must( pools.at( type ) == *bits, "the reserved bits of ", type, " are not those of the pools" );
      }
   }

   RecordKeeper &keeper_;
   TcamAgent &agent_;
   QuarraTcamPortsManager &manager_;
   Store &store_;
};

void RecordKeeper::restore() {
   RecordReader( *this ).read();
   if ( const auto *const shadow = agent_.variant().shadow ) {
      shadow->restore( *agent_.manager_->portsHelper(), *agent_.manager_ );
   }
}

} // namespace QuarraAgent
