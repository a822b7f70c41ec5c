#pragma once

#include <random>
#include <string>
#include <vector>

namespace QuarraTest {

// Damages texts of JSON, the same way for the same seed: bytes flipped and lost, tokens lost, doubled,
// swapped, replaced by extremes, by other types or by words of other texts, and texts cut short.
class Mutations {
 public:
   // `words` are texts whose tokens replace others.
   Mutations( unsigned seed, const std::vector<std::string> &words );

   std::string damaged( const std::string &text );
   std::size_t below( std::size_t number ) { return random_() % number; } // 0 to number - 1

 private:
   void damageBytes( std::string &text );
   void damageTokens( std::vector<std::string> &tokens );
   const std::string &substitute();

   std::mt19937 random_;
   std::vector<std::string> words_;
};

} // namespace QuarraTest
