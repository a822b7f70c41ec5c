#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "acl/Redis.h"
#include "tests/AclSummary.h"

// The configuration in a live Redis: Debian's server, in a folder of its own on the loopback address.
namespace QuarraAcl {
namespace {

int freePort() {
   const int one = socket( AF_INET, SOCK_STREAM, 0 );
   sockaddr_in address = {};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
   socklen_t size = sizeof address;
   bind( one, reinterpret_cast<sockaddr *>( &address ), size );
   getsockname( one, reinterpret_cast<sockaddr *>( &address ), &size );
   close( one );
   return ntohs( address.sin_port );
}

// A server that ends with the test.
class AclRedis : public ::testing::Test {
 protected:
   static void SetUpTestSuite() {
      folder_ = std::filesystem::temp_directory_path() / ( "quarra-redis-" + std::to_string( getpid() ) );
      std::filesystem::create_directories( folder_ );
      port_ = freePort();
      const auto port = std::to_string( port_ );
      child_ = fork();
      if ( child_ == 0 ) {
         execlp( "redis-server", "redis-server", "--bind", "127.0.0.1", "--port", port.c_str(), "--dir",
                 folder_.c_str(), "--unixsocket", socketPath().c_str(), "--save", "", "--appendonly", "no",
                 "--logfile", ( folder_ / "log" ).c_str(), static_cast<char *>( nullptr ) );
         _exit( 127 );
      }
   }

   static void TearDownTestSuite() {
      kill( child_, SIGTERM );
      waitpid( child_, nullptr, 0 );
      std::filesystem::remove_all( folder_ );
   }

   void SetUp() override {
      const auto flush = fmt::format( "redis-cli -e -p {} FLUSHALL > /dev/null 2>&1", port_ );
      constexpr int attempts = 400;
      for ( int attempt = 0; attempt < attempts && std::system( flush.c_str() ) != 0; ++attempt ) {
         ASSERT_EQ( waitpid( child_, nullptr, WNOHANG ), 0 )
            << "redis-server does not start; is it installed?";
         std::this_thread::sleep_for( std::chrono::milliseconds( 25 ) );
      }
   }

   static std::string socketPath() { return folder_ / "socket"; }
   static std::string address( const std::string &database = "" ) {
      return fmt::format( "redis://127.0.0.1:{}{}", port_, database );
   }

   // Commands for database 4, a line each.
   static int command( const std::string &lines, int database = 4 ) {
      std::ofstream( folder_ / "commands" ) << lines << "\n";
      return std::system( fmt::format( "redis-cli -e -p {} -n {} < '{}' > '{}' 2>&1", port_, database,
                                       ( folder_ / "commands" ).string(), ( folder_ / "answers" ).string() )
                             .c_str() );
   }

   static void fill() {
      command(
         "HSET PORT|E0 NULL NULL\nHSET PORT|E4 alias x\nHSET \"ACL_TABLE|T\" type L3 ports@ E0,E4 "
         "policy_desc \"a b\"\n"
         "HSET ACL_RULE|T|R PRIORITY 9 IN_PORTS E4 SRC_IP 10.0.0.0/8\nHSET ACL_RULE|T|S PRIORITY 8\n"
         "SET CONFIG_DB_INITIALIZED 1\nSET ACL_RULE_COUNT 7\nSET ACL_RULE|T|TEXT 1\nHSET BUFFER|x a b" );
   }

   static std::string answer( const std::string &source ) {
      const auto reading = readAcl( { source } );
      return reading.good() ? summary( reading.config ) : reading.complaints.front().text();
   }

   static std::string refusal( const std::string &source ) {
      try {
         return answer( source );
      } catch ( const InputError &error ) {
         return error.what();
      }
   }

   static inline std::filesystem::path folder_;
   static inline int port_ = 0;
   static inline pid_t child_ = 0;
};

constexpr auto expected = "T L3 on E0,E4; T|R 9 on E4; T|S 8 on E0,E4";

TEST_F( AclRedis, GivesTheSwitchOfItsRowsOverTcpAndASocket ) {
   fill();
   for ( const auto &source : { address(), address( "/4" ), address( "/" ), socketPath(),
                                "unix://" + socketPath(), "redis+unix://" + socketPath() + "?db=4" } ) {
      EXPECT_EQ( answer( source ), expected ) << source;
   }
   const auto config = readAcl( { address() } ).config;
   EXPECT_EQ( config.file, address() );
   EXPECT_EQ( fieldsText( config.tables.at( 0 ).rules.at( 0 ).fields ), "SRC_IP=10.0.0.0/8" );
}

TEST_F( AclRedis, OfTheAppliedStateHasOtherSeparatorsAndNames ) {
   command(
      "HSET PORT_TABLE:E0 lanes 1\nHSET PORT_TABLE:E4:1 lanes 2\nHSET PORT_TABLE:PortConfigDone count 2\n"
      "HSET PORT_TABLE:PortInitDone lanes 0\nHSET LAG_TABLE:PortChannel1 mtu 9100\n"
      "HSET LAG_MEMBER_TABLE:PortChannel1:E4:1 status enabled\nHSET ACL_TABLE_TABLE:T type L3 ports "
      "E0,PortChannel1\n"
      "HSET ACL_RULE_TABLE:T:R:1 PRIORITY 9",
      0 );
   EXPECT_EQ( answer( address( "/0" ) ), "T L3 on E0,E4:1; T|R:1 9 on E0,E4:1" );
}

TEST_F( AclRedis, WithThousandsOfKeysIsReadWhole ) {
   command( "HSET ACL_TABLE|T type L3 ports E0\nHSET PORT|E0 a b\n"
            "EVAL \"for i = 1, 3000 do redis.call( 'HSET', 'ACL_RULE|T|' .. i, 'PRIORITY', i ) "
            "redis.call( 'SET', 'other:' .. i, 'x' ) end\" 0" );
   EXPECT_EQ( readAcl( { address() } ).config.tables.at( 0 ).rules.size(), 3000u );
}

TEST_F( AclRedis, TakesAChangeLikeAFile ) {
   fill();
   const auto patch = folder_ / "patch.json";
   std::ofstream( patch )
      << R"([{"op":"remove","path":"/ACL_RULE/T|R"},{"op":"remove","path":"/ACL_TABLE/T/ports/0"}])";
   EXPECT_EQ( summary( readAcl( { address(), patch } ).config ), "T L3 on E4; T|S 8 on E4" );
}

TEST_F( AclRedis, ThatIsNotThereOrRefusesIsToldInOneLine ) {
   EXPECT_EQ( refusal( address() ), address() + ": expected a table ACL_TABLE" ) << "an empty database";
   EXPECT_EQ( refusal( address( "/99" ) ),
              address( "/99" ) + ": the server refuses: ERR DB index is out of range" );
   EXPECT_EQ( refusal( "redis://127.0.0.1:1" ), "redis://127.0.0.1:1: cannot connect: Connection refused" );
   EXPECT_EQ( refusal( "unix://" + ( folder_ / "none" ).string() ),
              "unix://" + ( folder_ / "none" ).string() + ": cannot connect: No such file or directory" );
   command( "HSET ACL_RULE|T|R PRIORITY \"\\xff\"" );
   EXPECT_EQ( refusal( address() ), address() + ": ACL_RULE|T|R: a field is no UTF-8" );
   command( "CONFIG SET requirepass secret" );
   EXPECT_EQ( refusal( address() ), address() + ": the server refuses: NOAUTH Authentication required." );
   EXPECT_EQ( std::system(
                 fmt::format( "redis-cli -p {} -a secret CONFIG SET requirepass '' > /dev/null 2>&1", port_ )
                    .c_str() ),
              0 );
}

TEST( AclRedisAddress, ThatIsNoneIsRefused ) {
   for ( const std::string source :
         { "redis://", "redis://:6379", "redis://h:x", "redis://h:65536", "redis://h/x", "redis://h/-1",
           "redis://h/4/5", "redis://[::1", "redis://[::1]x", "redis://u:p@h", "unix://",
           "redis+unix://?db=4", "redis+unix:///s?db=" } ) {
      EXPECT_THROW( redisAddress( source ), InputError ) << source;
   }
   const auto six = redisAddress( "redis://[::1]:7000/0" );
   EXPECT_EQ( six.host, "::1" );
   EXPECT_EQ( six.port, 7000 );
   EXPECT_EQ( six.database, 0 );
}

} // namespace
} // namespace QuarraAcl
