#include "lab/Diff.h"

#include <algorithm>

#include "lab/Who.h"

namespace QuarraLab {

namespace {

template <typename Value>
GainedAndLost<Value> gainedAndLost( const std::set<Value> &before, const std::set<Value> &after ) {
   GainedAndLost<Value> result;
   std::ranges::set_difference( after, before, std::inserter( result.gained, result.gained.end() ) );
   std::ranges::set_difference( before, after, std::inserter( result.lost, result.lost.end() ) );
   return result;
}

// Rules that name one entry of the state.
std::map<std::string, U32> entriesByRule( const SwitchState &state ) {
   std::map<std::string, U32> byRule;
   std::set<std::string> twice;
   for ( const auto &[ id, entry ] : state.entries ) {
      if ( !entry.rule.empty() && !byRule.emplace( entry.rule, id ).second ) {
         twice.insert( entry.rule );
      }
   }
   for ( const auto &rule : twice ) {
      byRule.erase( rule );
   }
   return byRule;
}

// The entry of the other state that is the same one.
class SameEntries {
 public:
   SameEntries( const SwitchState &before, const SwitchState &after )
      : before_( before ),
        after_( after ),
        rulesBefore_( entriesByRule( before ) ),
        rulesAfter_( entriesByRule( after ) ) {
      for ( const auto &[ id, entry ] : before.entries ) {
         if ( const auto same = sameAfter( id, entry ) ) {
            pairs_.emplace( id, *same );
            taken_.insert( *same );
         }
      }
   }

   std::optional<U32> after( U32 before ) const {
      const auto item = pairs_.find( before );
      return item == pairs_.end() ? std::nullopt : std::optional( item->second );
   }
   bool isNew( U32 after ) const { return !taken_.contains( after ); }

 private:
   std::optional<U32> sameAfter( U32 id, const EntryState &entry ) const {
      if ( rulesBefore_.contains( entry.rule ) && rulesAfter_.contains( entry.rule ) ) {
         return rulesAfter_.at( entry.rule );
      }
      const auto other = after_.entries.find( id );
      // A number that a rule of another name has now is another entry.
      const bool same = other != after_.entries.end() && ( entry.rule == other->second.rule ||
                                                           entry.rule.empty() || other->second.rule.empty() );
      return same ? std::optional( id ) : std::nullopt;
   }

   const SwitchState &before_;
   const SwitchState &after_;
   std::map<std::string, U32> rulesBefore_;
   std::map<std::string, U32> rulesAfter_;
   std::map<U32, U32> pairs_;
   std::set<U32> taken_;
};

std::vector<EntryChange> entryChanges( const SwitchState &before, const SwitchState &after ) {
   const SameEntries same( before, after );
   std::vector<EntryChange> changes;
   for ( const auto &[ id, entry ] : before.entries ) {
      const auto other = same.after( id );
      if ( !other ) {
         changes.push_back( { Change::gone, id, {}, entry.rule, entry.place, {}, {} } );
         continue;
      }
      const auto &now = after.entries.at( *other );
      const auto ports =
         gainedAndLost( before.classIds.at( entry.place ).ports, after.classIds.at( now.place ).ports );
      if ( entry.place != now.place || ports.any() ) {
         changes.push_back( { Change::changed, id, *other, entry.rule.empty() ? now.rule : entry.rule,
                              entry.place, now.place, ports } );
      }
   }
   for ( const auto &[ id, entry ] : after.entries ) {
      if ( same.isNew( id ) ) {
         changes.push_back( { Change::came, {}, id, entry.rule, {}, entry.place, {} } );
      }
   }
   return changes;
}

std::vector<ClassIdChange> classIdChanges( const SwitchState &before, const SwitchState &after ) {
   std::set<ClassIdPlace> places;
   for ( const auto *state : { &before, &after } ) {
      for ( const auto &[ place, classId ] : state->classIds ) {
         places.insert( place );
      }
   }
   std::vector<ClassIdChange> changes;
   const ClassIdState none;
   for ( const auto &place : places ) {
      const auto was = before.classIds.find( place );
      const auto is = after.classIds.find( place );
      const auto &then = was == before.classIds.end() ? none : was->second;
      const auto &now = is == after.classIds.end() ? none : is->second;
      const auto change = was == before.classIds.end() ? Change::came
                          : is == after.classIds.end() ? Change::gone
                                                       : Change::changed;
      const auto ports = gainedAndLost( then.ports, now.ports );
      if ( change != Change::changed || ports.any() || then.entries.size() != now.entries.size() ||
           then.ethernet != now.ethernet ) {
         changes.push_back(
            { change, place, then.entries.size(), now.entries.size(), ports, then.ethernet, now.ethernet } );
      }
   }
   return changes;
}

std::vector<PortChange> portChanges( const SwitchState &before, const SwitchState &after ) {
   std::map<std::pair<QuarraModPort, std::string>, std::pair<std::set<U32>, std::set<U32>>> values;
   for ( const auto &[ port, named ] : before.ports ) {
      for ( const auto &[ name, bits ] : named ) {
         values[ { port, name } ].first = bits;
      }
   }
   for ( const auto &[ port, named ] : after.ports ) {
      for ( const auto &[ name, bits ] : named ) {
         values[ { port, name } ].second = bits;
      }
   }
   std::vector<PortChange> changes;
   for ( const auto &[ key, bits ] : values ) {
      const auto change = gainedAndLost( bits.first, bits.second );
      if ( change.any() ) {
         changes.push_back( { key.first, key.second, change } );
      }
   }
   return changes;
}

} // namespace

std::vector<U32> ClassIdPlace::bits() const {
   std::vector<U32> bits;
   for ( U32 bit = 0; bit < width && bit < 32; ++bit ) {
      if ( classId >> bit & 1 ) {
         bits.push_back( offset + bit );
      }
   }
   return bits;
}

Difference difference( const SwitchState &before, const SwitchState &after ) {
   Difference result{ entryChanges( before, after ), classIdChanges( before, after ),
                      portChanges( before, after ), before.portNames };
   for ( const auto &[ port, name ] : after.portNames ) {
      result.portNames[ port ] = name;
   }
   return result;
}

// ---- As JSON

namespace {

std::string_view wordOf( Change change ) {
   switch ( change ) {
   case Change::came:
      return "came";
   case Change::gone:
      return "gone";
   case Change::changed:
      break;
   }
   return "changed";
}

template <typename Value>
JsonOut optionalJson( const std::optional<Value> &value ) {
   return value ? JsonOut( *value ) : JsonOut();
}

} // namespace

JsonOut placeJson( const std::optional<ClassIdPlace> &place ) {
   if ( !place ) {
      return nullptr;
   }
   return { { "group", place->group }, { "space", place->space },     { "offset", place->offset },
            { "width", place->width }, { "classId", place->classId }, { "bits", place->bits() } };
}

JsonOut namedPortJson( const QuarraModPort &port, const std::map<QuarraModPort, std::string> &names ) {
   const auto name = names.find( port );
   JsonOut json = { { "name", name == names.end() ? QuarraAgent::portName( port ) : name->second } };
   if ( port.modId().value() ) {
      json[ "module" ] = port.modId().value();
   }
   json[ "port" ] = port.port();
   return json;
}

JsonOut namedPortsJson( const std::set<QuarraModPort> &ports,
                        const std::map<QuarraModPort, std::string> &names ) {
   auto json = JsonOut::array();
   for ( const auto &port : ports ) {
      json.push_back( namedPortJson( port, names ) );
   }
   return json;
}

JsonOut differenceJson( const Difference &difference ) {
   auto entries = JsonOut::array();
   for ( const auto &entry : difference.entries ) {
      entries.push_back( { { "change", wordOf( entry.change ) },
                           { "rule", entry.rule },
                           { "entryBefore", optionalJson( entry.before ) },
                           { "entryAfter", optionalJson( entry.after ) },
                           { "classIdBefore", placeJson( entry.placeBefore ) },
                           { "classIdAfter", placeJson( entry.placeAfter ) },
                           { "portsGained", namedPortsJson( entry.ports.gained, difference.portNames ) },
                           { "portsLost", namedPortsJson( entry.ports.lost, difference.portNames ) } } );
   }
   auto classIds = JsonOut::array();
   for ( const auto &classId : difference.classIds ) {
      auto json = placeJson( classId.place );
      json[ "change" ] = wordOf( classId.change );
      json[ "entriesBefore" ] = classId.entriesBefore;
      json[ "entriesAfter" ] = classId.entriesAfter;
      json[ "ethernetBefore" ] = classId.ethernetBefore;
      json[ "ethernetAfter" ] = classId.ethernetAfter;
      json[ "portsGained" ] = namedPortsJson( classId.ports.gained, difference.portNames );
      json[ "portsLost" ] = namedPortsJson( classId.ports.lost, difference.portNames );
      classIds.push_back( std::move( json ) );
   }
   auto ports = JsonOut::array();
   for ( const auto &port : difference.ports ) {
      JsonOut json = { { "port", namedPortJson( port.port, difference.portNames ) } };
      json[ "value" ] = port.value;
      json[ "bitsGained" ] = port.bits.gained;
      json[ "bitsLost" ] = port.bits.lost;
      ports.push_back( std::move( json ) );
   }
   return { { "same", !difference.any() },
            { "entries", std::move( entries ) },
            { "classIds", std::move( classIds ) },
            { "ports", std::move( ports ) } };
}

} // namespace QuarraLab
