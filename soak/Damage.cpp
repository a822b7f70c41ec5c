#include "soak/Damage.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <fmt/format.h>

namespace QuarraSoak {
namespace {

void put( const std::string &path, const std::string &content ) {
   std::ofstream( path, std::ios::binary | std::ios::trunc ) << content;
}

using Harm = std::string ( * )( std::string &content, Choices &choices );

std::size_t placeIn( const std::string &content, Choices &choices ) {
   return choices.below( static_cast<U32>( content.size() ) );
}

std::string cut( std::string &content, Choices &choices ) {
   content.resize( placeIn( content, choices ) );
   return fmt::format( "cut to {} bytes", content.size() );
}

std::string flip( std::string &content, Choices &choices ) {
   const auto place = placeIn( content, choices );
   content[ place ] = static_cast<char>( content[ place ] ^ ( 1 << choices.below( 8 ) ) );
   return fmt::format( "a bit of byte {} changed", place );
}

// What a disk writes whole or not at all.
constexpr std::size_t sector = 512;

std::string spoil( std::string &content, Choices &choices ) {
   const auto first = placeIn( content, choices ) / sector * sector;
   const bool zeros = choices.oneIn( 2 );
   for ( auto i = first; i < std::min( first + sector, content.size() ); ++i ) {
      content[ i ] = zeros ? '\0' : static_cast<char>( choices.below( 256 ) );
   }
   return fmt::format( "{} in the sector at {}", zeros ? "zeros" : "garbage", first );
}

std::string spoilTail( std::string &content, Choices &choices ) {
   const auto first = placeIn( content, choices ) / sector * sector;
   std::fill( content.begin() + static_cast<std::ptrdiff_t>( first ), content.end(), '\0' );
   return fmt::format( "zeros from {} on", first );
}

constexpr std::array<Harm, 4> harms = { cut, flip, spoil, spoilTail };

} // namespace

std::string contentOf( const std::string &path ) {
   std::ifstream in( path, std::ios::binary );
   return { std::istreambuf_iterator<char>( in ), {} };
}

bool tearCommit( const std::string &dir, Choices &choices ) {
   const auto store = dir + "/store.db";
   const auto log = store + "-wal";
   const auto before = contentOf( log + ".before" );
   auto torn = contentOf( log );
   // Where the log went into the store after it, the commit had been written.
   if ( before == torn || torn.empty() || contentOf( store ) != contentOf( store + ".before" ) ) {
      return false;
   }
   torn.resize( choices.below( static_cast<U32>( torn.size() ) ) );
   if ( torn.size() < before.size() ) {
      torn += before.substr( torn.size() );
   }
   put( log, torn );
   return true;
}

std::string damageStore( const std::string &dir, Choices &choices ) {
   const std::string name = choices.oneIn( 2 ) ? "/store.db" : "/store.db-wal";
   const auto path = dir + name;
   auto content = contentOf( path );
   if ( content.empty() ) {
      return "no damage";
   }
   if ( choices.oneIn( 12 ) ) {
      std::filesystem::remove( path );
      return "removed " + name.substr( 1 );
   }
   const auto what = choices.of( harms )( content, choices );
   put( path, content );
   return name.substr( 1 ) + ": " + what;
}

} // namespace QuarraSoak
