#include "tools/RuleTexts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace QuarraTool {

using namespace QuarraAcl;

RuleFields ruleFieldsOf( const AclConfig &config ) {
   RuleFields all;
   for ( const auto &table : config.tables ) {
      for ( const auto &rule : table.rules ) {
         auto &fields = all[ table.name + "|" + rule.name ];
         for ( const auto &[ name, value ] : rule.fields ) {
            fields.push_back( fmt::format( "{} {}", name, value ) );
         }
      }
   }
   return all;
}

std::string ruleText( const std::vector<std::string> &fields ) {
   return fmt::format( "{}", fmt::join( fields, ", " ) );
}

std::map<U32, std::string> entryTexts( const Switch &theSwitch, const RuleFields &fields ) {
   std::map<U32, std::string> texts;
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      if ( const auto item = fields.find( entry.request.label ); item != fields.end() ) {
         texts.emplace( id, ruleText( item->second ) );
      }
   }
   return texts;
}

void tellRuleFields( Plan &plan, const RuleFields &before, const RuleFields &after ) {
   for ( auto &rule : plan.rules ) {
      const auto &fields = rule.wanted ? after : before;
      if ( const auto item = fields.find( rule.rule ); item != fields.end() ) {
         rule.fields = item->second;
      }
   }
}

} // namespace QuarraTool
