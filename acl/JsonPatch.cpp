#include "acl/JsonPatch.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

// An operation, its members beside "op", and whether its target's parent has to be there.
struct OperationRow {
   std::string_view op;
   std::string_view operand; // "value", "from" or none
   bool putsAtPath;          // the member need not be there before, only what is to hold it
};

constexpr OperationRow operations[] = {
   { "add", "value", true }, { "remove", "", false },  { "replace", "value", false },
   { "move", "from", true }, { "copy", "from", true }, { "test", "value", false },
};

class PatchFailed : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

Json::json_pointer pointerOf( const Json &operation, const char *member ) {
   const auto found = operation.find( member );
   if ( found == operation.end() || !found->is_string() ) {
      throw PatchFailed(
         fmt::format( "expected \"{}\" with a path such as /ACL_RULE/DATAACL|RULE_1", member ) );
   }
   return Json::json_pointer( found->get<std::string>() );
}

// "[json.exception.out_of_range.401] array index 3 is out of range" without what the library calls it.
std::string plainMessage( const Json::exception &error ) {
   const std::string message = error.what();
   const std::size_t end = message.find( "] " );
   return end == std::string::npos ? message : message.substr( end + 2 );
}

PatchFailed failedAt( const std::string &path, const Json::exception &error ) {
   return PatchFailed( fmt::format( "{}: {}", path, plainMessage( error ) ) );
}

// nlohmann leaves it undefined what happens where a number or a text is to hold a member.
void requireStructured( const Json &holder, const std::string &place ) {
   if ( !holder.is_structured() ) {
      throw PatchFailed( place + " is neither an object nor a list" );
   }
}

// Names the shortest part of the path that is missing.
void requireThere( const Json &document, const Json::json_pointer &path ) {
   const std::string text = path.to_string();
   const Json *holder = &document;
   for ( std::size_t end = 0; end < text.size(); ) {
      requireStructured( *holder, text.substr( 0, end ) );
      end = std::min( text.find( '/', end + 1 ), text.size() );
      const std::string part = text.substr( 0, end );
      const Json::json_pointer pointer( part );
      if ( holder->is_object() && !document.contains( pointer ) ) {
         throw PatchFailed( part + " is not there" );
      }
      try {
         holder = &document.at( pointer );
      } catch ( const Json::exception &error ) { // a list tells what is wrong with an index
         throw failedAt( part, error );
      }
   }
}

void requireHolder( const Json &document, const Json::json_pointer &path ) {
   if ( !path.empty() ) {
      const auto holder = path.parent_pointer();
      requireThere( document, holder );
      requireStructured( document.at( holder ), holder.to_string() );
   }
}

// Checks what nlohmann takes in silence, then lets it carry out the operation.
void applyOne( const Json &operation, Json &document ) {
   if ( !operation.is_object() ) {
      throw PatchFailed( "expected an object, got " + typeName( operation ) );
   }
   const auto op = operation.find( "op" );
   const auto *row =
      op == operation.end() || !op->is_string()
         ? std::end( operations )
         : std::ranges::find( operations, op->get_ref<const std::string &>(), &OperationRow::op );
   if ( row == std::end( operations ) ) {
      throw PatchFailed( "expected \"op\" with add, remove, replace, move, copy or test" );
   }
   const auto path = pointerOf( operation, "path" );
   if ( row->operand == "value" && !operation.contains( "value" ) ) {
      throw PatchFailed( "expected a \"value\"" );
   }
   if ( row->operand == "from" ) {
      const auto from = pointerOf( operation, "from" );
      requireThere( document, from );
      if ( row->op == "move" && path.to_string().starts_with( from.to_string() + "/" ) ) {
         throw PatchFailed( "what is moved cannot go into itself" );
      }
   }
   requireHolder( document, path );
   if ( !row->putsAtPath && row->op != "test" ) {
      requireThere( document, path );
   }
   if ( row->op == "remove" && path.empty() ) {
      throw PatchFailed( "the whole configuration cannot be removed" );
   }
   if ( row->op == "test" ) {
      const bool equal = document.contains( path ) && document.at( path ) == operation.at( "value" );
      if ( !equal ) {
         throw PatchFailed( fmt::format( "the test fails: {} is {}", path.to_string(),
                                         document.contains( path ) ? "something else" : "not there" ) );
      }
      return;
   }
   try {
      document.patch_inplace( Json::array( { operation } ) );
   } catch ( const Json::exception &error ) {
      throw failedAt( path.to_string(), error );
   }
}

// "[1] (remove)"
std::string placeOf( const Json &operation, std::size_t number ) {
   const auto op = operation.is_object() ? operation.value( "op", Json() ) : Json();
   const bool known = op.is_string() && std::ranges::find( operations, op.get<std::string>(),
                                                           &OperationRow::op ) != std::end( operations );
   return known ? fmt::format( "[{}] ({})", number, op.get<std::string>() ) : fmt::format( "[{}]", number );
}

} // namespace

bool isJsonPatch( const Json &root ) {
   return root.is_array() &&
          ( root.empty() || ( root.front().is_object() && root.front().contains( "op" ) ) );
}

void applyJsonPatch( const Json &patch, const std::string &file, Json &document, Complaints &complaints ) {
   Json changed = document;
   for ( std::size_t i = 0; i < patch.size(); ++i ) {
      const Place place = { &file, placeOf( patch[ i ], i ) };
      try {
         applyOne( patch[ i ], changed );
      } catch ( const PatchFailed &failed ) {
         return complaints.addFatal( place, failed.what() );
      } catch ( const Json::exception &error ) {
         return complaints.addFatal( place, plainMessage( error ) );
      }
   }
   document = std::move( changed );
}

} // namespace QuarraAcl
