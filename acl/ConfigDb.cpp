#include "acl/ConfigDb.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include <fmt/format.h>

#include "acl/ConfigDbPorts.h"
#include "acl/ConfigDbTables.h"

namespace QuarraAcl {
namespace {

using Names = std::vector<std::string>;
using SharedNames = std::shared_ptr<const Names>;

constexpr int maxPriority = std::numeric_limits<std::int32_t>::max();
constexpr const char *boundToNoPort = "bound to no port";
constexpr const char *withoutPorts = "control-plane table without ports";

struct Stage {
   std::string_view name;
   std::string_view leftOut; // why tables of this stage get no entries
};

// The first one is the stage of a table that names none.
constexpr Stage stages[] = {
   { "ingress", "" },
   { "egress", "egress table" },
};

// What a table or rule covers once some of its ports are gone: the ports by name, or their number where they
// are many.
std::string coverText( const std::vector<std::string> &ports ) {
   constexpr std::size_t namedAtMost = 4;
   if ( ports.empty() ) {
      return "covers no port";
   }
   return ports.size() > namedAtMost ? fmt::format( "covers {} ports only", ports.size() )
                                     : fmt::format( "covers {} only", joinNames( ports ) );
}

std::string emptyChannelsText( const std::vector<std::string> &channels ) {
   return fmt::format( "{} {} no members", joinNames( channels ), channels.size() == 1 ? "has" : "have" );
}

const Stage &stageOf( const ConfigEntry &entry ) {
   constexpr const char *expected = "ingress or egress";
   const std::optional<ConfigString> field = findString( entry, "stage", expected );
   if ( !field ) {
      return stages[ 0 ];
   }
   const auto *stage = std::ranges::find( stages, lowerCase( field->text ), &Stage::name );
   if ( stage == std::end( stages ) ) {
      throw Complaint( field->place, fmt::format( "expected {}, got \"{}\"", expected, field->text ) );
   }
   return *stage;
}

std::string typeOf( const ConfigEntry &entry ) {
   constexpr const char *expected = "a table type such as L3";
   const std::optional<ConfigString> field = findString( entry, "type", expected );
   if ( !field ) {
      throw Complaint( entry.place, fmt::format( "expected a field \"type\" with {}", expected ) );
   }
   if ( field->text.empty() ) {
      throw Complaint( field->place, fmt::format( "expected {}, got an empty string", expected ) );
   }
   return upperCase( field->text );
}

std::optional<int> parseNumber( const std::string &text ) {
   int number = 0;
   const char *end = text.data() + text.size();
   const auto [ stop, error ] = std::from_chars( text.data(), end, number );
   return error == std::errc() && stop == end && number >= 0 ? std::optional( number ) : std::nullopt;
}

// A number in JSON and a string of digits are taken alike: writers of this file use both.
int priorityOf( const ConfigEntry &entry ) {
   const std::optional<ConfigField> field = findField( entry, "priority" );
   if ( !field ) {
      return 0;
   }
   const Json &value = *field->value;
   const std::string text = value.is_string() ? value.get<std::string>() : valueText( value );
   const std::optional<int> priority = parseNumber( text );
   if ( !priority ) {
      throw Complaint( field->place, fmt::format( "expected a whole number from 0 to {}, got {}", maxPriority,
                                                  valueText( value ) ) );
   }
   return *priority;
}

class AclReader {
 public:
   explicit AclReader( const std::string &text ) : tables_( text ), ports_( tables_, config_.warnings ) {}

   AclConfig read();

 private:
   void readTable( const ConfigEntry &entry );
   void warnCoverage( const std::string &place, const AclTable &table, const PortSelection &selection );
   void readRule( const ConfigEntry &entry );
   SharedNames narrow( const NameList &list, const AclTable &table );
   void warn( const std::string &place, const std::string &sentence );
   void warnRepeated( const std::string &place, const PortSelection &selection );

   AclConfig config_;
   ConfigTables tables_;
   SwitchPorts ports_;
   std::map<std::string, std::size_t> tableIndex_; // by name, in config_.tables
   std::map<std::string, SharedNames> tablePorts_; // by name: the ports of rules that name none
};

AclConfig AclReader::read() {
   if ( !tables_.has( "ACL_TABLE" ) ) {
      throw Complaint( "", "expected a table ACL_TABLE" );
   }
   config_.ports.assign( ports_.physical().begin(), ports_.physical().end() );
   for ( const auto &[ name, entry ] : tables_.entries( "ACL_TABLE" ) ) {
      readTable( entry );
   }
   for ( const auto &[ key, entry ] : tables_.entries( "ACL_RULE" ) ) {
      readRule( entry );
   }
   for ( AclTable &table : config_.tables ) { // stable: rules of one priority stay in order of name
      std::ranges::stable_sort( table.rules, std::ranges::greater(), &AclRule::priority );
   }
   return std::move( config_ );
}

void AclReader::readTable( const ConfigEntry &entry ) {
   const NameList list = findNames( entry, "ports" ).value_or( NameList{ entry.place, {} } );
   const PortSelection selection = ports_.select( list );
   AclTable table{
      entry.name.front(), typeOf( entry ), selection.ports, {}, std::string( stageOf( entry ).leftOut )
   };
   if ( table.leftOut.empty() && table.ports.empty() ) {
      table.leftOut = list.names.empty() && table.type == "CTRLPLANE" ? withoutPorts : boundToNoPort;
   }
   warnRepeated( list.place, selection );
   warnCoverage( entry.place, table, selection );
   tableIndex_[ table.name ] = config_.tables.size();
   tablePorts_[ table.name ] = std::make_shared<Names>( table.leftOut.empty() ? table.ports : Names() );
   config_.tables.push_back( std::move( table ) );
}

void AclReader::warnCoverage( const std::string &place, const AclTable &table,
                              const PortSelection &selection ) {
   const std::string cover = table.ports.empty() ? "is bound to no port" : coverText( table.ports );
   if ( !selection.emptyChannels.empty() ) {
      warn( place,
            fmt::format( "{}, so the table {}", emptyChannelsText( selection.emptyChannels ), cover ) );
   } else if ( table.leftOut == boundToNoPort ) {
      warn( place, "the table " + cover );
   }
}

void AclReader::readRule( const ConfigEntry &entry ) {
   const std::string &tableName = entry.name.front();
   const auto found = tableIndex_.find( tableName );
   if ( found == tableIndex_.end() ) {
      throw Complaint( entry.place, fmt::format( "table \"{}\" is not in ACL_TABLE", tableName ) );
   }
   AclTable &table = config_.tables[ found->second ];
   const std::optional<NameList> inPorts = findNames( entry, "in_ports" );
   const int priority = priorityOf( entry );
   table.rules.push_back( { entry.name.back(), tableName, priority,
                            inPorts ? narrow( *inPorts, table ) : tablePorts_.at( tableName ) } );
}

// The ports of the table that the list names. In a table that is left out, the list is only checked.
SharedNames AclReader::narrow( const NameList &list, const AclTable &table ) {
   if ( list.names.empty() ) {
      throw Complaint( list.place, "expected at least one port" );
   }
   const PortSelection selection = ports_.select( list );
   if ( !table.leftOut.empty() ) {
      return tablePorts_.at( table.name );
   }
   std::vector<std::string> kept;
   std::vector<std::string> dropped;
   for ( const std::string &port : selection.ports ) {
      const bool bound = std::ranges::binary_search( table.ports, port, NaturalLess() );
      ( bound ? kept : dropped ).push_back( port );
   }
   warnRepeated( list.place, selection );
   const std::string outcome = ", so the rule " + coverText( kept );
   if ( !dropped.empty() ) {
      warn( list.place, "the table is not bound to " + joinNames( dropped ) + outcome );
   }
   if ( !selection.emptyChannels.empty() ) {
      warn( list.place, emptyChannelsText( selection.emptyChannels ) + outcome );
   }
   return std::make_shared<Names>( std::move( kept ) );
}

void AclReader::warn( const std::string &place, const std::string &sentence ) {
   config_.warnings.push_back( place + ": " + sentence );
}

void AclReader::warnRepeated( const std::string &place, const PortSelection &selection ) {
   if ( !selection.repeated.empty() ) {
      const char *counts = selection.repeated.size() == 1 ? "is named more than once and counts once"
                                                          : "are named more than once and count once";
      warn( place, fmt::format( "{} {}", joinNames( selection.repeated ), counts ) );
   }
}

} // namespace

AclConfig readConfigDb( const std::string &file ) {
   return parseConfigDb( readText( file ), file );
}

AclConfig parseConfigDb( const std::string &text, const std::string &file ) {
   try {
      AclConfig config = AclReader( text ).read();
      config.file = file;
      std::ranges::transform( config.warnings, config.warnings.begin(), oneLine );
      return config;
   } catch ( const Complaint &complaint ) {
      throw InputError( file + complaint.what() );
   }
}

} // namespace QuarraAcl
