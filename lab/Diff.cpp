#include "lab/Diff.h"

#include <algorithm>

#include "lab/Who.h"

namespace QuarraLab {

namespace {

const Json &member( const Json &object, const char *name, const std::string &place ) {
   if ( !object.is_object() || !object.contains( name ) ) {
      throw Complaint( place, std::string( "expected an object with \"" ) + name + "\", as a dump has it" );
   }
   return object.at( name );
}

U32 number( const Json &object, const char *name, const std::string &place ) {
   const auto &value = member( object, name, place );
   if ( !value.is_number_unsigned() || value.get<U64>() > 0xffffffff ) {
      throw Complaint( place + "." + name, "expected a whole number, got " + valueText( value ) );
   }
   return value.get<U32>();
}

const Json &list( const Json &object, const char *name, const std::string &place ) {
   const auto &value = member( object, name, place );
   if ( !value.is_array() ) {
      throw Complaint( place + "." + name, "expected a list, got " + typeName( value ) );
   }
   return value;
}

std::string at( const std::string &place, const char *name, std::size_t index ) {
   return place + ( place.empty() ? "" : "." ) + name + "[" + std::to_string( index ) + "]";
}

// A number of module 0, or an object with module and port; with a name, or without.
QuarraModPort portOf( const Json &json, const std::string &place, SwitchState &state ) {
   constexpr U32 maxModule = 63;
   constexpr U32 maxPort = 1023;
   U32 module = 0;
   U32 port = 0;
   if ( json.is_number_unsigned() ) {
      port = static_cast<U32>( std::min<U64>( json.get<U64>(), maxPort + 1 ) );
   } else {
      const auto &inner = member( json, "port", place );
      if ( inner.is_object() ) {
         return portOf( inner, place, state );
      }
      port = number( json, "port", place );
      module = json.contains( "module" ) ? number( json, "module", place ) : 0;
   }
   if ( module > maxModule || port > maxPort ) {
      throw Complaint( place, "expected a port of 0 to 1023 in a module of 0 to 63" );
   }
   const QuarraModPort modPort( static_cast<U16>( module ), port );
   if ( json.is_object() && json.contains( "name" ) && json.at( "name" ).is_string() ) {
      state.portNames[ modPort ] = json.at( "name" ).get<std::string>();
   }
   return modPort;
}

// The bits of "0x...": bit 0 the lowest.
std::set<U32> bitsOfHex( const Json &value, const std::string &place ) {
   const auto text = value.is_string() ? value.get<std::string>() : std::string();
   if ( text.size() < 3 || !text.starts_with( "0x" ) ||
        text.find_first_not_of( "0123456789abcdefABCDEF", 2 ) != std::string::npos ) {
      throw Complaint( place, "expected a number as \"0x...\", got " + valueText( value ) );
   }
   std::set<U32> bits;
   for ( std::size_t digit = 2; digit < text.size(); ++digit ) {
      const auto nibble = static_cast<U32>( std::stoul( text.substr( digit, 1 ), nullptr, 16 ) );
      for ( U32 bit = 0; bit < 4; ++bit ) {
         if ( nibble >> bit & 1 ) {
            bits.insert( static_cast<U32>( text.size() - 1 - digit ) * 4 + bit );
         }
      }
   }
   return bits;
}

void readRequest( const Json &request, const std::string &place, ClassIdPlace where, SwitchState &state ) {
   where.classId = number( request, "classId", place );
   auto &classId = state.classIds[ where ];
   classId.ethernet = member( request, "ethernet", place ) == true;
   std::size_t index = 0;
   for ( const auto &port : list( request, "ports", place ) ) {
      classId.ports.insert( portOf( port, at( place, "ports", index++ ), state ) );
   }
   for ( const auto &entry : list( request, "entries", place ) ) {
      if ( !entry.is_number_unsigned() ) {
         throw Complaint( place + ".entries", "expected numbers, got " + valueText( entry ) );
      }
      if ( const U32 id = entry.get<U32>() ) {
         classId.entries.insert( id );
         state.entries[ id ].place = where;
      }
   }
}

void readGroup( const Json &group, const std::string &place, SwitchState &state ) {
   ClassIdPlace where;
   where.group = number( group, "group", place );
   const auto &type = member( member( group, "config", place ), "type", place + ".config" );
   where.space = type.is_string() ? type.get<std::string>() : std::string();
   std::map<U32, std::pair<U32, U32>> pools; // offset and width
   std::size_t index = 0;
   for ( const auto &pool : list( group, "pools", place ) ) {
      const auto inPool = at( place, "pools", index++ );
      pools[ number( pool, "id", inPool ) ] = { number( pool, "offset", inPool ),
                                                number( pool, "width", inPool ) };
   }
   index = 0;
   for ( const auto &request : list( group, "requests", place ) ) {
      const auto inRequest = at( place, "requests", index++ );
      const auto pool = pools.find( number( request, "poolId", inRequest ) );
      if ( pool == pools.end() ) {
         throw Complaint( inRequest + ".poolId", "the group has no such pool" );
      }
      std::tie( where.offset, where.width ) = pool->second;
      readRequest( request, inRequest, where, state );
   }
}

void readChipPorts( const Json &chip, SwitchState &state ) {
   std::size_t index = 0;
   for ( const auto &port : list( chip, "ports", "chip" ) ) {
      const auto place = at( "chip", "ports", index++ );
      auto &values = state.ports[ portOf( member( port, "port", place ), place, state ) ];
      for ( const auto &[ name, value ] : port.items() ) {
         if ( value.is_string() && name != "name" ) {
            values[ name ] = bitsOfHex( value, place + "." + name );
         }
      }
   }
}

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

SwitchState stateOfDump( const Json &dump ) {
   SwitchState state;
   std::size_t index = 0;
   for ( const auto &group : list( dump, "groups", "" ) ) {
      readGroup( group, at( "", "groups", index++ ), state );
   }
   if ( dump.contains( "chip" ) && dump.at( "chip" ).is_object() ) {
      readChipPorts( dump.at( "chip" ), state );
   }
   if ( dump.contains( "entries" ) && dump.at( "entries" ).is_array() ) {
      for ( const auto &entry : dump.at( "entries" ) ) {
         const auto item = entry.is_object() && entry.contains( "entry" )
                              ? state.entries.find( number( entry, "entry", "entries" ) )
                              : state.entries.end();
         if ( item != state.entries.end() && entry.contains( "rule" ) && entry.at( "rule" ).is_string() ) {
            // The report of `apply` tells table and rule apart.
            const auto table = entry.contains( "table" ) && entry.at( "table" ).is_string()
                                  ? entry.at( "table" ).get<std::string>() + "|"
                                  : std::string();
            item->second.rule = table + entry.at( "rule" ).get<std::string>();
         }
      }
   }
   return state;
}

SwitchState stateOf( const Switch &theSwitch ) {
   // Through text, since what a dump says is the one description of a state.
   const JsonOut dump = { { "groups", dumpGroups( theSwitch ) }, { "chip", dumpChip( theSwitch ) } };
   auto state = stateOfDump( Json::parse( dump.dump() ) );
   for ( const auto &[ id, entry ] : theSwitch.agent().entries() ) {
      state.entries.at( id ).rule = ruleOf( entry.request );
   }
   for ( const auto &port : theSwitch.agent().chip().ports ) {
      state.portNames[ port.port ] = port.intf;
   }
   return state;
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
   constexpr std::string_view words[] = { "came", "gone", "changed" };
   return words[ static_cast<std::size_t>( change ) ];
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
