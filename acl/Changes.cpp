#include "acl/Changes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>

#include "acl/NaturalOrder.h"

namespace QuarraAcl {
namespace {

// The elements of two lists by name: each is in the first, in the second, or in both.
template <typename Element>
using Pairs = std::map<std::string, std::pair<const Element *, const Element *>, NaturalLess>;

template <typename Element>
Pairs<Element> pairsOf( const std::vector<Element> *before, const std::vector<Element> *after ) {
   Pairs<Element> pairs;
   for ( std::size_t i = 0; before && i < before->size(); ++i ) {
      pairs[ ( *before )[ i ].name ].first = &( *before )[ i ];
   }
   for ( std::size_t i = 0; after && i < after->size(); ++i ) {
      pairs[ ( *after )[ i ].name ].second = &( *after )[ i ];
   }
   return pairs;
}

AclChangeKind kindOf( const void *before, const void *after ) {
   return !before ? AclChangeKind::comes : !after ? AclChangeKind::goes : AclChangeKind::changes;
}

std::vector<std::string> missing( const std::vector<std::string> &in, const std::vector<std::string> &of ) {
   std::vector<std::string> names;
   std::ranges::set_difference( of, in, std::back_inserter( names ), NaturalLess() );
   return names;
}

// The rules that passed others: all but the most that kept their order among each other.
std::set<std::string> movedRules( const AclTable &before, const AclTable &after ) {
   std::map<std::string, std::size_t> placeBefore;
   for ( std::size_t i = 0; i < before.rules.size(); ++i ) {
      placeBefore[ before.rules[ i ].name ] = i;
   }
   std::vector<const AclRule *> stayed;
   for ( const AclRule &rule : after.rules ) {
      if ( placeBefore.contains( rule.name ) ) {
         stayed.push_back( &rule );
      }
   }
   // The longest rising run of places: `ends` holds, for each length, the rule that ends one with the lowest
   // place.
   std::vector<std::size_t> ends;
   std::vector<std::size_t> previous( stayed.size(), stayed.size() );
   for ( std::size_t i = 0; i < stayed.size(); ++i ) {
      const auto place = [ & ]( std::size_t index ) { return placeBefore.at( stayed[ index ]->name ); };
      const auto at = std::ranges::lower_bound( ends, place( i ), {}, place );
      previous[ i ] = at == ends.begin() ? stayed.size() : *std::prev( at );
      if ( at == ends.end() ) {
         ends.push_back( i );
      } else {
         *at = i;
      }
   }
   std::set<std::string> moved;
   for ( const AclRule *rule : stayed ) {
      moved.insert( rule->name );
   }
   for ( std::size_t i = ends.empty() ? stayed.size() : ends.back(); i < stayed.size(); i = previous[ i ] ) {
      moved.erase( stayed[ i ]->name );
   }
   return moved;
}

std::vector<AclRuleChange> ruleChanges( const AclTable *before, const AclTable *after ) {
   const bool byPlace = before && after && before->ordersByPlace && after->ordersByPlace;
   const auto moved = byPlace ? movedRules( *before, *after ) : std::set<std::string>();
   std::vector<AclRuleChange> changes;
   for ( const auto &[ name, rules ] :
         pairsOf( before ? &before->rules : nullptr, after ? &after->rules : nullptr ) ) {
      const auto &[ old, now ] = rules;
      AclRuleChange change{ kindOf( old, now ), old, now };
      if ( change.kind == AclChangeKind::changes ) {
         change.ports = *old->ports != *now->ports;
         change.priority = byPlace ? moved.contains( name ) : old->priority != now->priority;
         change.fields = old->fields != now->fields;
         if ( !change.ports && !change.priority && !change.fields ) {
            continue;
         }
      }
      changes.push_back( change );
   }
   return changes;
}

} // namespace

AclChanges changesBetween( const AclConfig &before, const AclConfig &after ) {
   AclChanges changes = { missing( before.ports, after.ports ), missing( after.ports, before.ports ) };
   for ( const auto &[ name, tables ] : pairsOf( &before.tables, &after.tables ) ) {
      const auto &[ old, now ] = tables;
      AclTableChange change{ kindOf( old, now ), name, old, now };
      change.rules = ruleChanges( old, now );
      if ( change.kind == AclChangeKind::changes ) {
         change.type = old->type != now->type;
         change.stage = old->stage != now->stage;
         change.ports = old->ports != now->ports;
         change.leftOut = old->leftOut.empty() != now->leftOut.empty();
         change.fields = old->fields != now->fields;
         if ( !change.type && !change.stage && !change.ports && !change.leftOut && !change.fields &&
              change.rules.empty() ) {
            continue;
         }
      }
      changes.tables.push_back( std::move( change ) );
   }
   return changes;
}

std::string_view kindName( AclChangeKind kind ) {
   return kind == AclChangeKind::comes ? "comes" : kind == AclChangeKind::goes ? "goes" : "changes";
}

} // namespace QuarraAcl
