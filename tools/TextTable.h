#pragma once

#include <string>
#include <vector>

#include "agent/OneLine.h"

namespace QuarraTool {

// Rows of text in aligned columns, for a person.
class TextTable {
 public:
   enum class Align { left, right };

   struct Column {
      std::string title;
      Align align = Align::left;
   };

   explicit TextTable( std::vector<Column> columns ) : columns_( std::move( columns ) ) {}

   // Each cell on one line, whatever it holds; all but the last without their middle when they are very long.
   void row( const std::vector<std::string> &cells );
   bool empty() const { return rows_.empty(); }

   // Indented by two blanks, two blanks between columns, no blanks at the end of a line.
   std::string text() const;

 private:
   std::string line( const std::vector<std::string> &cells, const std::vector<std::size_t> &widths ) const;

   std::vector<Column> columns_;
   std::vector<std::vector<std::string>> rows_;
};

using QuarraAgent::counted;

// "A, B, C and 7 more": the first names of a list that may be long.
std::string shortened( const std::vector<std::string> &names, std::size_t most );

} // namespace QuarraTool
