#include "tools/ChipFile.h"

#include <fmt/format.h>

#include "tools/TextFile.h"

namespace QuarraTool {
namespace {

using namespace QuarraAgent;
using QuarraCentral::QuarraModPort;

const Variant &knownVariant( const std::string &name ) {
   if ( const auto *variant = variantOf( name ) ) {
      return *variant;
   }
   std::string names;
   for ( const auto &variant : variants() ) {
      names += ( names.empty() ? "" : ", " ) + std::string( variant.name );
   }
   throw RequestRefused( "unknownVariant", fmt::format( "variant \"{}\": expected one of {}", name, names ) );
}

const ChipConfig &knownProfile( const std::string &name, const Variant &variant ) {
   std::string names;
   for ( const auto &row : chipProfiles() ) {
      if ( row.generation == variant.generation ) {
         if ( row.config.profile == name ) {
            return row.config;
         }
         names += ( names.empty() ? "" : ", " ) + row.config.profile;
      }
   }
   throw RequestRefused(
      "unknownProfile",
      fmt::format( "chip profile \"{}\": expected one of {} on variant {}", name, names, variant.name ) );
}

void setPorts( ChipConfig &chip, const std::vector<QuarraModPort> &ports ) {
   chip.ports.clear();
   for ( const auto &port : ports ) {
      chip.ports.push_back( { portName( port ), port } );
   }
}

std::vector<QuarraModPort> countedPorts( U32 count ) {
   std::vector<QuarraModPort> ports;
   for ( U32 port = 1; port <= count; ++port ) {
      ports.emplace_back( 0, port );
   }
   return ports;
}

} // namespace

ChipChoice defaultChoice( const std::string &variant ) {
   const auto &known = knownVariant( variant );
   return { &known, defaultChip( known.generation ) };
}

ChipChoice readChip( JsonFields &fields, const ChipChoice &before ) {
   ChipChoice choice = before;
   if ( fields.has( "variant" ) ) {
      choice = defaultChoice( fields.text( "variant" ) );
   }
   if ( fields.has( "profile" ) ) {
      choice.chip = knownProfile( fields.text( "profile" ), *choice.variant );
   }
   auto &chip = choice.chip;
   constexpr U32 anyU8 = 255;
   constexpr U32 anyWidth = 65536;
   chip.flexibleBits = static_cast<U8>( fields.number( "flexibleBits", 0, anyU8, chip.flexibleBits ) );
   chip.fixedBits = static_cast<U8>( fields.number( "fixedBits", 0, anyU8, chip.fixedBits ) );
   chip.sourceTrunkMapBits =
      static_cast<U8>( fields.number( "sourceTrunkMapBits", 0, anyU8, chip.sourceTrunkMapBits ) );
   chip.portBits = static_cast<U8>( fields.number( "portBits", 1, 10, chip.portBits ) );
   chip.tcamRowBits = fields.number( "tcamRowBits", 1, anyWidth, chip.tcamRowBits );
   chip.ruleBits = fields.number( "ruleBits", 0, anyWidth, chip.ruleBits );
   chip.portBitmapBits = fields.number( "portBitmapBits", 1, anyWidth, chip.portBitmapBits );
   if ( fields.has( "ports" ) ) {
      const bool counted = fields.value( "ports" ).is_number();
      setPorts( chip,
                counted ? countedPorts( fields.number( "ports", 1, U10::max ) ) : fields.ports( "ports" ) );
   }
   if ( fields.has( "cpuPorts" ) ) {
      chip.cpuPorts = fields.ports( "cpuPorts" );
   }
   checkChip( choice.variant->generation, chip );
   return choice;
}

ChipChoice readChipFile( const std::string &file, const ChipChoice &choice ) {
   Json json;
   try {
      json = parseJson( readText( file ) );
   } catch ( const Complaint &complaint ) {
      throw InputError( file + complaint.what() );
   }
   JsonFields fields( json, file );
   auto read = readChip( fields, choice );
   fields.finish();
   return read;
}

} // namespace QuarraTool
