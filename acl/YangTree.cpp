#include "acl/YangTree.h"

#include <algorithm>

#include <fmt/format.h>

namespace QuarraAcl {
namespace {

std::string leafText( const Json &value ) {
   return value.is_string() ? value.get<std::string>()
                            : value.dump( -1, ' ', false, Json::error_handler_t::replace );
}

void addFields( const Json &value, const std::string &path, std::vector<AclField> &fields ) {
   if ( !value.is_object() ) {
      fields.push_back( { path, leafText( value ) } );
      return;
   }
   for ( const auto &[ name, member ] : value.items() ) {
      const std::string_view local = withoutModule( name );
      if ( local == "state" || local == "statistics" ) {
         continue;
      }
      const std::string step =
         local == "config" ? "" : std::string( path.empty() ? "" : "." ).append( local );
      addFields( member, path + step, fields );
   }
}

} // namespace

std::string_view withoutModule( std::string_view name ) {
   const std::size_t colon = name.find( ':' );
   return colon == std::string_view::npos ? name : name.substr( colon + 1 );
}

const Json *YangNode::find( std::string_view name, std::string &nameThere ) const {
   if ( !value_ || !value_->is_object() ) {
      return nullptr;
   }
   const auto plain = value_->find( name );
   const std::string full = fmt::format( "{}:{}", context_->module, name );
   const auto prefixed = value_->find( full );
   if ( plain != value_->end() && prefixed != value_->end() ) {
      complain( fmt::format( "expected one of \"{}\" and \"{}\", got both", name, full ) );
   }
   nameThere = plain != value_->end() ? std::string( name ) : full;
   return plain != value_->end() ? &*plain : prefixed != value_->end() ? &*prefixed : nullptr;
}

YangNode YangNode::member( std::string_view name ) const {
   std::string nameThere;
   const Json *value = find( name, nameThere );
   const std::string step = ( place_.path.empty() ? "" : "." ) + nameThere;
   return { *context_, value, value ? place_ + step : place_, entry_, subject_ };
}

YangNode YangNode::container( std::string_view name ) const {
   YangNode node = member( name );
   if ( node.there() && !node.json().is_object() ) {
      node.complain( "expected an object, got " + typeName( node.json() ) );
      return { *context_, nullptr, node.place_, entry_, subject_ };
   }
   return node;
}

std::vector<YangEntry> YangNode::list( std::string_view name, std::string_view keyLeaf ) const {
   const YangNode list = member( name );
   std::vector<YangEntry> entries;
   const auto add = [ & ]( const Json &value, const std::string &key, std::size_t number ) {
      std::string shown = key.empty() ? fmt::format( "#{}", number ) : key;
      const auto leaf = value.is_object() ? value.find( keyLeaf ) : value.end();
      if ( value.is_object() && leaf != value.end() && !leaf->is_structured() ) {
         shown = leafText( *leaf );
      }
      const std::string path = fmt::format( "{}{}{}[{}]", entry_, entry_.empty() ? "" : ".", name, shown );
      const YangNode node( *context_, &value, { place_.file, path }, path, subject_ );
      if ( value.is_object() ) {
         entries.push_back( { node, key, shown } );
      } else {
         node.complain( "expected an object, got " + typeName( value ) );
      }
   };
   if ( !list.there() ) {
      return entries;
   }
   const bool mayBe = list.json().is_array() || ( list.json().is_object() && context_->listsMayBeObjects );
   if ( !mayBe ) {
      list.complain( "expected a list, got " + typeName( list.json() ) );
      return entries;
   }
   std::size_t number = 0;
   for ( const auto &[ key, value ] : list.json().items() ) {
      add( value, list.json().is_object() ? key : "", ++number );
   }
   return entries;
}

std::optional<std::string> YangNode::text( std::string_view leaf ) const {
   const YangNode node = member( leaf );
   if ( !node.there() ) {
      return std::nullopt;
   }
   if ( !node.json().is_string() || node.json().get_ref<const std::string &>().empty() ) {
      node.complain( "expected a text, got " +
                     ( node.json().is_string() ? std::string( "an empty one" ) : typeName( node.json() ) ) );
      return std::nullopt;
   }
   return node.json().get<std::string>();
}

std::optional<std::int64_t> YangNode::number( std::string_view leaf, std::int64_t min,
                                              std::int64_t max ) const {
   const YangNode node = member( leaf );
   if ( !node.there() ) {
      return std::nullopt;
   }
   const Json &value = node.json();
   // Beyond the signed range there is only what is too large anyway.
   const bool whole =
      value.is_number_integer() && ( !value.is_number_unsigned() || value.get<std::uint64_t>() <= INT64_MAX );
   if ( !whole || value.get<std::int64_t>() < min || value.get<std::int64_t>() > max ) {
      node.complain(
         fmt::format( "expected a whole number from {} to {}, got {}", min, max, valueText( value ) ) );
      return std::nullopt;
   }
   return value.get<std::int64_t>();
}

void YangNode::warnOthers( std::span<const std::string_view> known ) const {
   if ( !value_ || !value_->is_object() ) {
      return;
   }
   for ( const auto &[ name, value ] : value_->items() ) {
      const bool ours =
         name.find( ':' ) == std::string::npos || name.starts_with( fmt::format( "{}:", context_->module ) );
      if ( !ours || std::ranges::find( known, withoutModule( name ) ) == known.end() ) {
         warn( fmt::format( "\"{}\" is not read", name ) );
      }
   }
}

std::vector<AclField> YangNode::fields( std::span<const std::string_view> without ) const {
   std::vector<AclField> fields;
   const auto add = [ & ]( const Json &object ) {
      for ( const auto &[ name, value ] : object.items() ) {
         const std::string_view local = withoutModule( name );
         if ( local != "config" && std::ranges::find( without, local ) == without.end() ) {
            addFields( value, std::string( local ), fields );
         }
      }
   };
   if ( value_ && value_->is_object() ) {
      if ( const YangNode config = member( "config" ); config.there() && config.json().is_object() ) {
         add( config.json() );
      }
      add( *value_ );
   }
   return fields;
}

void YangNode::complain( const std::string &message ) const {
   context_->complaints.add( place_, message, subject_ );
}

void YangNode::warn( const std::string &sentence ) const {
   context_->draft.warnings.emplace_back( place_, sentence );
}

} // namespace QuarraAcl
