#include "acl/ConfigDocument.h"

#include <algorithm>
#include <sstream>

#include "acl/ConfigRows.h"

namespace QuarraAcl {
namespace {

constexpr int mostLevels = 64;

bool isDeeperThan( const Json &json, int levels ) {
   return json.is_structured() &&
          ( levels == 0 || std::ranges::any_of( json, [ levels ]( const Json &member ) {
               return isDeeperThan( member, levels - 1 );
            } ) );
}

Json listOf( const std::string &text ) {
   Json list = Json::array();
   std::istringstream names( text );
   for ( std::string name; std::getline( names, name, ',' ); ) {
      list.push_back( name );
   }
   return list;
}

// A row of the database has its lists as texts.
Json rowOf( const Json &stored ) {
   const Json &fields = rowFields( stored );
   if ( !fields.is_object() ) {
      return fields;
   }
   Json row = Json::object();
   for ( const auto &[ name, value ] : fields.items() ) {
      const std::string plain = name.ends_with( '@' ) ? name.substr( 0, name.size() - 1 ) : name;
      if ( plain != name && value.is_string() && !fields.contains( plain ) ) {
         row[ plain ] = listOf( value.get<std::string>() );
      } else if ( name != "NULL" ) {
         row[ name ] = value;
      }
   }
   return row;
}

} // namespace

Json nestedConfigDb( const Json &root ) {
   Json nested = Json::object();
   for ( const auto &[ key, value ] : root.items() ) {
      if ( rowKey( key ) || key.find( '|' ) != std::string::npos || !value.is_object() ) {
         continue;
      }
      Json &table = nested[ key ] = value;
      for ( auto &[ name, row ] : table.items() ) {
         if ( &rowFields( row ) != &row ) {
            row = rowOf( Json( row ) );
         }
      }
   }
   for ( const auto &[ key, value ] : root.items() ) {
      const std::size_t bar = key.find( '|' );
      const auto known = rowKey( key );
      if ( !known && bar == std::string::npos ) {
         if ( !value.is_object() ) {
            nested[ key ] = value;
         }
         continue;
      }
      const std::string table = known ? std::string( known->table ) : key.substr( 0, bar );
      const std::string name = known ? known->name : key.substr( bar + 1 );
      Json &rows = nested[ table ];
      const bool fits = rows.is_null() || ( rows.is_object() && !rows.contains( name ) );
      ( fits ? rows[ name ] : nested[ key ] ) =
         rowOf( value ); // one given twice stays to be complained about
   }
   return nested;
}

bool isTooDeep( const Json &json ) {
   return isDeeperThan( json, mostLevels );
}

} // namespace QuarraAcl
