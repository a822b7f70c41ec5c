#include "lab/ChipImage.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "soak/Damage.h"
#include "tests/Lasting.h"

// The tables of a simulated chip in a file: all that a chip holds, whatever an agent would put there.
namespace QuarraTest {
namespace {

using QuarraLab::ChipImage;
using QuarraSimulator::ChipOptions;
using QuarraSimulator::Generation;
using QuarraSimulator::SimulatedChip;
using QuarraSimulator::TcamEntry;
using Kind = TcamEntry::Kind;

const std::vector<QuarraModPort> ports = { { 0, 0 }, { 0, 1 }, { 5, 2 }, { 0, 1023 } };

Vesk::Bitmap value( U32 size, std::initializer_list<U32> bits ) {
   Vesk::Bitmap bitmap( 0, size, Vesk::HBitmap::BitState::clear );
   for ( const U32 bit : bits ) {
      bitmap.set( bit );
   }
   return bitmap;
}

// All that a chip holds; its digest leaves out zeros and frames.
std::string heldBy( const SimulatedChip &chip, U32 aclGroupBits ) {
   std::ostringstream text;
   text << chip.digest();
   for ( const U32 port : chip.tableEntries() ) {
      text << "in the table " << port << "\n";
   }
   for ( const auto &[ id, entry ] : chip.tcamEntries() ) {
      text << id << " frame " << int{ entry.frame.sourceTrunkMapTable } << " " << int{ entry.frame.firstBit }
           << " " << int{ entry.frame.startBit } << " " << int{ entry.frame.endBit } << "\n";
   }
   text << aclGroupBits << " bits, size " << chip.aclGroup( 1 ).size() << "\n";
   return text.str();
}

class ChipImageTest : public ::testing::TestWithParam<Generation> {
 protected:
   ChipImageTest() { ChipImage::make( path, options ); }

   // Opens the image for a chip that holds nothing, and lets `work` change it; gives what it holds then.
   template <typename Work>
   std::string with( Work work ) {
      SimulatedChip chip( options );
      ChipImage image( path );
      image.follow( chip, ports );
      work( chip, image );
      return heldBy( chip, options.aclGroupBits );
   }
   std::string now() {
      return with( []( auto &, auto & ) {} );
   }

   std::string refusal() {
      try {
         const ChipImage image( path );
      } catch ( const StoreRefused &refused ) {
         message = refused.what();
         return refused.code();
      }
      return "ok";
   }

   Directory directory;
   const std::string path = directory.file( "chip" );
   const ChipOptions options =
      GetParam() == Generation::sdk6
         ? ChipOptions{ .generation = GetParam(), .aclGroupBits = 64 }
         : ChipOptions{ .generation = GetParam(), .aclGroupBits = 160, .systemPorts = 1024 };
   std::string message;
};

INSTANTIATE_TEST_SUITE_P( EveryGeneration, ChipImageTest,
                          ::testing::Values( Generation::sdk6, Generation::hsdk ),
                          []( const auto &generation ) {
                             return generation.param == Generation::sdk6 ? "sdk6" : "hsdk";
                          } );

TEST_P( ChipImageTest, KeepsPortsValuesAndWordsToTheirLastBit ) {
   const U32 last = options.aclGroupBits - 1;
   const auto before = with( [ & ]( auto &chip, auto &image ) {
      chip.aclGroupIs( 1, value( last + 1, { 0, 31, 32, 63, last } ) );
      chip.aclGroupIs( 2, value( last + 1, {} ) ); // an entry of zeros, where there is a table
      chip.aclGroupIs( 1023, value( last + 1, { last } ) );
      chip.sourceTrunkMapWordIs( 9, { 5, 2 }, 0xffffffff );
      chip.sourceTrunkMapWordIs( 10, { 5, 2 }, 1 );
      chip.sourceTrunkMapWordIs( 10, { 0, 1023 }, 0x8000 );
      for ( const U32 port : { 1u, 2u, 1023u } ) {
         image.portChanged( port );
      }
      EXPECT_TRUE( chip.aclGroup( 1 ).test( last ) );
      EXPECT_TRUE( chip.aclGroup( 1023 ).test( last ) ) << "the last port";
   } );
   EXPECT_EQ( now(), before );
   EXPECT_THAT( before, ::testing::HasSubstr( "source-trunk map 9 of port 5/2 4294967295" ) );
   const auto cleared = with( [ & ]( auto &chip, auto &image ) {
      chip.aclGroupIs( 1, value( last + 1, { 31 } ) );
      chip.sourceTrunkMapWordIs( 9, { 5, 2 }, 0 );
      image.portChanged( 1 );
      image.portChanged( 2 );
   } );
   EXPECT_NE( cleared, before );
   EXPECT_EQ( now(), cleared );
}

TEST_P( ChipImageTest, KeepsEntriesOfEveryKindAsTheyAre ) {
   const U8 last = static_cast<U8>( options.aclGroupBits - 1 );
   const std::map<U32, TcamEntry> entries = {
      { 1,
        { .frame = { 0, 3, 5, last },
          .installed = true,
          .kind = Kind::aclGroup,
          .dataBits = { 5, last },
          .maskBits = { 5, 33, last } } },
      { 0xffffffff,
        { .frame = { 0, 0, 0, 40 },
          .installed = false,
          .kind = Kind::aclGroup,
          .dataBits = { 0 },
          .maskBits = { 0 } } },
      { 7,
        { .frame = { 10, 0, 0, 0 },
          .installed = true,
          .kind = Kind::interfaceClassPort,
          .data = 0x8001,
          .mask = 0xffff } },
      { 8, { .frame = { 9, 0, 0, 0 }, .installed = true } },
   };
   const auto before = with( [ & ]( auto &chip, auto &image ) {
      for ( const auto &[ id, entry ] : entries ) {
         chip.tcamEntryIs( id, entry );
         image.entryChanged( id );
      }
   } );
   EXPECT_EQ( now(), before );
   // A row that became free is taken again; the others stay.
   const auto after = with( [ & ]( auto &chip, auto &image ) {
      chip.tcamEntryDel( 7 );
      image.entryChanged( 7 );
      chip.tcamEntryIs( 9, entries.at( 1 ) );
      image.entryChanged( 9 );
      auto changed = entries.at( 1 );
      changed.installed = false;
      chip.tcamEntryIs( 1, changed );
      image.entryChanged( 1 );
   } );
   EXPECT_NE( after, before );
   EXPECT_EQ( now(), after );
}

// The calls of the SDK are followed as they come; a second observer is told, too.
TEST_P( ChipImageTest, FollowsTheSdkAndTellsOthers ) {
   std::vector<std::string> told;
   std::string before;
   {
      SimulatedChip chip( options );
      ChipImage image( path );
      image.follow( chip, ports, [ & ]( const auto &seen ) { told.emplace_back( seen.function ); } );
      chip.fieldEntryCreate( 0, 4, { .sourceTrunkMapTable = 9 } );
      bcm_field_qualify_InterfaceClassPort( 0, 4, 1, 3 );
      chip.fieldEntryInstall( 0, 4 );
      chip.portTableSet( 0, 9, { 5, 2 }, 77 );
      chip.fieldEntryCreate( 0, 5, { .sourceTrunkMapTable = 9 } );
      chip.fieldEntryDestroy( 0, 5 );
      before = heldBy( chip, options.aclGroupBits );
   }
   EXPECT_EQ( now(), before );
   EXPECT_THAT( before, ::testing::HasSubstr( "TCAM entry 4 class data 1 mask 3" ) );
   EXPECT_EQ( told, ( std::vector<std::string>{ "fieldEntryCreate", "bcm_field_qualify_InterfaceClassPort",
                                                "fieldEntryInstall", "portTableSet", "fieldEntryCreate",
                                                "fieldEntryDestroy" } ) );
}

TEST_P( ChipImageTest, GrowsByBlocksOfRowsAndKeepsThem ) {
   const auto sizeBefore = std::filesystem::file_size( path );
   const auto before = with( [ & ]( auto &chip, auto &image ) {
      for ( U32 id = 1; id <= 600; ++id ) { // more than two blocks of 256
         image.makeRoom();
         chip.tcamEntryIs( id, { .frame = { 9, 0, 0, 0 }, .installed = id % 2 == 0 } );
         image.entryChanged( id );
         EXPECT_EQ( std::filesystem::file_size( path ) > sizeBefore, id > 256 ) << id;
      }
   } );
   EXPECT_EQ( now(), before );
   const auto size = std::filesystem::file_size( path );
   // Rows of entries that went are taken before the file grows.
   with( [ & ]( auto &chip, auto &image ) {
      for ( U32 id = 1; id <= 600; ++id ) {
         chip.tcamEntryDel( id );
         image.entryChanged( id );
         image.makeRoom();
         chip.tcamEntryIs( id, { .frame = { 10, 0, 0, 0 } } );
         image.entryChanged( id );
      }
   } );
   EXPECT_EQ( std::filesystem::file_size( path ), size );
   std::filesystem::resize_file( path, size - 1 );
   EXPECT_EQ( refusal(), "storeDamaged" );
   std::filesystem::resize_file( path, size + ( size - sizeBefore ) / 2 + 1 );
   EXPECT_EQ( refusal(), "storeDamaged" ) << "longer than by one block of rows";
   std::filesystem::resize_file( path, sizeBefore );
   EXPECT_EQ( refusal(), "storeDamaged" ) << "as it was before it grew, but with the head of now";
}

// A process dies while its image grows, before the head tells of the new rows: once with some of their bytes,
// once with all.
TEST_P( ChipImageTest, ADeathWhileItGrowsLosesNothing ) {
   const auto install = [ & ]( U32 from, U32 to ) {
      return with( [ & ]( auto &chip, auto &image ) {
         for ( U32 id = from; id <= to; ++id ) {
            image.makeRoom();
            chip.tcamEntryIs( id, { .frame = { 9, 0, 0, 0 } } );
            image.entryChanged( id );
         }
      } );
   };
   const auto size = std::filesystem::file_size( path );
   const auto whole = install( 1, 256 );
   std::filesystem::resize_file( path, size + 1 );
   EXPECT_EQ( now(), whole );
   const auto more = install( 257, 512 );
   const auto block = std::filesystem::file_size( path ) - size;
   EXPECT_EQ( now(), more );
   std::ofstream( path, std::ios::binary | std::ios::app ) << std::string( block, 'x' );
   EXPECT_EQ( now(), more );
   EXPECT_EQ( std::filesystem::file_size( path ), size + block );
   const auto most = install( 513, 514 );
   EXPECT_EQ( now(), most );
   EXPECT_EQ( std::filesystem::file_size( path ), size + 2 * block );
}

TEST_P( ChipImageTest, OfAnotherSizeOrOfNoChipIsTold ) {
   EXPECT_TRUE( ChipImage( path ).isOf( options ) );
   auto others = std::vector( 2, options );
   others[ 0 ].aclGroupBits -= 1;
   others[ 1 ].systemPorts = 2000;
   for ( const auto &other : others ) {
      EXPECT_FALSE( ChipImage( path ).isOf( other ) );
   }
   EXPECT_THROW( ChipImage::make( path, options ), StoreRefused ) << "it is there already";
   EXPECT_EQ( refusal(), "ok" );
   auto content = QuarraSoak::contentOf( path );
   for ( std::size_t byte = 0; byte < 8; ++byte ) {
      content[ byte ] ^= 1;
      std::ofstream( path, std::ios::binary ) << content;
      EXPECT_EQ( refusal(), "storeDamaged" ) << byte;
      EXPECT_THAT( message, ::testing::HasSubstr( path ) );
      content[ byte ] ^= 1;
   }
   std::filesystem::resize_file( path, 63 );
   EXPECT_EQ( refusal(), "storeDamaged" );
   EXPECT_THAT( message, ::testing::HasSubstr( "too short" ) );
   std::filesystem::remove( path );
   EXPECT_EQ( refusal(), "storeMissing" );
   std::filesystem::create_directory( path );
   EXPECT_EQ( refusal(), "storeFailed" );
}

} // namespace
} // namespace QuarraTest
