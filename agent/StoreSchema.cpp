#include "agent/StoreSchema.h"

namespace QuarraAgent::Schema {

std::string create( const Table &table ) {
   const std::string columns = table.columns;
   const auto keyed = columns.find( ", PRIMARY KEY(" );
   const std::string sum = ", sum";
   return "CREATE TABLE " + std::string( table.name ) + "( " +
          ( keyed == std::string::npos
               ? columns + sum + " )"
               : columns.substr( 0, keyed ) + sum + columns.substr( keyed ) + " ) WITHOUT ROWID" ) +
          ";";
}

std::string put( const Table &table ) {
   std::string text = "INSERT OR REPLACE INTO " + std::string( table.name ) + " VALUES( ?";
   for ( int i = 0; i < table.values; ++i ) {
      text += ", ?"; // one more than there are values: the sum
   }
   return text + " )";
}

// "tcamGroup, pool" finds rows by both.
std::string erase( const Table &table, const char *key ) {
   std::string condition = key;
   for ( std::size_t comma = 0; ( comma = condition.find( ", ", comma ) ) != std::string::npos; ) {
      condition.replace( comma, 2, " = ? AND " );
   }
   return "DELETE FROM " + std::string( table.name ) + " WHERE " + condition + " = ?";
}

std::string all( const Table &table ) {
   return "SELECT * FROM " + std::string( table.name ) + " ORDER BY " + table.keys;
}

} // namespace QuarraAgent::Schema
