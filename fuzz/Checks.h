#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "agent/RequestRefused.h"
#include "lab/ChipFile.h"
#include "lab/TextFile.h"

// What holds for every input, good or bad. A breach ends the process, so that the fuzzer keeps the input.
namespace QuarraFuzz {

inline void require( bool holds, const char *what, const std::string &text ) {
   if ( !holds ) {
      std::fprintf( stderr, "broken: %s: %s\n", what, text.c_str() );
      std::abort();
   }
}

inline void requireOneLine( const std::string &text ) {
   require( !text.empty() && QuarraLab::oneLine( text ) == text, "a message is one line of text", text );
}

// Runs what reads an input.
template <typename Read>
void readOrRefuse( const Read &read ) {
   try {
      read();
   } catch ( const QuarraLab::InputError &error ) {
      requireOneLine( error.what() );
   } catch ( const QuarraAgent::RequestRefused &refused ) {
      requireOneLine( refused.code() );
      requireOneLine( refused.what() );
   }
}

// The default chip of a variant, cut down to a few ports.
inline QuarraLab::ChipChoice smallChip( const std::string &variant ) {
   constexpr std::size_t ports = 8;
   auto choice = QuarraLab::defaultChoice( variant );
   choice.chip.ports.resize( ports );
   return choice;
}

inline std::string textOf( const std::uint8_t *data, std::size_t size ) {
   return { data, data + size };
}

} // namespace QuarraFuzz
