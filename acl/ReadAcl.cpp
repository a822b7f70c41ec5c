#include "acl/ReadAcl.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <utility>

#include <fmt/format.h>

#include "acl/Assemble.h"
#include "acl/ConfigDb.h"
#include "acl/ConfigDocument.h"
#include "acl/JsonPatch.h"
#include "acl/OpenConfig.h"
#include "acl/Redis.h"
#include "acl/Rfc8519.h"
#include "acl/RowOperations.h"

namespace QuarraAcl {
namespace {

// A source as JSON, before anybody asks what its names stand for.
struct Document {
   const std::string *file;
   AclFormat format;
   Json json;
   std::vector<Complaint> repeated = {};
};

using Documents = std::list<Document>;

class AclReader {
 public:
   explicit AclReader( std::optional<AclFormat> format ) : format_( format ) {}

   // `file` outlives the reader. `mayBeChanged`: a forced format of a change need not be this one's.
   void addText( const std::string &file, const std::string &text, bool mayBeChanged = true );
   void addJson( const std::string &file, Json json, std::vector<Complaint> repeated,
                 std::optional<AclFormat> format );
   AclReading read( const std::string &files );

 private:
   std::optional<AclFormat> formatOf( const Json &json, bool mayBeChanged ) const;
   void change( const Document &change );
   void draft( const Document &document );

   std::optional<AclFormat> format_;
   Documents documents_;
   Complaints complaints_;
   Draft draft_;
};

bool isConfigDb( const Json &root ) {
   return root.is_object() && std::ranges::any_of( root.items(), []( const auto &item ) {
             return rowKey( item.key() ) || isTableName( item.key() );
          } );
}

constexpr AclFormatRow formats[] = {
   { AclFormat::configDb, "config-db", "config_db.json, nested or flattened, or the dump of its database",
     false },
   { AclFormat::openConfig, "openconfig", "ACLs of the OpenConfig model (openconfig-acl:acl)", false },
   { AclFormat::rfc8519, "rfc8519", "ACLs of RFC 8519 (ietf-access-control-list:acls)", false },
   { AclFormat::jsonPatch, "json-patch", "a change: the patch of RFC 6902 for a configuration", true },
   { AclFormat::rowOperations, "row-operations", "a change: a list of rows, each with OP SET or DEL", true },
};

// In the order in which they are tried.
constexpr std::pair<AclFormat, bool ( * )( const Json &root )> recognisers[] = {
   { AclFormat::openConfig, isOpenConfig },       { AclFormat::rfc8519, isRfc8519 },
   { AclFormat::configDb, isConfigDb },           { AclFormat::jsonPatch, isJsonPatch },
   { AclFormat::rowOperations, isRowOperations },
};

const AclFormatRow &rowOf( AclFormat format ) {
   return *std::ranges::find( formats, format, &AclFormatRow::format );
}

// A forced format does not make another file one of it: read so, it would have no rules. What a
// config_db.json lacks, its reader tells; an empty list changes nothing.
bool isOf( AclFormat format, const Json &json ) {
   const auto *row =
      std::ranges::find( recognisers, format, &std::pair<AclFormat, bool ( * )( const Json & )>::first );
   const bool emptyList = json.is_array() && json.empty();
   return format == AclFormat::configDb || emptyList || row->second( json );
}

std::string formatNames() {
   std::vector<std::string_view> names;
   std::ranges::transform( formats, std::back_inserter( names ), &AclFormatRow::name );
   return fmt::format( "{}", fmt::join( names, ", " ) );
}

std::optional<AclFormat> AclReader::formatOf( const Json &json, bool mayBeChanged ) const {
   const auto *found =
      std::ranges::find_if( recognisers, [ & ]( const auto &one ) { return one.second( json ); } );
   const bool isForced = format_ && !( mayBeChanged && rowOf( *format_ ).isChange &&
                                       !json.is_array() ); // every change is a list
   return isForced                           ? format_
          : found == std::end( recognisers ) ? std::nullopt
                                             : std::optional( found->first );
}

void AclReader::addText( const std::string &file, const std::string &text, bool mayBeChanged ) {
   std::vector<Complaint> repeated;
   try {
      Json json = parseJson( text, repeated );
      const auto format = formatOf( json, mayBeChanged );
      addJson( file, std::move( json ), std::move( repeated ), format );
   } catch ( const Complaint &complaint ) {
      for ( const Complaint &one : repeated ) {
         complaints_.add( Place{ &file, one.place() }, one.message() );
      }
      complaints_.addFatal( { &file, "" }, complaint );
   }
}

void AclReader::addJson( const std::string &file, Json json, std::vector<Complaint> repeated,
                         std::optional<AclFormat> format ) {
   const Place whole = { &file, "" };
   if ( !format ) {
      for ( const Complaint &one : repeated ) {
         complaints_.add( Place{ &file, one.place() }, one.message() );
      }
      complaints_.addFatal(
         whole,
         fmt::format( "expected an ACL configuration, got {} of no format that is read; the formats are {}",
                      typeName( json ), formatNames() ) );
      return;
   }
   const bool wantsList = rowOf( *format ).isChange;
   if ( wantsList ? !json.is_array() : !json.is_object() ) {
      complaints_.addFatal( whole, fmt::format( "expected {}, got {}", wantsList ? "a list" : "a JSON object",
                                                typeName( json ) ) );
      return;
   }
   if ( !isOf( *format, json ) ) {
      complaints_.addFatal( whole, fmt::format( "expected what the format {} has, got {} without it",
                                                rowOf( *format ).name, typeName( json ) ) );
      return;
   }
   if ( *format != AclFormat::configDb ) {
      // Only a row of config_db.json can be left out alone.
      for ( const Complaint &one : repeated ) {
         complaints_.addFatal( { &file, one.place() }, one.message() );
      }
      if ( isTooDeep( json ) ) {
         complaints_.addFatal( whole, "nested deeper than any configuration" );
         return;
      }
   }
   Document document = { &file, *format, std::move( json ), std::move( repeated ) };
   if ( wantsList ) {
      change( document );
   } else {
      documents_.push_back( std::move( document ) );
   }
}

// A patch changes the configuration before it. Rows are set and taken in the config_db.json before it, or
// make one.
void AclReader::change( const Document &change ) {
   const bool isPatch = change.format == AclFormat::jsonPatch;
   const auto base =
      std::ranges::find_if( documents_.rbegin(), documents_.rend(), [ & ]( const Document &document ) {
         return isPatch || document.format == AclFormat::configDb;
      } );
   Document *changed = base == documents_.rend() ? nullptr : &*base;
   if ( !changed && ( isPatch || !documents_.empty() ) ) {
      return complaints_.addFatal( { change.file, "" }, isPatch ? "a patch needs a configuration before it"
                                                                : "rows need a config_db.json before them" );
   }
   if ( !changed ) {
      changed = &documents_.emplace_back( Document{ change.file, AclFormat::configDb, Json::object() } );
   }
   if ( isTooDeep( changed->json ) ) {
      return complaints_.addFatal( { changed->file, "" }, "nested deeper than any configuration" );
   }
   if ( changed->format == AclFormat::configDb ) {
      changed->json = nestedConfigDb( changed->json );
   }
   if ( isPatch ) {
      applyJsonPatch( change.json, *change.file, changed->json, complaints_ );
      if ( !changed->json.is_object() ) {
         complaints_.addFatal( { change.file, "" },
                               "leaves " + typeName( changed->json ) + " of the configuration" );
      }
   } else {
      applyRowOperations( change.json, *change.file, changed->json, complaints_, draft_.warnings );
   }
}

void AclReader::draft( const Document &document ) {
   const auto &[ file, format, json, repeated ] = document;
   switch ( format ) {
   case AclFormat::configDb:
      draftConfigDb( ConfigRows( json, *file, repeated, complaints_, draft_.warnings ), complaints_, draft_ );
      break;
   case AclFormat::openConfig:
      draftOpenConfig( json, *file, complaints_, draft_ );
      break;
   case AclFormat::rfc8519:
      draftRfc8519( json, *file, complaints_, draft_ );
      break;
   case AclFormat::jsonPatch:
   case AclFormat::rowOperations:
      break; // applied to another document
   }
}

AclReading AclReader::read( const std::string &files ) {
   for ( const Document &document : documents_ ) {
      draft( document );
   }
   AclConfig config = assemble( draft_, files, complaints_ );
   AclReading reading = { {}, complaints_.take() };
   if ( reading.usable() ) {
      reading.config = std::move( config );
   }
   return reading;
}

std::string joined( const std::vector<std::string> &files ) {
   return fmt::format( "{}", fmt::join( files, ", " ) );
}

} // namespace

std::span<const AclFormatRow> aclFormats() {
   return formats;
}

AclFormat aclFormatOf( std::string_view name ) {
   const auto *row = std::ranges::find( formats, name, &AclFormatRow::name );
   if ( row == std::end( formats ) ) {
      throw InputError( fmt::format( "unknown format \"{}\"; the formats are {}", name, formatNames() ) );
   }
   return row->format;
}

bool AclReading::usable() const {
   return std::ranges::none_of( complaints, &AclComplaint::fatal );
}

AclConfig AclReading::orRefuse() && {
   if ( !complaints.empty() ) {
      throw AclRefused( std::move( complaints ) );
   }
   return std::move( config );
}

AclReading parseAcl( const std::vector<AclText> &texts, std::optional<AclFormat> format ) {
   AclReader reader( format );
   std::vector<std::string> files;
   for ( const AclText &source : texts ) {
      files.push_back( source.file );
      reader.addText( source.file, source.text );
   }
   return reader.read( joined( files ) );
}

namespace {

std::string nameOf( const std::string &source ) {
   return source == "-" ? "standard input" : source;
}

// What a source holds. Standard input is read once, and a database holds something else the next time.
struct Content {
   std::string file; // its name in messages
   std::string text;
   std::optional<Json> rows; // of a database

   bool isChange() const { // every change is a list
      const auto start = text.find_first_not_of( " \t\r\n" );
      return start != std::string::npos && text[ start ] == '[';
   }
};

std::vector<Content> contentsOf( const std::vector<std::string> &sources ) {
   std::vector<Content> contents;
   for ( const std::string &source : sources ) {
      contents.push_back( { nameOf( source ), "", {} } );
      if ( isRedis( source ) ) {
         contents.back().rows = readRedis( source );
      } else {
         contents.back().text = readText( source );
      }
   }
   return contents;
}

// `lastIsChanged`: the last of them is what others change, so that a forced format of a change is not its
// own.
AclReading readContents( const std::vector<Content> &contents, std::optional<AclFormat> format,
                         bool lastIsChanged ) {
   AclReader reader( format );
   std::vector<std::string> files;
   std::ranges::transform( contents, std::back_inserter( files ), &Content::file );
   for ( std::size_t i = 0; i < contents.size(); ++i ) {
      const auto &[ file, text, rows ] = contents[ i ];
      if ( rows ) {
         reader.addJson( file, *rows, {}, AclFormat::configDb );
      } else {
         reader.addText( file, text, lastIsChanged || i + 1 < contents.size() );
      }
   }
   return reader.read( joined( files ) );
}

} // namespace

AclReading readAcl( const std::vector<std::string> &sources, std::optional<AclFormat> format ) {
   return readContents( contentsOf( sources ), format, true );
}

AclChange readAclChange( const std::vector<std::string> &before, const std::vector<std::string> &sources,
                         std::optional<AclFormat> format ) {
   const auto base = contentsOf( before );
   auto changed = contentsOf( sources );
   AclChange change;
   if ( !base.empty() ) {
      change.before = readContents( base, format, true );
   }
   if ( changed.front().isChange() ) {
      changed.insert( changed.begin(), base.begin(), base.end() );
   }
   change.after = readContents( changed, format, false );
   return change;
}

AclConfig readConfigDb( const std::string &file ) {
   return readAcl( { file } ).orRefuse();
}

AclConfig parseConfigDb( const std::string &text, const std::string &file ) {
   return parseAcl( { { file, text } } ).orRefuse();
}

} // namespace QuarraAcl
