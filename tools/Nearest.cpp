#include "tools/Nearest.h"

#include <algorithm>

namespace QuarraTool {
namespace {

// Edits that make one word of the other, where a swap of neighbours is one edit.
std::size_t distance( const std::string &a, const std::string &b ) {
   std::vector<std::vector<std::size_t>> edits( a.size() + 1, std::vector<std::size_t>( b.size() + 1 ) );
   for ( std::size_t i = 0; i <= a.size(); ++i ) {
      for ( std::size_t j = 0; j <= b.size(); ++j ) {
         if ( i == 0 || j == 0 ) {
            edits[ i ][ j ] = i + j;
            continue;
         }
         const std::size_t wrong = a[ i - 1 ] == b[ j - 1 ] ? 0 : 1;
         edits[ i ][ j ] =
            std::min( { edits[ i - 1 ][ j ] + 1, edits[ i ][ j - 1 ] + 1, edits[ i - 1 ][ j - 1 ] + wrong } );
         if ( i > 1 && j > 1 && a[ i - 1 ] == b[ j - 2 ] && a[ i - 2 ] == b[ j - 1 ] ) {
            edits[ i ][ j ] = std::min( edits[ i ][ j ], edits[ i - 2 ][ j - 2 ] + 1 );
         }
      }
   }
   return edits[ a.size() ][ b.size() ];
}

} // namespace

std::string nearest( const std::string &typed, const std::vector<std::string> &words ) {
   constexpr std::size_t longest = 64; // no word of ours is longer
   const std::size_t bound = std::max<std::size_t>( 1, typed.size() / 3 );
   std::string found;
   std::size_t fewest = bound + 1;
   for ( const auto &word : words ) {
      const std::size_t edits = typed.size() > longest ? fewest : distance( typed, word );
      if ( edits < fewest ) {
         fewest = edits;
         found = word;
      }
   }
   return found;
}

std::string suggestion( const std::string &typed, const std::vector<std::string> &words ) {
   const auto word = nearest( typed, words );
   return word.empty() ? word : ": did you mean " + word + "?";
}

} // namespace QuarraTool
