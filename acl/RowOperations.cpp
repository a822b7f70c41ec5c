#include "acl/RowOperations.h"

#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "acl/ConfigRows.h"

namespace QuarraAcl {
namespace {

// Field names are one in any case, with or without the '@' of a list.
std::string fieldId( const std::string &name ) {
   return lowerCase( name.ends_with( '@' ) ? name.substr( 0, name.size() - 1 ) : name );
}

void setFields( Json &row, const Json &fields ) {
   for ( const auto &[ name, value ] : fields.items() ) {
      std::vector<std::string> replaced;
      for ( const auto &[ old, unused ] : row.items() ) {
         if ( fieldId( old ) == fieldId( name ) ) {
            replaced.push_back( old );
         }
      }
      std::ranges::for_each( replaced, [ & ]( const std::string &old ) { row.erase( old ); } );
      row[ name ] = value;
   }
}

class RowChanger {
 public:
   RowChanger( const std::string &file, Json &document, Complaints &complaints, Warnings &warnings )
      : file_( file ), document_( document ), complaints_( complaints ), warnings_( warnings ) {}

   void apply( const Json &operation, std::size_t number );

 private:
   void set( const Place &place, const RowKey &key, const Json &fields );
   void remove( const Place &place, const RowKey &key );

   const std::string &file_;
   Json &document_;
   Complaints &complaints_;
   Warnings &warnings_;
};

void RowChanger::apply( const Json &operation, std::size_t number ) {
   const Place place = { &file_, fmt::format( "[{}]", number ) };
   if ( !operation.is_object() ) {
      return complaints_.add( place, "expected an object, got " + typeName( operation ) );
   }
   const auto op = operation.find( "OP" );
   if ( op == operation.end() || ( *op != "SET" && *op != "DEL" ) ) {
      return complaints_.add( place, "expected \"OP\" with SET or DEL" );
   }
   if ( operation.size() != 2 ) {
      return complaints_.add( place, "expected one row beside \"OP\"" );
   }
   const auto row = operation.begin().key() == "OP" ? std::next( operation.begin() ) : operation.begin();
   const Place rowPlace = place + ( "." + row.key() );
   const auto key = rowKey( row.key() );
   if ( !key ) {
      warnings_.emplace_back( rowPlace, "not a row of a table that is read" );
   } else if ( *op == "DEL" ) {
      remove( rowPlace, *key );
   } else {
      set( rowPlace, *key, row.value() );
   }
}

// What is wrong with the document itself, its reader tells.
void RowChanger::set( const Place &place, const RowKey &key, const Json &fields ) {
   if ( !fields.is_object() ) {
      const auto bar = key.name.find( '|' );
      const std::string rule = bar == key.name.npos ? "" : key.name.substr( bar + 1 );
      return complaints_.add( place, "expected an object with fields, got " + typeName( fields ),
                              { key.name.substr( 0, bar ), rule } );
   }
   Json &table = document_[ std::string( key.table ) ];
   if ( table.is_null() || table.is_object() ) {
      Json &row = table.emplace( key.name, Json::object() ).first.value();
      if ( row.is_object() ) {
         setFields( row, fields );
      }
   }
}

void RowChanger::remove( const Place &place, const RowKey &key ) {
   const auto table = document_.find( std::string( key.table ) );
   if ( table == document_.end() || !table->is_object() || table->erase( key.name ) == 0 ) {
      warnings_.emplace_back( place, "there is no such row to delete" );
   }
}

} // namespace

bool isRowOperations( const Json &root ) {
   return root.is_array() && !root.empty() && root.front().is_object() && root.front().contains( "OP" );
}

void applyRowOperations( const Json &operations, const std::string &file, Json &document,
                         Complaints &complaints, Warnings &warnings ) {
   RowChanger changer( file, document, complaints, warnings );
   for ( std::size_t i = 0; i < operations.size(); ++i ) {
      changer.apply( operations[ i ], i );
   }
}

} // namespace QuarraAcl
