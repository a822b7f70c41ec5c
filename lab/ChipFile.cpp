#include "lab/ChipFile.h"

#include <algorithm>
#include <charconv>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "lab/TextFile.h"
#include "simulator/CallLog.h"
#include "simulator/ReturnCode.h"

namespace QuarraLab {
namespace {

using namespace QuarraAgent;
using QuarraCentral::QuarraModPort;

const Variant &knownVariant( const std::string &name ) {
   if ( const auto *variant = variantOf( name ) ) {
      return *variant;
   }
   throw RequestRefused( "unknownVariant",
                         fmt::format( "variant \"{}\": expected one of {}", name, variantNames() ) );
}

ChipConfig knownProfile( const std::string &name, const Variant &variant ) {
   std::string names;
   for ( const auto &chip : variant.generation.chips ) {
      if ( chip.profile == name ) {
         return chipOf( chip );
      }
      names += ( names.empty() ? "" : ", " ) + std::string( chip.profile );
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

template <typename Number>
bool parseWhole( std::string_view text, Number &number ) {
   const auto [ rest, problem ] = std::from_chars( text.data(), text.data() + text.size(), number );
   return problem == std::errc() && rest == text.data() + text.size();
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
      fields.attempt( [ & ] {
         const auto chosen = defaultChoice( fields.text( "variant" ) );
         choice.variant = chosen.variant;
         choice.chip = chosen.chip;
      } );
   }
   if ( fields.has( "profile" ) ) {
      fields.attempt( [ & ] { choice.chip = knownProfile( fields.text( "profile" ), *choice.variant ); } );
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
   if ( fields.goodSoFar() ) {
      for ( const auto &problem : chipProblems( *choice.variant, chip ) ) {
         fields.attempt( [ & ] { throw RequestRefused( badChip, problem ); } );
      }
   }
   return choice;
}

SdkCallFailure sdkCallFailure( const std::string &text ) {
   SdkCallFailure failure{ 0, QuarraSimulator::Code::internal, {} };
   std::string_view rest = text;
   const auto &known = QuarraSimulator::sdkFunctions;
   if ( const auto name = rest.substr( 0, rest.find( ':' ) );
        std::find( known.begin(), known.end(), name ) != known.end() ) {
      failure.function = name;
      rest.remove_prefix( std::min( rest.size(), name.size() + 1 ) );
   }
   const auto number = rest.substr( 0, rest.find( ':' ) );
   const auto code = rest.substr( std::min( rest.size(), number.size() + 1 ) );
   if ( !parseWhole( number, failure.nth ) || failure.nth == 0 ||
        ( number.size() != rest.size() && ( !parseWhole( code, failure.code ) || failure.code >= 0 ) ) ) {
      throw InputError(
         fmt::format( "--fail-sdk-call {}: expected N, N:CODE or FUNCTION:N[:CODE], N from 1, CODE "
                      "negative, FUNCTION one of {}",
                      text, fmt::join( known, ", " ) ) );
   }
   return failure;
}

ChipChoice parseChip( const std::string &text, const std::string &file, const ChipChoice &choice ) {
   Json json;
   try {
      json = parseJson( text );
   } catch ( const Complaint &complaint ) {
      throw InputError( file + complaint.what() );
   }
   Refusals refusals;
   JsonFields fields( json, file, &refusals );
   auto read = readChip( fields, choice );
   fields.finish();
   if ( !refusals.empty() ) {
      std::vector<std::string> messages;
      for ( const auto &refused : refusals ) {
         messages.push_back( refused.code() + ": " + refused.what() );
      }
      throw InputErrors( messages );
   }
   return read;
}

ChipChoice readChipFile( const std::string &file, const ChipChoice &choice ) {
   return parseChip( readText( file ), file, choice );
}

} // namespace QuarraLab
