#include "tools/Batch.h"

#include <fmt/format.h>

#include "agent/StoreRefused.h"
#include "agent/SystemAclFeatures.h"
#include "lab/Plan.h"
#include "lab/SwitchDir.h"
#include "tools/OpenSwitch.h"

namespace QuarraTool {

using namespace QuarraTcam;
using QuarraAgent::InstallRequest;
using QuarraAgent::RequestRefused;

struct Batch::Operation {
   std::string_view name;
   JsonOut ( Batch::*function )( JsonFields &fields );
};

const Batch::Operation Batch::operations[] = {
   { "chip", &Batch::chip },       { "createGroup", &Batch::createGroup },
   { "install", &Batch::install }, { "remove", &Batch::remove },
   { "dump", &Batch::dump },       { "deleteGroup", &Batch::deleteGroup },
   { "check", &Batch::check },     { "why", &Batch::why },
   { "who", &Batch::who },         { "usage", &Batch::usage },
   { "diff", &Batch::diff },       { "plan", &Batch::plan },
   { "expect", &Batch::expect },
};

namespace {

constexpr U32 maxGroup = 0xffff;
constexpr U32 maxEntry = 0xffffffff;

TcamGroupId groupOf( JsonFields &fields ) {
   return TcamGroupId( static_cast<U16>( fields.number( "group", 0, maxGroup ) ) );
}

FeatureGroupType featureNamed( const std::string &name, const std::string &place ) {
   try {
      return FeatureGroupTypeInstance( name );
   } catch ( const Nodra::RangeError & ) {
      std::string names;
      for ( const auto known : Nodra::enumerators<FeatureGroupType>() ) {
         names += ( names.empty() ? "" : ", " ) + std::string( stringValue( known ) );
      }
      throw RequestRefused( "unknownFeature",
                            fmt::format( "{}.feature \"{}\": expected one of {}", place, name, names ) );
   }
}

// A rule without a feature belongs to the feature of its group.
std::optional<RuleId> ruleOf( JsonFields &fields, TcamGroupId group ) {
   if ( !fields.has( "rule" ) ) {
      return std::nullopt;
   }
   JsonFields rule = fields.object( "rule" );
   const auto feature = rule.optionalText( "feature" );
   const auto name = rule.text( "name" );
   rule.finish();
   return RuleId( feature ? featureNamed( *feature, rule.place() ) : QuarraAgent::featureOf( group ), name );
}

// What a program tells its requests apart by.
JsonOut idOf( JsonFields &fields ) {
   const auto &id = fields.value( "id" );
   if ( id.is_string() ) {
      return fields.text( "id" );
   }
   if ( !id.is_number_integer() ) {
      throw RequestRefused( "badField", fmt::format( "{}.id: expected a string or a whole number, got {}",
                                                     fields.place(), typeName( id ) ) );
   }
   return JsonOut( id );
}

} // namespace

Switch &Batch::theSwitch() {
   if ( !switch_ ) {
      make();
   }
   return *switch_;
}

Batch::Batch( std::unique_ptr<Switch> lasting )
   : choice_( lasting->dir()->choice() ), switch_( std::move( lasting ) ) {}

void Batch::make() {
   switch_ = make_ ? make_( choice_ ) : std::make_unique<Switch>( choice_ );
}

JsonOut Batch::chip( JsonFields &fields ) {
   const auto choice = readChip( fields, choice_ );
   fields.finish();
   if ( lineNumber_ != 1 || ( switch_ && !switch_->dir() ) ) {
      throw RequestRefused( "chipIsSet", "chip: only the first line may choose the chip" );
   }
   if ( switch_ ) {
      checkSameSwitch( *switch_, choice, "the line" );
   } else {
      const auto before = std::exchange( choice_, choice );
      try {
         make();
      } catch ( const RequestRefused & ) {
         choice_ = before;
         throw;
      }
   }
   return { { "variant", choice.variant->name },
            { "profile", choice.chip.profile },
            { "portCount", choice.chip.ports.size() } };
}

JsonOut Batch::createGroup( JsonFields &fields ) {
   const auto group = groupOf( fields );
   fields.finish();
   const auto hint = theSwitch().agent().createGroup( group );
   JsonOut answer = { { "hint", nullptr } };
   if ( hint ) {
      answer[ "hint" ] = { { "startBit", hint->startBit }, { "endBit", hint->endBit } };
   }
   return answer;
}

JsonOut Batch::deleteGroup( JsonFields &fields ) {
   const auto group = groupOf( fields );
   fields.finish();
   theSwitch().agent().deleteGroup( group );
   return JsonOut::object();
}

JsonOut Batch::install( JsonFields &fields ) {
   InstallRequest request;
   request.group = groupOf( fields );
   request.entry = fields.number( "entry", 0, maxEntry );
   request.ethernet = fields.flag( "ethernet" );
   if ( !request.ethernet || fields.has( "ports" ) ) {
      request.ports = fields.ports(
         "ports", [ this ]( const std::string &name ) { return PortsJson( theSwitch() ).find( name ); } );
   }
   request.rule = ruleOf( fields, request.group );
   request.label = fields.optionalText( "label" ).value_or( "" );
   fields.finish();
   const auto installed = theSwitch().agent().install( request );
   return { { "key", keyJson( installed.key ) },
            { "classId", installed.classId },
            { "poolId", installed.poolId },
            { "baseOffset", installed.baseOffset },
            { "poolWidth", installed.poolWidth },
            { "data", installed.qualifier->data()->hex() },
            { "mask", installed.qualifier->mask()->hex() } };
}

JsonOut Batch::remove( JsonFields &fields ) {
   const auto group = groupOf( fields );
   const U32 entry = fields.number( "entry", 0, maxEntry );
   fields.finish();
   theSwitch().agent().remove( group, entry );
   return JsonOut::object();
}

JsonOut Batch::dump( JsonFields &fields ) {
   fields.finish();
   return { { "spaces", dumpSpaces( theSwitch() ) },
            { "groups", dumpGroups( theSwitch() ) },
            { "chip", dumpChip( theSwitch() ) } };
}

JsonOut Batch::check( JsonFields &fields ) {
   fields.finish();
   const PortsJson ports( theSwitch() );
   auto mismatches = JsonOut::array();
   for ( const auto &mismatch : checkMatches( theSwitch() ) ) {
      mismatches.push_back( mismatchJson( theSwitch(), ports, mismatch ) );
   }
   return { { "mismatches", std::move( mismatches ) } };
}

// Changes nothing: an error tells what is otherwise.
JsonOut Batch::expect( JsonFields &fields ) {
   const auto refuse = [ & ]( const std::string &what ) {
      throw RequestRefused( "notAsExpected", fields.place() + ": " + what );
   };
   if ( fields.has( "state" ) ) {
      const auto state = fields.text( "state" );
      fields.finish();
      if ( const auto found = stateDigest( theSwitch() ); found != state ) {
         refuse( fmt::format( "the switch is not what it should be: its state is {}, expected {}", found,
                              state ) );
      }
      return JsonOut::object();
   }
   if ( !fields.has( "entry" ) ) {
      throw RequestRefused( "missingField",
                            fields.place() +
                               R"(: expected "state", or "entry", "offset", "width" and "classId")" );
   }
   const U32 entry = fields.number( "entry", 1, maxEntry );
   const U32 offset = fields.number( "offset", 0, 255 );
   const U32 width = fields.number( "width", 1, 255 );
   const U32 classId = fields.number( "classId", 1, 0xffff );
   fields.finish();
   const auto &entries = theSwitch().agent().entries();
   const auto item = entries.find( entry );
   if ( item == entries.end() ) {
      refuse( fmt::format( "entry {} is not installed", entry ) );
   }
   const auto &status = theSwitch().agent().manager().classIdTcamGroupStatus( item->second.request.group );
   const auto &request = status->requestStatus( item->second.key );
   const auto &pool = status->poolStatus( request->poolId() );
   if ( pool->baseOffset() != offset || pool->size() != width || request->classId() != classId ) {
      refuse( fmt::format(
         "entry {} has class ID {} of the pool at bit {}, {} wide; expected {} at bit {}, {} wide", entry,
         request->classId(), pool->baseOffset(), pool->size(), classId, offset, width ) );
   }
   return JsonOut::object();
}

JsonOut Batch::carryOut( const std::string &line, JsonOut &id ) {
   Json json;
   try {
      json = parseJson( line );
   } catch ( const Complaint &complaint ) {
      throw RequestRefused( "badJson", fmt::format( "line {}{}", lineNumber_, complaint.what() ) );
   }
   if ( !json.is_object() ) {
      throw RequestRefused(
         "badJson", fmt::format( "line {}: expected an object, got {}", lineNumber_, typeName( json ) ) );
   }
   JsonFields fields( json, fmt::format( "line {}", lineNumber_ ) );
   if ( fields.has( "id" ) ) {
      id = idOf( fields );
   }
   const auto name = fields.text( "op" );
   for ( const auto &operation : operations ) {
      if ( operation.name == name ) {
         return ( this->*operation.function )( fields );
      }
   }
   throw RequestRefused( "unknownOperation", fmt::format( "line {}: operation \"{}\": expected one of {}",
                                                          lineNumber_, name, operationNames() ) );
}

std::string Batch::operationNames() {
   std::string names;
   for ( const auto &operation : operations ) {
      names.append( names.empty() ? "" : ", " ).append( operation.name );
   }
   return names;
}

JsonOut Batch::answer( const std::string &line ) {
   ++lineNumber_;
   JsonOut id; // null: none
   JsonOut said;
   bool good = true;
   try {
      said = carryOut( line, id );
   } catch ( const RequestRefused &refused ) {
      const bool ofStore = dynamic_cast<const QuarraAgent::StoreRefused *>( &refused );
      if ( ofStore && !switch_ ) {
         throw;
      }
      storeFailed_ |= ofStore;
      good = false;
      said = { { "error",
                 { { "code", refused.code() }, { "message", refused.what() }, { "line", lineNumber_ } } } };
   }
   auto answer = document( good );
   if ( !id.is_null() ) {
      answer[ "id" ] = std::move( id );
   }
   for ( auto &item : said.items() ) {
      answer[ item.key() ] = std::move( item.value() );
   }
   return answer;
}

} // namespace QuarraTool
