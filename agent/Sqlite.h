#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "Nodra/Types.h"
#include "Zev/Hash.h"
#include "agent/StoreRefused.h"

struct sqlite3;
struct sqlite3_stmt;

// The few things of SQLite that the store uses, with its errors as StoreRefused.
namespace QuarraAgent {

using namespace Nodra::Types;

// An open database file. One thread at a time.
class Database {
 public:
   // Throws StoreRefused: "storeMissing", "storeDamaged", "storeFailed".
   Database( const std::string &path, bool make );

   void run( const std::string &sql );
   S64 number( const std::string &sql ); // the one number that a query gives
   sqlite3 *handle() const { return handle_.get(); }
   const std::string &path() const { return path_; }

   // Throws for a result code of SQLite: "storeFailed", or "storeDamaged" where the file is no sound
   // database.
   [[noreturn]] void refuse( int code ) const;

 private:
   std::string path_;
   std::unique_ptr<sqlite3, int ( * )( sqlite3 * )> handle_;
};

// A prepared statement. Values are bound and columns are read from the left, one after the other. Each row of
// the store ends with a sum over its columns, so that a damaged value is found when it is read.
class Statement {
 public:
   Statement( const Database &database, const std::string &sql );

   Statement &bind( S64 number );
   Statement &bind( std::string_view text );
   Statement &bind( std::span<const U8> bytes );
   void run();        // without a sum: deletions
   void runWithSum(); // the sum is the last value

   bool next(); // the next row; false after the last one
   S64 number();
   U64 numberUpTo( U64 most ); // throws "storeDamaged" when it is not from 0 to most
   std::string_view text();
   std::span<const U8> bytes();
   void checkSum(); // of the row, in its last column

 private:
   void mix( S64 number );
   [[noreturn]] void damaged( const char *what ) const;

   const Database &database_;
   std::unique_ptr<sqlite3_stmt, int ( * )( sqlite3_stmt * )> statement_;
   int place_ = 0;
   Zev::Hash sum_;
};

} // namespace QuarraAgent
