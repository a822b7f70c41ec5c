// The configuration in a live Redis database.
#pragma once

#include <string>
#include <string_view>

#include "lab/JsonText.h"
#include "lab/TextFile.h"

namespace QuarraAcl {

using namespace QuarraLab;

// Where a server listens, and which of its databases is read.
struct RedisAddress {
   std::string host; // empty: a socket
   int port = 6379;
   std::string socket;
   int database = 4;
};

// "redis://HOST[:PORT][/DB]", "redis+unix://PATH[?db=DB]", or the path of a socket.
bool isRedis( const std::string &source );

// Throws InputError for an address that is none.
RedisAddress redisAddress( const std::string &source );

// The rows of the tables that matter to ACLs, as a flattened config_db.json: { "ACL_TABLE|DATAACL": { fields
// } }. The database is only read. Throws InputError when the server cannot be reached, does not answer in
// time, or refuses.
Json readRedis( const std::string &source );

} // namespace QuarraAcl
