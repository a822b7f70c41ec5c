#include "acl/Redis.h"

#include <sys/stat.h>

#include <charconv>
#include <csignal>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include <fmt/format.h>
#include <hiredis/hiredis.h>

#include "acl/ConfigRows.h"

namespace QuarraAcl {
namespace {

constexpr std::string_view tcpScheme = "redis://";
constexpr std::string_view socketSchemes[] = { "redis+unix://", "unix://" };
constexpr timeval patience = { 10, 0 }; // for the connection, and for each answer
constexpr const char *keyPatterns[] = { "ACL_*", "PORT*", "LAG_*", "VLAN*" }; // more than what is read
constexpr std::size_t keysAtOnce = 500;
constexpr std::size_t mostRows = 2'000'000;

struct FreeContext {
   void operator()( redisContext *context ) const { redisFree( context ); }
};
struct FreeReply {
   void operator()( void *reply ) const { freeReplyObject( reply ); }
};
using Reply = std::unique_ptr<redisReply, FreeReply>;

[[noreturn]] void refuse( const std::string &source, const std::string &message ) {
   throw InputError( fmt::format( "{}: {}", source, message ) );
}

int numberIn( const std::string &source, std::string_view text, int max, const char *what ) {
   int number = 0;
   const auto [ stop, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   if ( text.empty() || error != std::errc() || stop != text.data() + text.size() || number < 0 ||
        number > max ) {
      refuse( source, fmt::format( "expected {} from 0 to {}, got \"{}\"", what, max, text ) );
   }
   return number;
}

int databaseIn( const std::string &source, std::string_view text ) {
   return numberIn( source, text, 65535, "a database" );
}

RedisAddress tcpAddress( const std::string &source, std::string_view rest ) {
   RedisAddress address;
   if ( const auto slash = rest.find( '/' ); slash != rest.npos ) {
      if ( slash + 1 < rest.size() ) {
         address.database = databaseIn( source, rest.substr( slash + 1 ) );
      }
      rest = rest.substr( 0, slash );
   }
   const auto hostEnd =
      rest.starts_with( '[' ) ? rest.find( ']' ) : rest.find( ':' ); // [::1] has colons of its own
   if ( rest.starts_with( '[' ) ) {
      address.host = hostEnd == rest.npos ? "" : rest.substr( 1, hostEnd - 1 );
      rest.remove_prefix( hostEnd == rest.npos ? rest.size() : hostEnd + 1 );
   } else {
      address.host = rest.substr( 0, hostEnd );
      rest.remove_prefix( address.host.size() );
   }
   if ( rest.starts_with( ':' ) ) {
      address.port = numberIn( source, rest.substr( 1 ), 65535, "a port" );
   } else if ( !rest.empty() ) {
      address.host.clear();
   }
   if ( address.host.empty() || address.host.find( '@' ) != std::string::npos ) {
      refuse( source, "expected redis://HOST[:PORT][/DATABASE]" );
   }
   return address;
}

RedisAddress socketAddress( const std::string &source, std::string_view rest ) {
   constexpr std::string_view query = "?db=";
   RedisAddress address;
   if ( const auto at = rest.find( query ); at != rest.npos ) {
      address.database = databaseIn( source, rest.substr( at + query.size() ) );
      rest = rest.substr( 0, at );
   }
   address.socket = rest;
   if ( address.socket.empty() ) {
      refuse( source, "expected redis+unix://PATH[?db=DATABASE]" );
   }
   return address;
}

std::optional<std::string_view> withoutSocketScheme( std::string_view source ) {
   for ( const std::string_view scheme : socketSchemes ) {
      if ( source.starts_with( scheme ) ) {
         return source.substr( scheme.size() );
      }
   }
   return std::nullopt;
}

bool isSocket( const std::string &path ) {
   struct stat status;
   return stat( path.c_str(), &status ) == 0 && S_ISSOCK( status.st_mode );
}

bool isUtf8( const std::string &text ) {
   try {
      static_cast<void>( Json( text ).dump() );
      return true;
   } catch ( const Json::type_error & ) {
      return false;
   }
}

std::string textOf( const redisReply &reply ) {
   return reply.str ? std::string( reply.str, reply.len ) : "";
}

// A server that goes away ends the read with an error, not the process with a signal.
class WithoutBrokenPipe {
 public:
   WithoutBrokenPipe() : before_( std::signal( SIGPIPE, SIG_IGN ) ) {}
   ~WithoutBrokenPipe() { std::signal( SIGPIPE, before_ ); }
   WithoutBrokenPipe( const WithoutBrokenPipe & ) = delete;
   WithoutBrokenPipe &operator=( const WithoutBrokenPipe & ) = delete;

 private:
   void ( *before_ )( int );
};

class RedisReader {
 public:
   explicit RedisReader( const std::string &source );

   Json rows();

 private:
   void select( int database );
   std::set<std::string> keysLike( const std::string &pattern );
   void addRows( const std::vector<std::string> &keys );
   void append( const std::vector<std::string> &command );
   Reply answer();
   Reply checkedAnswer();
   std::string checkedText( const redisReply &reply, const std::string &key ) const;
   [[noreturn]] void lost() const;

   WithoutBrokenPipe withoutBrokenPipe_;
   const std::string &source_;
   std::unique_ptr<redisContext, FreeContext> context_;
   Json rows_ = Json::object();
};

RedisReader::RedisReader( const std::string &source ) : source_( source ) {
   const RedisAddress address = redisAddress( source );
   context_.reset( address.host.empty()
                      ? redisConnectUnixWithTimeout( address.socket.c_str(), patience )
                      : redisConnectWithTimeout( address.host.c_str(), address.port, patience ) );
   if ( !context_ || context_->err ) {
      refuse( source_, fmt::format( "cannot connect: {}", context_ ? context_->errstr : "out of memory" ) );
   }
   redisSetTimeout( context_.get(), patience );
   select( address.database );
}

void RedisReader::select( int database ) {
   append( { "SELECT", std::to_string( database ) } );
   checkedAnswer();
}

Json RedisReader::rows() {
   for ( const char *pattern : keyPatterns ) {
      std::vector<std::string> batch;
      for ( const std::string &key : keysLike( pattern ) ) {
         batch.push_back( key );
         if ( batch.size() == keysAtOnce ) {
            addRows( batch );
            batch.clear();
         }
      }
      addRows( batch );
   }
   return std::move( rows_ );
}

// SCAN may name a key twice, and one that has gone in the meantime.
std::set<std::string> RedisReader::keysLike( const std::string &pattern ) {
   std::set<std::string> keys;
   std::string cursor = "0";
   do {
      append( { "SCAN", cursor, "MATCH", pattern, "COUNT", "1000" } );
      const Reply reply = checkedAnswer();
      const bool wellFormed = reply->type == REDIS_REPLY_ARRAY && reply->elements == 2 &&
                              reply->element[ 0 ]->type == REDIS_REPLY_STRING &&
                              reply->element[ 1 ]->type == REDIS_REPLY_ARRAY;
      if ( !wellFormed ) {
         refuse( source_, "the server's answer to SCAN is not understood" );
      }
      cursor = textOf( *reply->element[ 0 ] );
      for ( std::size_t i = 0; i < reply->element[ 1 ]->elements; ++i ) {
         std::string key = textOf( *reply->element[ 1 ]->element[ i ] );
         if ( rowKey( key ) ) {
            keys.insert( std::move( key ) );
         }
      }
      if ( keys.size() > mostRows ) {
         refuse( source_, fmt::format( "holds more than {} rows", mostRows ) );
      }
   } while ( cursor != "0" );
   return keys;
}

// Asks for all rows before it waits for the first. Keys that hold no hash are no rows.
void RedisReader::addRows( const std::vector<std::string> &keys ) {
   for ( const std::string &key : keys ) {
      append( { "HGETALL", key } );
   }
   for ( const std::string &key : keys ) {
      const Reply reply = answer();
      if ( reply->type == REDIS_REPLY_ERROR ) {
         if ( textOf( *reply ).starts_with( "WRONGTYPE" ) ) {
            continue;
         }
         refuse( source_, fmt::format( "{}: the server refuses: {}", key, textOf( *reply ) ) );
      }
      if ( reply->type != REDIS_REPLY_ARRAY || reply->elements % 2 != 0 ) {
         refuse( source_, fmt::format( "{}: the server's answer is not understood", key ) );
      }
      if ( reply->elements == 0 ) {
         continue; // it has gone since
      }
      Json &row = rows_[ key ] = Json::object();
      for ( std::size_t i = 0; i < reply->elements; i += 2 ) {
         row[ checkedText( *reply->element[ i ], key ) ] = checkedText( *reply->element[ i + 1 ], key );
      }
   }
}

// What is no UTF-8 would be refused in a file, too.
std::string RedisReader::checkedText( const redisReply &reply, const std::string &key ) const {
   std::string text = textOf( reply );
   if ( !isUtf8( text ) ) {
      refuse( source_, fmt::format( "{}: a field is no UTF-8", key ) );
   }
   return text;
}

void RedisReader::append( const std::vector<std::string> &command ) {
   std::vector<const char *> words;
   std::vector<std::size_t> sizes;
   for ( const std::string &word : command ) {
      words.push_back( word.data() );
      sizes.push_back( word.size() );
   }
   if ( redisAppendCommandArgv( context_.get(), static_cast<int>( words.size() ), words.data(),
                                sizes.data() ) != REDIS_OK ) {
      lost();
   }
}

Reply RedisReader::answer() {
   void *reply = nullptr;
   if ( redisGetReply( context_.get(), &reply ) != REDIS_OK || !reply ) {
      lost();
   }
   return Reply( static_cast<redisReply *>( reply ) );
}

Reply RedisReader::checkedAnswer() {
   Reply reply = answer();
   if ( reply->type == REDIS_REPLY_ERROR ) {
      refuse( source_, fmt::format( "the server refuses: {}", textOf( *reply ) ) );
   }
   return reply;
}

void RedisReader::lost() const {
   refuse( source_, fmt::format( "the connection is lost: {}", context_->errstr ) );
}

} // namespace

bool isRedis( const std::string &source ) {
   return source.starts_with( tcpScheme ) || withoutSocketScheme( source ) || isSocket( source );
}

RedisAddress redisAddress( const std::string &source ) {
   if ( source.starts_with( tcpScheme ) ) {
      return tcpAddress( source, std::string_view( source ).substr( tcpScheme.size() ) );
   }
   return socketAddress( source, withoutSocketScheme( source ).value_or( source ) );
}

Json readRedis( const std::string &source ) {
   return RedisReader( source ).rows();
}

} // namespace QuarraAcl
