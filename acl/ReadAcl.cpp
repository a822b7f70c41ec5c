#include "acl/ReadAcl.h"

#include <algorithm>
#include <deque>
#include <utility>

#include <fmt/format.h>

#include "acl/Assemble.h"
#include "acl/ConfigDb.h"

namespace QuarraAcl {
namespace {

constexpr AclFormatRow formats[] = {
   { AclFormat::configDb, "config-db", "config_db.json, nested or flattened, or the dump of its database" },
};

void draftText( const AclText &source, std::optional<AclFormat>, Complaints &complaints, Draft &draft ) {
   const Place whole = { &source.file, "" };
   std::vector<Complaint> repeated;
   Json json;
   try {
      json = parseJson( source.text, repeated );
   } catch ( const Complaint &complaint ) {
      for ( const Complaint &one : repeated ) {
         complaints.add( whole + one.place(), one.message() );
      }
      complaints.addFatal( whole, complaint );
      return;
   }
   if ( !json.is_object() ) {
      complaints.addFatal( whole, "expected a JSON object, got " + typeName( json ) );
      return;
   }
   draftConfigDb( ConfigRows( json, source.file, repeated, complaints ), complaints, draft );
}

} // namespace

std::span<const AclFormatRow> aclFormats() {
   return formats;
}

AclFormat aclFormatOf( std::string_view name ) {
   const auto *row = std::ranges::find( formats, name, &AclFormatRow::name );
   if ( row == std::end( formats ) ) {
      std::vector<std::string_view> names;
      std::ranges::transform( formats, std::back_inserter( names ), &AclFormatRow::name );
      throw InputError(
         fmt::format( "unknown format \"{}\", there are: {}", name, fmt::join( names, ", " ) ) );
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
   Complaints complaints;
   Draft draft;
   std::string files;
   for ( const AclText &source : texts ) {
      draftText( source, format, complaints, draft );
      files += ( files.empty() ? "" : ", " ) + source.file;
   }
   AclConfig config = assemble( draft, files, complaints );
   AclReading reading = { {}, complaints.take() };
   if ( reading.usable() ) {
      reading.config = std::move( config );
   }
   return reading;
}

AclReading readAcl( const std::vector<std::string> &sources, std::optional<AclFormat> format ) {
   std::vector<AclText> texts;
   for ( const std::string &source : sources ) {
      texts.push_back( { source == "-" ? "standard input" : source, readText( source ) } );
   }
   return parseAcl( texts, format );
}

std::string fieldsText( const std::vector<AclField> &fields ) {
   std::string text;
   for ( const AclField &field : fields ) {
      text += fmt::format( "{}{}={}", text.empty() ? "" : " ", field.name, field.value );
   }
   return oneLine( text );
}

AclConfig readConfigDb( const std::string &file ) {
   return readAcl( { file } ).orRefuse();
}

AclConfig parseConfigDb( const std::string &text, const std::string &file ) {
   return parseAcl( { { file, text } } ).orRefuse();
}

} // namespace QuarraAcl
