#include "tests/Mutations.h"

#include <cctype>
#include <numeric>

namespace QuarraTest {
namespace {

const std::vector<std::string> extremes = {
   "0",
   "-0",
   "-1",
   "1.5",
   "1e308",
   "1e999",
   "255",
   "1023",
   "1024",
   "65535",
   "65536",
   "4294967295",
   "4294967296",
   "18446744073709551615",
   "18446744073709551616",
   "-9223372036854775808",
   "null",
   "true",
   "false",
   "[]",
   "{}",
   "[[1]]",
   "{\"a\":{\"b\":[null]}}",
   "\"\"",
   "\"1\"",
   "\"\\u0000\"",
   "\"\\n\"",
   "\"\\u009b\"",
   "\"\\ud800\"",
   "\"\xff\"",
   "\"\xe2\x80\xa8\"",
   "|",
   ",",
   ":",
   "\n",
   std::string( 1, '\0' ),
   std::string( 300, '[' ),
   std::string( 5000, '9' ),
};

bool isWord( char c ) {
   return std::isalnum( static_cast<unsigned char>( c ) ) || c == '.' || c == '+' || c == '-';
}

// Strings with their quotes, numbers and words, and single characters.
std::vector<std::string> tokensOf( const std::string &text ) {
   std::vector<std::string> tokens;
   for ( std::size_t i = 0; i < text.size(); i += tokens.back().size() ) {
      std::size_t end = i + 1;
      if ( text[ i ] == '"' ) {
         while ( end < text.size() && text[ end++ ] != '"' ) {
            end += text[ end - 1 ] == '\\' ? 1 : 0;
         }
      } else if ( isWord( text[ i ] ) ) {
         while ( end < text.size() && isWord( text[ end ] ) ) {
            ++end;
         }
      }
      tokens.push_back( text.substr( i, end - i ) );
   }
   return tokens;
}

} // namespace

Mutations::Mutations( unsigned seed, const std::vector<std::string> &words ) : random_( seed ) {
   for ( const auto &text : words ) {
      for ( const auto &token : tokensOf( text ) ) {
         if ( token.size() > 1 || isWord( token.front() ) ) {
            words_.push_back( token );
         }
      }
   }
}

const std::string &Mutations::substitute() {
   return below( 2 ) ? words_[ below( words_.size() ) ] : extremes[ below( extremes.size() ) ];
}

void Mutations::damageBytes( std::string &text ) {
   const auto at = below( text.size() );
   switch ( below( 4 ) ) {
   case 0:
      text[ at ] = static_cast<char>( text[ at ] ^ ( 1 << below( 8 ) ) );
      break;
   case 1:
      text.erase( at, 1 + below( 8 ) );
      break;
   case 2:
      text.insert( at, text.substr( at, 1 + below( 8 ) ) );
      break;
   default:
      text.resize( at );
   }
}

void Mutations::damageTokens( std::vector<std::string> &tokens ) {
   const auto at = below( tokens.size() );
   switch ( below( 5 ) ) {
   case 0:
      tokens.erase( tokens.begin() + static_cast<std::ptrdiff_t>( at ) );
      break;
   case 1:
      tokens[ at ] += tokens[ at ];
      break;
   case 2:
      tokens[ at ].swap( tokens[ below( tokens.size() ) ] );
      break;
   case 3:
      tokens[ at ].insert( 0, substitute() );
      break;
   default: // a token of its kind more often than not, so that many a text is still JSON
      for ( int attempt = 0; attempt < 8; ++attempt ) {
         const auto &other = substitute();
         if ( ( other.front() == '"' ) == ( tokens[ at ].front() == '"' ) &&
              isWord( tokens[ at ].back() ) == isWord( other.back() ) ) {
            tokens[ at ] = other;
            break;
         }
      }
   }
}

std::string Mutations::damaged( const std::string &text ) {
   auto tokens = tokensOf( text );
   for ( auto changes = below( 3 ); !tokens.empty() && changes > 0; --changes ) {
      damageTokens( tokens );
   }
   auto result = std::accumulate( tokens.begin(), tokens.end(), std::string() );
   if ( !result.empty() && below( 4 ) == 0 ) {
      damageBytes( result );
   }
   return result;
}

} // namespace QuarraTest
