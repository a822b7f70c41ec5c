#include "agent/Sqlite.h"

#include <sqlite3.h>

namespace QuarraAgent {

Database::Database( const std::string &path, bool make ) : path_( path ), handle_( nullptr, sqlite3_close ) {
   sqlite3 *handle = nullptr;
   const int code = sqlite3_open_v2(
      path.c_str(), &handle, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | ( make ? SQLITE_OPEN_CREATE : 0 ),
      nullptr );
   handle_.reset( handle );
   if ( code != SQLITE_OK ) {
      refuse( code );
   }
   if ( sqlite3_db_readonly( handle, "main" ) ) {
      throw StoreRefused( "storeFailed", "store " + path_ + ": it may be read but not written" );
   }
}

void Database::refuse( int code ) const {
   const bool unsound = code == SQLITE_CORRUPT || code == SQLITE_NOTADB || code == SQLITE_ERROR ||
                        code == SQLITE_MISMATCH || code == SQLITE_CONSTRAINT || code == SQLITE_TOOBIG;
   throw StoreRefused( unsound ? "storeDamaged" : "storeFailed",
                       "store " + path_ + ": " +
                          ( handle_ ? sqlite3_errmsg( handle_.get() ) : sqlite3_errstr( code ) ) );
}

void Database::run( const std::string &sql ) {
   if ( const int code = sqlite3_exec( handle_.get(), sql.c_str(), nullptr, nullptr, nullptr );
        code != SQLITE_OK ) {
      refuse( code & 0xff );
   }
}

S64 Database::number( const std::string &sql ) {
   Statement statement( *this, sql );
   return statement.next() ? statement.number() : 0;
}

Statement::Statement( const Database &database, const std::string &sql )
   : database_( database ), statement_( nullptr, sqlite3_finalize ) {
   sqlite3_stmt *statement = nullptr;
   const int code = sqlite3_prepare_v3( database.handle(), sql.c_str(), static_cast<int>( sql.size() ),
                                        SQLITE_PREPARE_PERSISTENT, &statement, nullptr );
   statement_.reset( statement );
   if ( code != SQLITE_OK ) {
      database.refuse( code & 0xff );
   }
}

void Statement::mix( S64 number ) {
   sum_.mix( static_cast<U32>( number ) );
   sum_.mix( static_cast<U32>( static_cast<U64>( number ) >> 32 ) );
}

Statement &Statement::bind( S64 number ) {
   sqlite3_bind_int64( statement_.get(), ++place_, number );
   mix( number );
   return *this;
}

// The caller's bytes outlive the statement's run.
Statement &Statement::bind( std::string_view text ) {
   sqlite3_bind_text( statement_.get(), ++place_, text.data() ? text.data() : "",
                      static_cast<int>( text.size() ), SQLITE_STATIC );
   sum_.mix( Zev::hash( text ) );
   return *this;
}

Statement &Statement::bind( std::span<const U8> bytes ) {
   const std::string_view text( reinterpret_cast<const char *>( bytes.data() ), bytes.size() );
   sqlite3_bind_blob( statement_.get(), ++place_, text.empty() ? "" : text.data(),
                      static_cast<int>( text.size() ), SQLITE_STATIC );
   sum_.mix( Zev::hash( text ) );
   return *this;
}

void Statement::run() {
   const int code = sqlite3_step( statement_.get() );
   sqlite3_reset( statement_.get() );
   place_ = 0;
   sum_ = Zev::Hash();
   if ( code != SQLITE_DONE && code != SQLITE_ROW ) {
      database_.refuse( code & 0xff );
   }
}

void Statement::runWithSum() {
   sqlite3_bind_int64( statement_.get(), ++place_, sum_.value() );
   run();
}

bool Statement::next() {
   place_ = 0;
   sum_ = Zev::Hash();
   const int code = sqlite3_step( statement_.get() );
   if ( code == SQLITE_ROW ) {
      return true;
   }
   sqlite3_reset( statement_.get() );
   if ( code != SQLITE_DONE ) {
      database_.refuse( code & 0xff );
   }
   return false;
}

S64 Statement::number() {
   const S64 number = sqlite3_column_int64( statement_.get(), place_++ );
   mix( number );
   return number;
}

U64 Statement::numberUpTo( U64 most ) {
   const auto found = static_cast<U64>( number() );
   if ( found > most ) {
      damaged( "a number out of its range" );
   }
   return found;
}

std::string_view Statement::text() {
   const auto *text = reinterpret_cast<const char *>( sqlite3_column_text( statement_.get(), place_ ) );
   const std::string_view view(
      text ? text : "", static_cast<std::size_t>( sqlite3_column_bytes( statement_.get(), place_ ) ) );
   ++place_;
   sum_.mix( Zev::hash( view ) );
   return view;
}

std::span<const U8> Statement::bytes() {
   const auto *bytes = static_cast<const char *>( sqlite3_column_blob( statement_.get(), place_ ) );
   const std::string_view view(
      bytes ? bytes : "", static_cast<std::size_t>( sqlite3_column_bytes( statement_.get(), place_ ) ) );
   ++place_;
   sum_.mix( Zev::hash( view ) );
   return { reinterpret_cast<const U8 *>( view.data() ), view.size() };
}

void Statement::checkSum() {
   if ( sqlite3_column_int64( statement_.get(), place_ ) != S64{ sum_.value() } ) {
      damaged( "a row whose sum is wrong" );
   }
}

void Statement::damaged( const char *what ) const {
   throw StoreRefused( "storeDamaged", "store " + database_.path() + ": " + what +
                                          ", read by: " + sqlite3_sql( statement_.get() ) );
}

} // namespace QuarraAgent
