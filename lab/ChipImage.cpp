#include "lab/ChipImage.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/StoreRefused.h"

namespace QuarraLab {

using QuarraAgent::StoreRefused;
using QuarraCentral::QuarraModPort;
using QuarraSimulator::TcamEntry;

namespace {

constexpr std::array<char, 8> magic = { 'Q', 'T', 'C', 'C', 'H', 'I', 'P', '1' };
constexpr U32 entryRowsAtOnce = 256;
constexpr auto &wordTypes = QuarraTcam::sourceTrunkMapTypes; // the file has their words in this order
constexpr U32 valueWords = 4; // a port's ACL-group value, and a qualifier's bits: up to 256
using Bits = std::array<U64, valueWords>;

Bits bitsOf( const std::vector<U32> &positions ) {
   Bits bits{};
   for ( const U32 bit : positions ) {
      bits[ bit / 64 ] |= U64{ 1 } << bit % 64;
   }
   return bits;
}

std::vector<U32> positionsOf( const Bits &bits ) {
   std::vector<U32> positions;
   for ( U32 bit = 0; bit < valueWords * 64; ++bit ) {
      if ( bits[ bit / 64 ] >> bit % 64 & 1 ) {
         positions.push_back( bit );
      }
   }
   return positions;
}

} // namespace

// Plain numbers of the machine that made the file.
struct ChipImage::Header {
   std::array<char, 8> magic;
   U32 aclGroupBits;
   U32 ports;     // rows of ports, by number from 0
   U32 entryRows; // behind them
   U32 padding[ 11 ];
};

struct ChipImage::PortRow {
   Bits aclGroup;
   std::array<U32, wordTypes.size()> words;
   U64 present; // in the system port table
   U64 padding[ 2 ];
};

struct ChipImage::EntryRow {
   U32 id; // 0: no entry
   U32 kind;
   U32 data;
   U32 mask;
   Bits dataBits;
   Bits maskBits;
   std::array<U8, 4> frame; // table, first, start and end bit
   U32 installed;
   U64 padding[ 5 ];
};

namespace {

U32 portRowsOf( const QuarraSimulator::ChipOptions &options ) {
   return std::max<U32>( U10::max + 1, options.systemPorts );
}

} // namespace

std::size_t ChipImage::sizeBy( const Header &header ) {
   return sizeof( Header ) + header.ports * sizeof( PortRow ) + header.entryRows * sizeof( EntryRow );
}

bool ChipImage::isOf( const QuarraSimulator::ChipOptions &options ) const {
   return header().aclGroupBits == options.aclGroupBits && header().ports == portRowsOf( options );
}

void ChipImage::make( const std::string &path, const QuarraSimulator::ChipOptions &options ) {
   const U32 ports = portRowsOf( options );
   Header header{ magic, options.aclGroupBits, ports, entryRowsAtOnce, {} };
   const std::size_t size = sizeBy( header );
   const int file = open( path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666 );
   int error = file < 0 ? errno : posix_fallocate( file, 0, static_cast<off_t>( size ) );
   if ( !error && pwrite( file, &header, sizeof( header ), 0 ) != static_cast<ssize_t>( sizeof( header ) ) ) {
      error = errno;
   }
   if ( file >= 0 ) {
      close( file );
   }
   if ( error ) {
      throw StoreRefused( "storeFailed", "chip tables " + path + ": " + std::strerror( error ) );
   }
}

ChipImage::ChipImage( const std::string &path ) : path_( path ) {
   file_ = open( path.c_str(), O_RDWR | O_CLOEXEC );
   if ( file_ < 0 ) {
      refuse( errno == ENOENT ? "storeMissing" : "storeFailed", std::strerror( errno ) );
   }
   struct stat status {};
   fstat( file_, &status );
   if ( status.st_size < static_cast<off_t>( sizeof( Header ) ) ) {
      close( file_ );
      refuse( "storeDamaged", "it is too short" );
   }
   map( static_cast<std::size_t>( status.st_size ) );
   const auto refuseMapped = [ this ]( const char *code, const std::string &what ) {
      munmap( memory_, size_ );
      close( file_ );
      refuse( code, what );
   };
   const auto &found = header();
   const std::size_t told = sizeBy( found );
   if ( found.magic != magic || size_ < told || size_ > told + entryRowsAtOnce * sizeof( EntryRow ) ) {
      refuseMapped( "storeDamaged", "it is not what an agent's chip holds, or is cut off" );
   }
   // A process that dies while the file grows leaves it longer than its head tells.
   if ( size_ > told && ftruncate( file_, static_cast<off_t>( told ) ) != 0 ) {
      refuseMapped( "storeFailed", std::strerror( errno ) );
   }
   map( told );
}

ChipImage::~ChipImage() {
   if ( chip_ ) {
      chip_->observerIs( {} );
   }
   munmap( memory_, size_ );
   close( file_ );
}

void ChipImage::map( std::size_t size ) {
   void *const memory = memory_ ? mremap( memory_, size_, size, MREMAP_MAYMOVE )
                                : mmap( nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, file_, 0 );
   if ( memory == MAP_FAILED ) {
      refuse( "storeFailed", std::strerror( errno ) );
   }
   memory_ = static_cast<char *>( memory );
   size_ = size;
}

void ChipImage::refuse( const char *code, const std::string &what ) const {
   throw StoreRefused( code, "chip tables " + path_ + ": " + what );
}

ChipImage::Header &ChipImage::header() const {
   return *reinterpret_cast<Header *>( memory_ );
}

ChipImage::PortRow *ChipImage::portRows() const {
   return reinterpret_cast<PortRow *>( memory_ + sizeof( Header ) );
}

ChipImage::EntryRow *ChipImage::entryRows() const {
   return reinterpret_cast<EntryRow *>( portRows() + header().ports );
}

void ChipImage::follow( QuarraSimulator::SimulatedChip &chip, const std::vector<QuarraModPort> &ports,
                        QuarraSimulator::Observer also ) {
   chip_ = &chip;
   modules_.assign( header().ports, QuarraCentral::ModId( 0 ) );
   for ( const auto &port : ports ) {
      modules_[ port.port() ] = port.modId();
   }
   load();
   chip.observerIs( [ this, also = std::move( also ) ]( const QuarraSimulator::SdkCallSeen &seen ) {
      for ( const U32 port : seen.ports ) {
         portChanged( port );
      }
      if ( seen.entry ) {
         entryChanged( seen.entry );
      }
      if ( also ) {
         also( seen );
      }
   } );
}

void ChipImage::load() {
   const auto *const ports = portRows();
   for ( U32 port = 0; port < header().ports; ++port ) {
      const auto &row = ports[ port ];
      Vesk::Bitmap value( port, header().aclGroupBits, Vesk::HBitmap::BitState::clear );
      for ( const U32 bit : positionsOf( row.aclGroup ) ) {
         if ( bit < value.size() ) {
            value.set( bit );
         }
      }
      if ( row.present || value.count() ) {
         chip_->aclGroupIs( port, value );
      }
      for ( std::size_t table = 0; table < wordTypes.size(); ++table ) {
         if ( row.words[ table ] ) {
            chip_->sourceTrunkMapWordIs( QuarraTcam::sourceTrunkMapTableOf( wordTypes[ table ] ),
                                         { modules_[ port ], port }, row.words[ table ] );
         }
      }
   }
   for ( U32 i = header().entryRows; i > 0; --i ) {
      const auto &row = entryRows()[ i - 1 ];
      if ( !row.id ) {
         free_.push_back( i - 1 );
         continue;
      }
      rowOf_.emplace( row.id, i - 1 );
      TcamEntry entry;
      entry.kind = static_cast<TcamEntry::Kind>( row.kind );
      entry.frame = { row.frame[ 0 ], row.frame[ 1 ], row.frame[ 2 ], row.frame[ 3 ] };
      entry.installed = row.installed;
      entry.dataBits = positionsOf( row.dataBits );
      entry.maskBits = positionsOf( row.maskBits );
      entry.data = row.data;
      entry.mask = row.mask;
      chip_->tcamEntryIs( row.id, entry );
   }
}

void ChipImage::makeRoom() {
   if ( !free_.empty() ) {
      return;
   }
   const U32 before = header().entryRows;
   const std::size_t size = size_ + entryRowsAtOnce * sizeof( EntryRow );
   if ( const int error = posix_fallocate( file_, 0, static_cast<off_t>( size ) ) ) {
      if ( ftruncate( file_, static_cast<off_t>( size_ ) ) != 0 ) {
         refuse( "storeFailed", std::strerror( errno ) );
      }
      refuse( "storeFailed", std::strerror( error ) );
   }
   map( size );
   header().entryRows = before + entryRowsAtOnce;
   for ( U32 i = before + entryRowsAtOnce; i > before; --i ) {
      free_.push_back( i - 1 );
   }
}

void ChipImage::portChanged( U32 port ) {
   if ( port >= header().ports ) {
      return;
   }
   auto &row = portRows()[ port ];
   const auto value = chip_->aclGroup( port );
   for ( U32 word = 0; word < valueWords; ++word ) {
      row.aclGroup[ word ] = value.word( word );
   }
   row.present = chip_->hasTableEntry( port );
   for ( std::size_t table = 0; table < wordTypes.size(); ++table ) {
      row.words[ table ] = chip_->sourceTrunkMapWord( QuarraTcam::sourceTrunkMapTableOf( wordTypes[ table ] ),
                                                      { modules_[ port ], port } );
   }
}

// An entry is there when its id is: set last, and taken away first.
void ChipImage::entryChanged( U32 entry ) {
   const auto &entries = chip_->tcamEntries();
   const auto onChip = entries.find( entry );
   const auto known = rowOf_.find( entry );
   if ( onChip == entries.end() ) {
      if ( known != rowOf_.end() ) {
         entryRows()[ known->second ].id = 0;
         free_.push_back( known->second );
         rowOf_.erase( known );
      }
      return;
   }
   if ( known == rowOf_.end() ) {
      makeRoom();
   }
   const U32 place = known == rowOf_.end() ? free_.back() : known->second;
   auto &row = entryRows()[ place ];
   const auto &frame = onChip->second.frame;
   row.kind = static_cast<U32>( onChip->second.kind );
   row.frame = { frame.sourceTrunkMapTable, frame.firstBit, frame.startBit, frame.endBit };
   row.installed = onChip->second.installed;
   row.data = onChip->second.data;
   row.mask = onChip->second.mask;
   row.dataBits = bitsOf( onChip->second.dataBits );
   row.maskBits = bitsOf( onChip->second.maskBits );
   std::atomic_signal_fence( std::memory_order_release );
   row.id = entry;
   if ( known == rowOf_.end() ) {
      free_.pop_back();
      rowOf_.emplace( entry, place );
   }
}

} // namespace QuarraLab
