#pragma once

#include <map>
#include <string>
#include <vector>

#include "simulator/SimulatedChip.h"

namespace QuarraLab {

using namespace Nodra::Types;

// What a simulated chip holds, in a file that every SDK call changes at once: there after the death of the
// process, as a real chip's tables are. The file is mapped into memory, with its blocks taken from the file
// system beforehand, so that a call never finds the disk full. Everything wrong throws StoreRefused
// ("storeFailed", "storeDamaged", "storeMissing").
class ChipImage {
 public:
   // Makes the file for a chip that holds nothing.
   static void make( const std::string &path, const QuarraSimulator::ChipOptions &options );

   explicit ChipImage( const std::string &path );
   ChipImage( const ChipImage & ) = delete;
   ChipImage &operator=( const ChipImage & ) = delete;
   ~ChipImage();

   // Whether the file is for a chip of that size.
   bool isOf( const QuarraSimulator::ChipOptions &options ) const;

   // Puts what the image holds into a chip of these ports that holds nothing, and follows the chip from then
   // on. `also` is told of every call after the image is.
   void follow( QuarraSimulator::SimulatedChip &chip, const std::vector<QuarraCentral::QuarraModPort> &ports,
                QuarraSimulator::Observer also = {} );

   // Takes room for one more TCAM entry: before a request that may create one.
   void makeRoom();

   // Takes over a port's value and words, or an entry, that were changed past the SDK.
   void portChanged( U32 port );
   void entryChanged( U32 entry );

 private:
   struct Header;
   struct PortRow;
   struct EntryRow;

   static std::size_t sizeBy( const Header &header ); // bytes of the file
   void map( std::size_t size );
   [[noreturn]] void refuse( const char *code, const std::string &what ) const;
   Header &header() const;
   PortRow *portRows() const;
   EntryRow *entryRows() const;
   void load();

   std::string path_;
   int file_ = -1;
   char *memory_ = nullptr;
   std::size_t size_ = 0;
   QuarraSimulator::SimulatedChip *chip_ = nullptr;
   std::vector<QuarraCentral::ModId> modules_; // by port number
   std::map<U32, U32> rowOf_;                  // by entry
   std::vector<U32> free_;                     // rows without an entry
};

} // namespace QuarraLab
