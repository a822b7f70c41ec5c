#include "agent/PortTableService.h"
#include "tests/Library.h"
#include "tests/StateText.h"

// Spaces filled to the last class ID: how many fit, what one more changes, where the next one lands.
namespace QuarraTest {
namespace {

constexpr U16 firstGroup = 500; // flexible on SDK6, fixed on HSDK, as all that follow
constexpr U32 unionBits = 64;   // a union of requests tells so many bit positions apart

// A space of some size, and the width of the pools that its groups take.
struct Table {
   ClassIdType type;
   U8 width;
   U8 size;

   U32 ofAPool() const { return ( 1u << width ) - 1; }

   friend std::ostream &operator<<( std::ostream &out, const Table &table ) {
      return out << table.type << int{ table.size } << "InPoolsOf" << int{ table.width };
   }
};

// An entry with its own group and port.
struct Place {
   TcamGroupId group;
   U32 port;
};

class Tables : public LibraryTest, public ::testing::WithParamInterface<Table> {
 protected:
   const Table table = GetParam();
   std::map<U32, Place> entries;

   bool isSourceTrunkMap() const {
      return table.type == ifpSourceTrunkMap || table.type == vfpSourceTrunkMap;
   }

   // A fixed-width qualifier counts its bits from the start of the fixed-width space.
   const Sdk::QualifierFrame frame = frameOf();
   Sdk::QualifierFrame frameOf() const {
      if ( isSourceTrunkMap() ) {
         return { .sourceTrunkMapTable = static_cast<U8>( table.type == vfpSourceTrunkMap ? 10 : 9 ) };
      }
      const auto first = static_cast<U8>( table.type == aclGroupFixedWidth ? unionBits : 0 );
      return { .firstBit = first, .startBit = first, .endBit = static_cast<U8>( first + table.size - 1 ) };
   }

   // A pool that lies across bit 64 cannot be programmed right; its class IDs are only lent.
   bool areCarried() const { return table.size <= unionBits || unionBits % table.width == 0; }

   bool install( U32 entry, const Place &place ) {
      const auto intfGroup = areCarried() ? ports( { place.port } ) : ports( {} );
      const auto name = key( std::to_string( entry ) );
      if ( !manager->reserveClassIdForIntfGroup( place.group, name, entry, intfGroup ) ) {
         return false;
      }
      manager->programClassIdForIntfGroup( place.group, name, entry, intfGroup );
      chip->fieldEntryCreate( 0, entry, frame );
      manager->programClassIdQualifierInHw( 0, place.group, entry, qualifierOf( place, entry ) );
      chip->fieldEntryInstall( 0, entry );
      QuarraAgent::PortTableService( directory ).drain();
      entries.emplace( entry, place );
      return true;
   }
   void remove( U32 entry ) {
      chip->fieldEntryDestroy( 0, entry );
      const auto group = entries.extract( entry ).mapped().group;
      manager->clearClassIdAndIntfGroup( group, manager->getRequestKeyForEntryId( group, entry, {} ), entry );
      QuarraAgent::PortTableService( directory ).drain();
   }
   BitmapQualifier::Ptr qualifierOf( const Place &place, U32 entry ) {
      return manager->getClassId( place.group, key( std::to_string( entry ) ), entry );
   }

   void expectRefused( const std::vector<TcamGroupId> &groups ) {
      const auto before = stateText( *manager, *chip );
      for ( const auto group : groups ) {
         EXPECT_FALSE( install( 1'000'000, { group, 1 } ) ) << group;
         EXPECT_TRUE( stateText( *manager, *chip ) == before ) << group;
      }
   }

   // Every entry matches its port and no other.
   void expectMatches() {
      if ( !areCarried() ) {
         return;
      }
      U32 lastPort = 0;
      for ( const auto &[ entry, place ] : entries ) {
         lastPort = std::max( lastPort, place.port );
      }
      for ( U32 port = 0; port <= lastPort + 1; ++port ) {
         for ( const auto &[ entry, place ] : entries ) {
            ASSERT_EQ( chip->matches( entry, { 0, port } ), port == place.port )
               << "entry " << entry << " port " << port;
         }
      }
   }

   // In the full space the only class ID that is back is lent next, in a pool that starts where its own did.
   void replace( U32 entry, U32 newEntry ) {
      const auto place = entries.at( entry );
      const auto freed = qualifierOf( place, entry );
      const auto pool = request( place.group, key( std::to_string( entry ) ) ).poolId();
      remove( entry );
      U32 expectedPool = 1;
      if ( manager->classIdTcamGroupStatusHas( place.group ) ) {
         const auto &left = status( place.group );
         expectedPool = left.poolStatusHas( pool ) ? pool : left.lastPoolNum() + 1u;
      }
      ASSERT_TRUE( install( newEntry, place ) );
      EXPECT_EQ( request( place.group, key( std::to_string( newEntry ) ) ).poolId(), expectedPool );
      const auto lent = qualifierOf( place, newEntry );
      EXPECT_TRUE( *lent->data() == *freed->data() && *lent->mask() == *freed->mask() );
   }

   // Every second entry, then the others.
   void removeAll() {
      for ( const bool odd : { true, false } ) {
         for ( auto item = entries.begin(); item != entries.end(); ) {
            const U32 entry = item++->first;
            if ( !odd || entry % 2 ) {
               remove( entry );
            }
         }
      }
   }
};

class FullTables : public Tables {
 protected:
   // Entries of one group, as many as its ports and its unions can tell apart.
   U32 ofAGroup() const { return ( table.width <= 4 ? unionBits / table.width : 2 ) * table.ofAPool(); }

   TcamGroupId groupOf( U32 entry ) const {
      if ( isSourceTrunkMap() ) {
         return table.type == ifpSourceTrunkMap ? 120 : 238;
      }
      return static_cast<U16>( firstGroup + ( entry - 1 ) / ofAGroup() );
   }
};

// Wide pools as long as there is a run for one, and then the bits left, one by one.
TEST_P( FullTables, LendEveryClassIdAndNotOneMore ) {
   const U32 fit = table.size / table.width * table.ofAPool() + table.size % table.width;
   emptySpaces( "sdk6", isSourceTrunkMap() ? Sizes{ .sourceTrunkMap = table.size }
                                           : Sizes{ .flexible = table.size } );
   const auto spare =
      groupOf( 1 ) == groupOf( fit + ofAGroup() ) ? groupOf( 1 ) : groupOf( fit + ofAGroup() );
   for ( U32 entry = 1; entry <= fit + ofAGroup(); ++entry ) {
      group( groupOf( entry ), { .type = table.type, .width = table.width } );
   }
   const auto atStart = stateText( *manager, *chip );

   for ( U32 entry = 1; entry <= fit; ++entry ) {
      const auto id = groupOf( entry );
      ASSERT_TRUE( install( entry, { id, isSourceTrunkMap() ? entry : 1 + ( entry - 1 ) % ofAGroup() } ) )
         << entry;
   }
   EXPECT_EQ( reservedBits( table.type ).size(), table.size );
   expectRefused( { groupOf( fit ), groupOf( 1 ), spare } );
   expectMatches();

   U32 next = fit;
   for ( const U32 entry : std::set<U32>{ 1, 1 + fit / 2, fit } ) {
      replace( entry, ++next );
   }
   expectRefused( { groupOf( fit ) } );
   expectMatches();
   removeAll();
   EXPECT_EQ( stateText( *manager, *chip ), atStart );
}

std::vector<Table> flexibleTables() {
   std::vector<Table> all;
   for ( U8 width = 1; width <= 8; ++width ) {
      std::set<int> sizes = { width - 1, width, 2 * width + 1, 16, 64, width < 8 ? 255 : 128 };
      sizes.erase( 0 );
      for ( const int size : sizes ) {
         all.push_back( { aclGroupFlexibleWidth, width, static_cast<U8>( size ) } );
      }
      for ( const auto type : { ifpSourceTrunkMap, vfpSourceTrunkMap } ) {
         all.push_back( { type, width, 16 } );
      }
   }
   return all;
}

INSTANTIATE_TEST_SUITE_P( Spaces, FullTables, ::testing::ValuesIn( flexibleTables() ),
                          ::testing::PrintToStringParamName() );

// Beside a flexible space of 64 bits, where fixed-width unions find all of their requests.
class FullFixedTables : public Tables {};

TEST_P( FullFixedTables, GiveEachGroupItsPoolAndNoMore ) {
   emptySpaces( "hsdk", { .flexible = unionBits, .fixed = table.size } );
   const auto atStart = stateText( *manager, *chip );
   const U16 fit = table.size / table.width;
   U32 entry = 0;
   for ( U16 n = 0; n < fit; ++n ) {
      const TcamGroupId id( static_cast<U16>( firstGroup + n ) );
      group( id, { .type = aclGroupFixedWidth, .width = table.width } );
      const auto hint = manager->createAclGroupBitmapHint( id );
      EXPECT_EQ( ( std::pair<U32, U32>( hint.startBit, hint.endBit ) ),
                 ( std::pair( unionBits + n * table.width, unionBits + ( n + 1 ) * table.width - 1 ) ) );
      for ( U32 port = 1; port <= table.ofAPool(); ++port ) {
         ASSERT_TRUE( install( ++entry, { id, port } ) );
      }
      expectRefused( { id } );
   }
   expectMatches();
   group( 900, { .type = aclGroupFixedWidth, .width = table.width } );
   EXPECT_ABORT( manager->createAclGroupBitmapHint( 900 ), "classIdTcamGroupStatusHas( tcamGroupId )" );
   replace( entry, entry + 1 );
   expectRefused( { firstGroup } );
   removeAll();
   for ( U16 n = 0; n < fit; ++n ) {
      manager->clearClassIdPool( static_cast<U16>( firstGroup + n ) );
   }
   EXPECT_EQ( stateText( *manager, *chip ), atStart );
}

std::vector<Table> fixedTables() {
   std::vector<Table> all;
   for ( U8 width = 1; width <= 8; ++width ) {
      all.push_back( { aclGroupFixedWidth, width, static_cast<U8>( 2 * width + ( width > 1 ) ) } );
   }
   return all;
}

INSTANTIATE_TEST_SUITE_P( Spaces, FullFixedTables, ::testing::ValuesIn( fixedTables() ),
                          ::testing::PrintToStringParamName() );

} // namespace
} // namespace QuarraTest
