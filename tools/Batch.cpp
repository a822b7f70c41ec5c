#include "tools/Batch.h"

#include <fmt/format.h>

#include "agent/SystemAclFeatures.h"

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
   { "diff", &Batch::diff },
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

JsonOut ok() {
   return { { "ok", true } };
}

} // namespace

Switch &Batch::theSwitch() {
   if ( !switch_ ) {
      switch_ = std::make_unique<Switch>( choice_ );
   }
   return *switch_;
}

JsonOut Batch::chip( JsonFields &fields ) {
   const auto choice = readChip( fields, choice_ );
   fields.finish();
   if ( lineNumber_ != 1 || switch_ ) {
      throw RequestRefused( "chipIsSet", "chip: only the first line may choose the chip" );
   }
   switch_ = std::make_unique<Switch>( choice );
   choice_ = choice;
   auto answer = ok();
   answer[ "variant" ] = choice.variant->name;
   answer[ "profile" ] = choice.chip.profile;
   answer[ "ports" ] = choice.chip.ports.size();
   return answer;
}

JsonOut Batch::createGroup( JsonFields &fields ) {
   const auto group = groupOf( fields );
   fields.finish();
   const auto hint = theSwitch().agent().createGroup( group );
   auto answer = ok();
   answer[ "hint" ] = nullptr;
   if ( hint ) {
      answer[ "hint" ] = { { "startBit", hint->startBit }, { "endBit", hint->endBit } };
   }
   return answer;
}

JsonOut Batch::deleteGroup( JsonFields &fields ) {
   const auto group = groupOf( fields );
   fields.finish();
   theSwitch().agent().deleteGroup( group );
   return ok();
}

JsonOut Batch::install( JsonFields &fields ) {
   InstallRequest request;
   request.group = groupOf( fields );
   request.entry = fields.number( "entry", 0, maxEntry );
   request.ethernet = fields.flag( "ethernet" );
   if ( !request.ethernet || fields.has( "ports" ) ) {
      request.ports = fields.ports( "ports" );
   }
   request.rule = ruleOf( fields, request.group );
   fields.finish();
   const auto installed = theSwitch().agent().install( request );
   auto answer = ok();
   answer[ "key" ] = keyJson( installed.key );
   answer[ "classId" ] = installed.classId;
   answer[ "poolId" ] = installed.poolId;
   answer[ "baseOffset" ] = installed.baseOffset;
   answer[ "poolWidth" ] = installed.poolWidth;
   answer[ "data" ] = installed.qualifier->data()->hex();
   answer[ "mask" ] = installed.qualifier->mask()->hex();
   return answer;
}

JsonOut Batch::remove( JsonFields &fields ) {
   const auto group = groupOf( fields );
   const U32 entry = fields.number( "entry", 0, maxEntry );
   fields.finish();
   theSwitch().agent().remove( group, entry );
   return ok();
}

JsonOut Batch::dump( JsonFields &fields ) {
   fields.finish();
   auto answer = ok();
   answer[ "spaces" ] = dumpSpaces( theSwitch() );
   answer[ "groups" ] = dumpGroups( theSwitch() );
   answer[ "chip" ] = dumpChip( theSwitch() );
   return answer;
}

JsonOut Batch::check( JsonFields &fields ) {
   fields.finish();
   auto mismatches = JsonOut::array();
   for ( const auto &mismatch : checkMatches( theSwitch() ) ) {
      mismatches.push_back( mismatchJson( theSwitch(), mismatch ) );
   }
   auto answer = ok();
   answer[ "mismatches" ] = std::move( mismatches );
   return answer;
}

JsonOut Batch::carryOut( const std::string &line ) {
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
   const auto name = fields.text( "op" );
   std::string names;
   for ( const auto &operation : operations ) {
      if ( operation.name == name ) {
         return ( this->*operation.function )( fields );
      }
      names += ( names.empty() ? "" : ", " ) + std::string( operation.name );
   }
   throw RequestRefused( "unknownOperation", fmt::format( "line {}: operation \"{}\": expected one of {}",
                                                          lineNumber_, name, names ) );
}

JsonOut Batch::answer( const std::string &line ) {
   ++lineNumber_;
   try {
      return carryOut( line );
   } catch ( const RequestRefused &refused ) {
      return { { "ok", false },
               { "error",
                 { { "code", refused.code() }, { "message", refused.what() }, { "line", lineNumber_ } } } };
   }
}

void Batch::run( std::istream &in, std::ostream &out ) {
   for ( std::string line; std::getline( in, line ); ) {
      out << answer( line ).dump( -1, ' ', false, JsonOut::error_handler_t::replace ) << std::endl;
   }
}

} // namespace QuarraTool
