#include "lab/ChangeRun.h"

#include <algorithm>

#include <fmt/format.h>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/StoreRefused.h"
#include "lab/FillRun.h"
#include "lab/Who.h"

namespace QuarraLab {

using namespace QuarraTcam;
using QuarraAgent::InstallRequest;
using QuarraAgent::RequestRefused;
using QuarraAgent::TcamAgent;
using Kind = ChangeStep::Kind;

std::string_view stringValue( RuleFate fate ) {
   switch ( fate ) {
   case RuleFate::stays:
      return "stays";
   case RuleFate::changes:
      return "changes";
   case RuleFate::comes:
      return "comes";
   case RuleFate::goes:
      return "goes";
   case RuleFate::refused:
      return "refused";
   }
   return "";
}

std::string_view stringValue( ChangeStep::Kind kind ) {
   switch ( kind ) {
   case Kind::createGroup:
      return "createGroup";
   case Kind::deleteGroup:
      return "deleteGroup";
   case Kind::install:
      return "install";
   case Kind::remove:
      return "remove";
   }
   return "";
}

namespace {

// A message begins with the entry, "group 13 entry 7: ", whose number nobody chose and nothing has.
std::string withoutEntry( const std::string &message, TcamGroupId group ) {
   const auto start = fmt::format( "group {} entry ", group.value() );
   const auto end = message.find( ": " );
   return message.starts_with( start ) && end != std::string::npos ? message.substr( end + 2 ) : message;
}

} // namespace

bool isOfConfiguration( const InstallRequest &request ) {
   return !request.label.empty();
}

ChangeRun::PortsOfGroup ChangeRun::portsOfGroup( const InstallRequest &request ) {
   PortsOfGroup portSet( request.group, request.ports );
   if ( !std::ranges::is_sorted( portSet.second ) ) {
      std::ranges::sort( portSet.second );
   }
   return portSet;
}

bool ChangeRun::asksTheSame( const InstallRequest &one, const InstallRequest &other ) {
   return one.ethernet == other.ethernet && one.rule == other.rule &&
          ( ( one.group == other.group && one.ports == other.ports ) ||
            portsOfGroup( one ) == portsOfGroup( other ) );
}

const ClassIdRequestStatus *ChangeRun::requestOf( U32 entry ) const {
   return holderOf( agent_, agent_.entries().at( entry ) ).request;
}

ChangeRun::ChangeRun( TcamAgent &agent, const WantedEntries &wanted, const ChangeOptions &options )
   : agent_( agent ), wanted_( wanted ), options_( options ) {
   for ( const auto &[ id, entry ] : agent_.entries() ) {
      lastEntry_ = id;
      ++held_[ portsOfGroup( entry.request ) ];
   }
   pairUp();
}

std::size_t ChangeRun::addRule( const InstallRequest *before, std::optional<std::size_t> wanted ) {
   RuleChange rule;
   rule.wanted = wanted;
   rule.rule = ruleOf( before ? *before : wanted_[ *wanted ] );
   rule.fate = before ? RuleFate::stays : RuleFate::comes;
   if ( before ) {
      rule.entryBefore = before->entry;
   }
   rules_.push_back( std::move( rule ) );
   return rules_.size() - 1;
}

// A rule may be there twice: a process died between the new entry and the end of the old one.
void ChangeRun::pairUp() {
   std::multimap<std::string, const InstallRequest *> installed;
   for ( const auto &[ id, entry ] : agent_.entries() ) {
      const auto rule = ruleOf( entry.request );
      if ( isOfConfiguration( entry.request ) && !( options_.keeps && options_.keeps( rule ) ) ) {
         installed.emplace( rule, &entry.request );
      } else {
         addRule( &entry.request, {} );
      }
   }
   std::vector<std::size_t> changed;
   for ( std::size_t i = 0; i < wanted_.size(); ++i ) {
      const auto &request = wanted_[ i ];
      wantedGroups_.insert( request.group );
      const auto [ first, last ] = installed.equal_range( ruleOf( request ) );
      if ( first == last ) {
         comers_.push_back( { addRule( nullptr, i ), &request } );
         continue;
      }
      const auto same = std::find_if(
         first, last, [ & ]( const auto &item ) { return asksTheSame( *item.second, request ); } );
      const auto old = same == last ? first : same;
      const auto rule = addRule( old->second, i );
      if ( same == last ) {
         changed.push_back( rule );
      }
      installed.erase( old );
   }
   bundleUp( changed );
   std::map<U32, const InstallRequest *> rest;
   for ( const auto &[ rule, request ] : installed ) {
      rest.emplace( request->entry, request );
   }
   for ( const auto &[ entry, request ] : rest ) {
      goers_.push_back( addRule( request, {} ) );
      rules_.back().fate = RuleFate::goes;
   }
}

void ChangeRun::bundleUp( const std::vector<std::size_t> &changed ) {
   std::map<const ClassIdRequestStatus *, std::size_t> places;
   for ( const auto index : changed ) {
      auto &rule = rules_[ index ];
      rule.fate = RuleFate::changes;
      const auto [ item, isNew ] = places.emplace( requestOf( *rule.entryBefore ), bundles_.size() );
      if ( isNew ) {
         bundles_.emplace_back();
      }
      auto &bundle = bundles_[ item->second ];
      bundle.wishes.push_back( { index, &wanted_[ *rule.wanted ] } );
      bundle.old.push_back( agent_.entries().at( *rule.entryBefore ).request );
   }
}

// ---- The steps

bool ChangeRun::install( Wish &wish ) {
   auto &rule = rules_[ wish.rule ];
   if ( const auto known =
           roomless_.empty() ? roomless_.end() : roomless_.find( portsOfGroup( *wish.request ) );
        known != roomless_.end() ) {
      std::tie( rule.code, rule.message ) = known->second;
      return false;
   }
   try {
      if ( mustBeCreated( agent_, wish.request->group ) ) {
         createGroup( wish.request->group );
      }
      installOrThrow( wish );
      return true;
   } catch ( const QuarraAgent::StoreRefused & ) {
      throw; // nothing more can be done
   } catch ( const RequestRefused &refused ) {
      rule.code = refused.code();
      rule.message = withoutEntry( refused.what(), wish.request->group );
      if ( refused.code() == "noRoom" ) {
         roomless_.emplace( portsOfGroup( *wish.request ), std::pair( rule.code, rule.message ) );
      } else {
         wish.refused = true;
      }
      return false;
   }
}

void ChangeRun::installOrThrow( Wish &wish ) {
   ChangeStep step{ Kind::install, *wish.request };
   step.request.entry = nextEntry( agent_, lastEntry_ );
   observer_->begins( step, wish.rule );
   agent_.install( step.request );
   lastEntry_ = step.request.entry;
   ++held_[ portsOfGroup( step.request ) ];
   wish.installed = true;
   rules_[ wish.rule ].entryAfter = lastEntry_;
   observer_->ends( step );
}

void ChangeRun::remove( std::size_t rule ) {
   const auto entry = *rules_[ rule ].entryBefore;
   const ChangeStep step{ Kind::remove, agent_.entries().at( entry ).request };
   observer_->begins( step, {} );
   agent_.remove( step.request.group, entry );
   leftGroups_.insert( step.request.group );
   if ( const auto held = held_.find( portsOfGroup( step.request ) ); --held->second == 0 ) {
      held_.erase( held );
   }
   roomless_.clear();
   observer_->ends( step );
}

void ChangeRun::createGroup( TcamGroupId group ) {
   const ChangeStep step{ Kind::createGroup, { .group = group } };
   observer_->begins( step, {} );
   agent_.createGroup( group );
   observer_->ends( step );
}

} // namespace QuarraLab
