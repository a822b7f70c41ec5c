#include "agent/StoreRows.h"

#include "agent/Store.h"
#include "agent/StorePrepared.h"

// How each row is written and read; the order of values is that of the columns in StoreSchema.h.
namespace QuarraAgent {
namespace {

using namespace QuarraTcam;
using QuarraCentral::ModId;
using QuarraCentral::QuarraModPort;

constexpr U64 anyU8 = 0xff;
constexpr U64 anyU16 = 0xffff;
constexpr U64 anyU32 = 0xffffffff;
constexpr std::size_t portBytes = 4;

S64 plain( U64 number ) {
   return static_cast<S64>( number );
}

// Bytes in the making; kept until the statement has run.
class Bytes {
 public:
   template <typename Ports>
   static Bytes ofPorts( const Ports &ports ) {
      Bytes bytes;
      bytes.bytes_.reserve( ports.size() * portBytes );
      for ( const auto &port : ports ) {
         bytes.add( port.port(), 2 );
         bytes.add( port.modId().value(), 2 );
      }
      return bytes;
   }
   void add( U64 value, int count ) {
      for ( ; count > 0; --count, value >>= 8 ) {
         bytes_.push_back( static_cast<U8>( value ) );
      }
   }
   operator std::span<const U8>() const { return bytes_; }

 private:
   std::vector<U8> bytes_;
};

U64 valueOf( std::span<const U8> bytes ) {
   U64 value = 0;
   for ( std::size_t i = bytes.size(); i > 0; --i ) {
      value = value << 8 | bytes[ i - 1 ];
   }
   return value;
}

template <typename Action>
void eachPort( const Store &store, std::span<const U8> bytes, Action action ) {
   if ( bytes.size() % portBytes ) {
      store.damaged( "a list of ports that ends within a port" );
   }
   for ( std::size_t i = 0; i < bytes.size(); i += portBytes ) {
      const U64 port = valueOf( bytes.subspan( i, 2 ) );
      const U64 module = valueOf( bytes.subspan( i + 2, 2 ) );
      if ( port > U10::max || module > ModId::null ) {
         store.damaged( "a port out of its range" );
      }
      action( QuarraModPort( static_cast<U16>( module ), static_cast<U32>( port ) ) );
   }
}

IntfGroupInfo::Ptr readIntfGroup( const Store &store, Statement &row ) {
   auto intfGroup = intfGroupInfoFactory();
   eachPort( store, row.bytes(), [ & ]( const auto &port ) { intfGroup->portIdIs( port ); } );
   intfGroup->ethernetIs( row.numberUpTo( 1 ) != 0 );
   return intfGroup;
}

RequestKey readKey( Statement &row ) {
   std::string name( row.text() );
   const auto number = static_cast<U32>( row.numberUpTo( anyU32 ) );
   return { std::move( name ), number, std::string( row.text() ) };
}

TcamGroupId readGroup( Statement &row ) {
   return TcamGroupId( static_cast<U16>( row.numberUpTo( anyU16 ) ) );
}

// A request as it was asked for, in the last columns of its row.
void bindRequest( Statement &row, const InstallRequest &request ) {
   const auto ports = Bytes::ofPorts( request.ports );
   row.bind( plain( request.group.value() ) ).bind( ports ).bind( S64{ request.ethernet } );
   row.bind( request.rule ? stringValue( request.rule->featureGroupType() ) : std::string_view() );
   row.bind( request.rule ? std::string_view( request.rule->name() ) : std::string_view() );
   row.bind( request.label ).runWithSum();
}

InstallRequest readRequest( const Store &store, Statement &row, U32 entry ) {
   InstallRequest request;
   request.entry = entry;
   request.group = readGroup( row );
   const auto ports = row.bytes();
   request.ports.reserve( ports.size() / portBytes );
   eachPort( store, ports, [ & ]( const auto &port ) { request.ports.push_back( port ); } );
   request.ethernet = row.numberUpTo( 1 ) != 0;
   const auto feature = row.text();
   const auto rule = row.text();
   if ( !feature.empty() ) {
      try {
         request.rule = RuleId( FeatureGroupTypeInstance( feature ), std::string( rule ) );
      } catch ( const Nodra::RangeError &error ) {
         store.damaged( error.what() );
      }
   }
   request.label = row.text();
   row.checkSum();
   return request;
}

EntryRow readEntry( const Store &store, Statement &row ) {
   EntryRow entry;
   const auto id = static_cast<U32>( row.numberUpTo( anyU32 ) );
   entry.order = static_cast<U64>( row.number() );
   entry.requestOrder = static_cast<U64>( row.number() );
   entry.request = readRequest( store, row, id );
   return entry;
}

} // namespace

void Store::put( const SpaceRow &row ) {
   Bytes bits;
   for ( U32 word = 0; word * 64 < row.bits.size(); ++word ) {
      bits.add( row.bits.word( word ), 8 );
   }
   prepared_->putSpace.bind( plain( static_cast<U8>( row.type ) ) )
      .bind( S64{ row.bits.size() } )
      .bind( bits );
   prepared_->putSpace.runWithSum();
}

void Store::put( const GroupRow &row ) {
   prepared_->putGroup.bind( plain( row.group.value() ) )
      .bind( plain( row.order ) )
      .bind( S64{ row.lastPool } );
   prepared_->putGroup.runWithSum();
}

void Store::put( const PoolRow &row ) {
   Bytes free;
   for ( const U16 classId : row.free ) {
      free.add( classId, 2 );
   }
   auto &put = prepared_->putPool;
   put.bind( plain( row.group.value() ) ).bind( S64{ row.pool } ).bind( S64{ row.baseOffset } );
   put.bind( S64{ row.size } ).bind( free ).runWithSum();
}

void Store::put( const RequestRow &row ) {
   auto &put = prepared_->putRequest;
   const auto ports = Bytes::ofPorts( row.intfGroup->portId() );
   put.bind( plain( row.group.value() ) ).bind( plain( row.order ) ).bind( row.key.name() );
   put.bind( S64{ row.key.number() } ).bind( row.key.secondName() ).bind( S64{ row.classId } );
   put.bind( S64{ row.pool } )
      .bind( S64{ row.startUp } )
      .bind( ports )
      .bind( S64{ row.intfGroup->ethernet() } );
   put.runWithSum();
}

void Store::put( const IndexRow &row ) {
   auto &put = prepared_->putIndexed;
   const auto ports = Bytes::ofPorts( row.intfGroup->portId() );
   put.bind( plain( row.group.value() ) ).bind( plain( row.bucket ) ).bind( plain( row.order ) );
   put.bind( row.key.name() ).bind( S64{ row.key.number() } ).bind( row.key.secondName() );
   put.bind( ports ).bind( S64{ row.intfGroup->ethernet() } ).runWithSum();
}

void Store::put( const WordRow &row ) {
   auto &put = prepared_->putWord;
   put.bind( plain( row.order ) ).bind( S64{ row.key.chip() } ).bind( S64{ row.key.port().modId().value() } );
   put.bind( S64{ row.key.port().port() } )
      .bind( S64{ row.key.table() } )
      .bind( S64{ row.value } )
      .runWithSum();
}

void Store::put( const BitRow &row ) {
   const auto ports = Bytes::ofPorts( row.intfGroup->portId() );
   prepared_->putBit.bind( S64{ row.bit } )
      .bind( ports )
      .bind( S64{ row.intfGroup->ethernet() } )
      .runWithSum();
}

void Store::put( const EntryRow &row ) {
   prepared_->putEntry.bind( S64{ row.request.entry } )
      .bind( plain( row.order ) )
      .bind( plain( row.requestOrder ) );
   bindRequest( prepared_->putEntry, row.request );
}

void Store::eraseGroup( TcamGroupId group ) {
   prepared_->eraseGroup.bind( plain( group.value() ) ).run();
}

void Store::erasePool( TcamGroupId group, U16 pool ) {
   prepared_->erasePool.bind( plain( group.value() ) ).bind( S64{ pool } ).run();
}

void Store::eraseRequest( TcamGroupId group, U64 order ) {
   prepared_->eraseRequest.bind( plain( group.value() ) ).bind( plain( order ) ).run();
}

void Store::eraseIndexed( TcamGroupId group, U64 bucket, U64 order ) {
   prepared_->eraseIndexed.bind( plain( group.value() ) )
      .bind( plain( bucket ) )
      .bind( plain( order ) )
      .run();
}

void Store::eraseEntry( U32 entry ) {
   prepared_->eraseEntry.bind( S64{ entry } ).run();
}

void Store::eraseRecords() {
   for ( const auto *table : Schema::records ) {
      database_.run( std::string( "DELETE FROM " ) + table->name );
   }
}

void Store::inFlightIs( const std::optional<RequestInFlight> &request ) {
   if ( !request ) {
      prepared_->eraseInFlight.bind( S64{ 1 } ).run();
      return;
   }
   prepared_->putInFlight.bind( S64{ 1 } )
      .bind( S64{ request->removal } )
      .bind( S64{ request->request.entry } );
   bindRequest( prepared_->putInFlight, request->request );
}

std::optional<RequestInFlight> Store::inFlight() const {
   Statement row( database_, Schema::all( Schema::inFlight ) );
   if ( !row.next() ) {
      return std::nullopt;
   }
   row.number();
   RequestInFlight request;
   request.removal = row.numberUpTo( 1 ) != 0;
   request.request = readRequest( *this, row, static_cast<U32>( row.numberUpTo( anyU32 ) ) );
   return request;
}

void Store::each( const std::function<void( SpaceRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::space ) );
   while ( row.next() ) {
      const auto type = ClassIdTypeInstance( static_cast<U32>( row.numberUpTo( 4 ) ) );
      Vesk::Bitmap bits( static_cast<U8>( type ), static_cast<U32>( row.numberUpTo( anyU8 ) ),
                         Vesk::HBitmap::BitState::clear );
      const auto bytes = row.bytes();
      for ( U32 bit = 0; bit < bits.size() && bit / 8 < bytes.size(); ++bit ) {
         if ( bytes[ bit / 8 ] >> bit % 8 & 1 ) {
            bits.set( bit );
         }
      }
      row.checkSum();
      action( { type, std::move( bits ) } );
   }
}

void Store::each( const std::function<void( GroupRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::groupStatus ) );
   while ( row.next() ) {
      GroupRow group{ readGroup( row ), static_cast<U64>( row.number() ),
                      static_cast<U16>( row.numberUpTo( anyU16 ) ) };
      row.checkSum();
      action( group );
   }
}

void Store::each( const std::function<void( PoolRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::pool ) );
   while ( row.next() ) {
      PoolRow pool;
      pool.group = readGroup( row );
      pool.pool = static_cast<U16>( row.numberUpTo( anyU16 ) );
      pool.baseOffset = static_cast<U8>( row.numberUpTo( anyU8 ) );
      pool.size = static_cast<U8>( row.numberUpTo( anyU8 ) );
      const auto free = row.bytes();
      for ( std::size_t i = 0; i + 1 < free.size(); i += 2 ) {
         pool.free.push_back( static_cast<U16>( valueOf( free.subspan( i, 2 ) ) ) );
      }
      row.checkSum();
      action( std::move( pool ) );
   }
}

void Store::each( const std::function<void( RequestRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::request ) );
   while ( row.next() ) {
      RequestRow request;
      request.group = readGroup( row );
      request.order = static_cast<U64>( row.number() );
      request.key = readKey( row );
      request.classId = static_cast<U16>( row.numberUpTo( anyU16 ) );
      request.pool = static_cast<U16>( row.numberUpTo( anyU16 ) );
      request.startUp = row.numberUpTo( 1 ) != 0;
      request.intfGroup = readIntfGroup( *this, row );
      row.checkSum();
      action( std::move( request ) );
   }
}

void Store::each( const std::function<void( IndexRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::indexed ) );
   while ( row.next() ) {
      IndexRow indexed;
      indexed.group = readGroup( row );
      indexed.bucket = static_cast<U64>( row.number() );
      indexed.order = static_cast<U64>( row.number() );
      indexed.key = readKey( row );
      indexed.intfGroup = readIntfGroup( *this, row );
      row.checkSum();
      action( std::move( indexed ) );
   }
}

void Store::each( const std::function<void( WordRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::portWord ) );
   while ( row.next() ) {
      const auto order = static_cast<U64>( row.number() );
      const auto chip = static_cast<U16>( row.numberUpTo( anyU16 ) );
      const auto module = static_cast<U16>( row.numberUpTo( ModId::null ) );
      const QuarraModPort port( module, static_cast<U32>( row.numberUpTo( U10::max ) ) );
      const auto table = static_cast<U8>( row.numberUpTo( anyU8 ) );
      const auto value = static_cast<U32>( row.numberUpTo( anyU32 ) );
      row.checkSum();
      action( { order, { chip, port, table }, value } );
   }
}

void Store::each( const std::function<void( BitRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::bit ) );
   while ( row.next() ) {
      BitRow bit;
      bit.bit = static_cast<U8>( row.numberUpTo( anyU8 ) );
      bit.intfGroup = readIntfGroup( *this, row );
      row.checkSum();
      action( std::move( bit ) );
   }
}

void Store::each( const std::function<void( EntryRow )> &action ) const {
   Statement row( database_, Schema::all( Schema::entry ) );
   while ( row.next() ) {
      action( readEntry( *this, row ) );
   }
}

void Store::eachReadable( const std::function<void( EntryRow )> &action,
                          const std::function<void()> &unreadable ) const {
   Statement row( database_, Schema::all( Schema::entry ) );
   while ( row.next() ) {
      std::optional<EntryRow> entry;
      try {
         entry = readEntry( *this, row );
      } catch ( const StoreRefused & ) {
         unreadable();
         continue;
      }
      action( std::move( *entry ) );
   }
}

} // namespace QuarraAgent
