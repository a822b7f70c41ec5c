#include "tools/TextTable.h"

#include <algorithm>
#include <iterator>
#include <span>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "lab/TextFile.h"

namespace QuarraTool {

using namespace QuarraLab;

void TextTable::row( const std::vector<std::string> &cells ) {
   std::vector<std::string> &row = rows_.emplace_back();
   std::ranges::transform( cells, std::back_inserter( row ),
                           shortName ); // a column is as wide as its widest cell
   if ( !cells.empty() ) {
      row.back() = oneLine( cells.back() );
   }
}

std::string TextTable::line( const std::vector<std::string> &cells,
                             const std::vector<std::size_t> &widths ) const {
   std::string text;
   for ( std::size_t i = 0; i < cells.size(); ++i ) {
      text += columns_[ i ].align == Align::left ? fmt::format( "  {:<{}}", cells[ i ], widths[ i ] )
                                                 : fmt::format( "  {:>{}}", cells[ i ], widths[ i ] );
   }
   return text.erase( text.find_last_not_of( ' ' ) + 1 ) + "\n";
}

std::string TextTable::text() const {
   std::vector<std::string> titles;
   for ( const auto &column : columns_ ) {
      titles.push_back( column.title );
   }
   std::vector<std::size_t> widths( columns_.size() );
   for ( std::size_t i = 0; i < columns_.size(); ++i ) {
      widths[ i ] = titles[ i ].size();
      for ( const auto &row : rows_ ) {
         widths[ i ] = std::max( widths[ i ], row[ i ].size() );
      }
   }
   std::string text = line( titles, widths );
   for ( const auto &row : rows_ ) {
      text += line( row, widths );
   }
   return text;
}

std::string shortened( const std::vector<std::string> &names, std::size_t most ) {
   const auto shown = std::span( names ).first( std::min( most, names.size() ) );
   const auto text = fmt::format( "{}", fmt::join( shown, ", " ) );
   return names.size() > most ? fmt::format( "{} and {} more", text, names.size() - most ) : text;
}

} // namespace QuarraTool
