#include "soak/TinyWorld.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "soak/Verify.h"

namespace QuarraSoak {
namespace {

using Kind = Operation::Kind;

constexpr U32 mostEntries = 4;
constexpr std::size_t mostRules = 2; // of a group

std::vector<PortSet> portSets() {
   const Port one( 0, 1 );
   const Port two( 0, 2 );
   return { { {}, false }, { { one }, false }, { { two }, false }, { { one, two }, false }, { {}, true } };
}

// Bits beyond those that the rules of start-up take.
constexpr U32 spareBits = 5;
constexpr U32 widestPool = 8;

ChipChoice tinyChip( const QuarraAgent::Variant &variant ) {
   auto choice = QuarraLab::defaultChoice( std::string( variant.name ) );
   auto &chip = choice.chip;
   const auto &limits = variant.generation.limits;
   const auto &startUp = variant.generation.startUp;
   chip.flexibleBits = static_cast<U8>( startUp.flexible + spareBits );
   chip.fixedBits = static_cast<U8>( limits.aclGroupBits > limits.flexibleBits ? widestPool + 2 : 0 );
   chip.sourceTrunkMapBits =
      static_cast<U8>( startUp.ifpSourceTrunkMap ? startUp.ifpSourceTrunkMap + spareBits : 0 );
   chip.portBits = 2;
   chip.cpuPorts = { Port( 0, 0 ) };
   chip.ports.clear();
   for ( const U32 number : { 1u, 2u } ) {
      chip.ports.push_back( { QuarraAgent::portName( Port( 0, number ) ), Port( 0, number ) } );
   }
   return choice;
}

// What makes one group behave like another.
auto kindOf( const ModelGroup &group ) {
   return std::tuple( group.space, group.width, group.poolBits != 0, group.system, group.startRules.empty() );
}

// The first group of each kind.
std::vector<U16> oneOfEachKind( const Model &model,
                                const std::function<bool( const ModelGroup & )> &wanted ) {
   std::vector<U16> groups;
   std::set<decltype( kindOf( std::declval<const ModelGroup &>() ) )> kinds;
   for ( const auto &[ id, group ] : model.groups() ) {
      const bool useless = group.system && group.startRules.empty(); // every request is refused
      if ( !useless && wanted( group ) && kinds.insert( kindOf( group ) ).second ) {
         groups.push_back( id );
      }
   }
   return groups;
}

} // namespace

TinyWorld::TinyWorld( std::string name, ChipChoice chip, std::vector<U16> groups, const Model &model )
   : name_( std::move( name ) ), chip_( std::move( chip ) ), groups_( std::move( groups ) ) {
   for ( U32 entry = 1; entry <= mostEntries; ++entry ) {
      operations_.push_back( { Kind::remove, { .entry = entry } } );
   }
   for ( const U16 id : groups_ ) {
      const auto &group = model.groups().at( id );
      if ( group.space == Space::fixedWidth ) {
         operations_.push_back( { Kind::createGroup, { .group = id } } );
         operations_.push_back( { Kind::deleteGroup, { .group = id } } );
      }
      std::vector<std::optional<std::string>> rules( group.startRules.begin(), group.startRules.end() );
      rules.resize( std::min( rules.size(), mostRules ) );
      if ( !group.system ) {
         rules.emplace_back();
      }
      for ( const auto &rule : rules ) {
         for ( const auto &ports : portSets() ) {
            operations_.push_back( { Kind::install, { .group = id, .wanted = ports, .rule = rule } } );
         }
      }
   }
}

std::optional<Operation> TinyWorld::operation( std::size_t number, const Model &model ) const {
   auto operation = operations_[ number ];
   auto &request = operation.request;
   if ( operation.kind == Kind::remove ) {
      const auto entry = model.entries().find( request.entry );
      if ( entry == model.entries().end() ) {
         return std::nullopt;
      }
      request.group = entry->second.group;
   } else if ( operation.kind == Kind::install ) {
      for ( request.entry = 1; model.entries().contains( request.entry ); ++request.entry ) {}
      if ( request.entry > mostEntries ) {
         return std::nullopt;
      }
   }
   return operation;
}

std::vector<TinyWorld> tinyWorlds( const QuarraAgent::Variant &variant ) {
   const auto chip = tinyChip( variant );
   const Model model = modelOf( Switch( chip ) );
   constexpr std::pair<Space, const char *> spaces[] = { { Space::flexibleWidth, "flexible" },
                                                         { Space::fixedWidth, "fixed" },
                                                         { Space::ifpSourceTrunkMap, "words" },
                                                         { Space::vfpSourceTrunkMap, "vfp words" } };
   std::vector<TinyWorld> worlds;
   std::vector<U16> meeting;
   for ( const auto &[ space, name ] : spaces ) {
      auto groups =
         oneOfEachKind( model, [ of = space ]( const ModelGroup &group ) { return group.space == of; } );
      if ( model.chip().sizes.at( space ) == 0 || groups.empty() ) {
         continue;
      }
      const auto widest = std::max_element( groups.begin(), groups.end(), [ & ]( U16 a, U16 b ) {
         return model.groups().at( a ).width < model.groups().at( b ).width;
      } );
      meeting.push_back( *widest );
      constexpr std::size_t mostGroups = 3;
      if ( groups.size() > mostGroups ) {
         std::swap( *widest, groups[ mostGroups - 1 ] );
         groups.resize( mostGroups );
      }
      worlds.emplace_back( name, chip, groups, model );
   }
   if ( meeting.size() > 1 ) {
      worlds.emplace_back( "several", chip, meeting, model );
   }
   return worlds;
}

// ---- States as text

namespace {

class Text {
 public:
   Text &operator<<( U64 number ) {
      fmt::format_to( std::back_inserter( text_ ), "{} ", number );
      return *this;
   }
   Text &operator<<( const char *word ) {
      text_.append( word, word + std::strlen( word ) );
      return *this;
   }
   Text &operator<<( const std::string &word ) { return *this << word.c_str() << ";"; }
   Text &operator<<( const Port &port ) { return *this << U64{ port.modId().value() } << U64{ port.port() }; }
   Text &operator<<( const PortSet &set ) {
      *this << ( set.ethernet ? "E" : "P" );
      return list( set.ports );
   }
   template <typename Items>
   Text &list( const Items &items ) {
      *this << "(";
      for ( const auto &item : items ) {
         *this << item;
      }
      return *this << ")";
   }
   std::string string() const { return fmt::to_string( text_ ); }

 private:
   fmt::memory_buffer text_;
};

void addGroup( Text &text, U16 id, const GroupState &state ) {
   text << "\ngroup " << U64{ id } << U64{ state.lastPool };
   for ( const auto &pool : state.pools ) {
      text << "pool " << U64{ pool.id } << U64{ pool.base } << U64{ pool.width };
      text.list( std::vector<U64>( pool.free.begin(), pool.free.end() ) );
   }
   std::map<int, U64> order; // of the keys; 0: gone
   for ( const auto &holder : state.holders ) {
      order.emplace( holder.key, order.size() + 1 );
      text << "holder " << holder.startRule << U64{ holder.classId } << U64{ holder.poolId };
      text.list( std::vector<U64>( holder.entries.begin(), holder.entries.end() ) );
      text << holder.programmed;
   }
   for ( const auto &[ key, ports ] : state.index ) {
      text << "index " << order[ key ] << ports;
   }
   for ( const auto &[ port, key ] : state.takers ) {
      const auto holder = order.find( key );
      text << "taker " << port << ( holder == order.end() ? 0 : holder->second );
   }
}

} // namespace

std::string textOf( const Model &model ) {
   Text text;
   for ( const auto &[ id, request ] : model.entries() ) {
      text << "entry " << U64{ id } << U64{ request.group } << request.wanted
           << request.rule.value_or( std::string() );
   }
   for ( const auto &[ id, state ] : model.states() ) {
      addGroup( text, id, state );
   }
   for ( const auto &[ bit, ports ] : model.aclGroupBits() ) {
      text << "\nbit " << U64{ bit };
      text.list( std::vector<U64>( ports.begin(), ports.end() ) );
   }
   for ( const auto space : { Space::ifpSourceTrunkMap, Space::vfpSourceTrunkMap } ) {
      for ( const auto &[ port, word ] : model.words( space ) ) {
         text << "\nword " << static_cast<U64>( space ) << port << U64{ word };
      }
   }
   for ( const auto &[ entry, qualifier ] : model.qualifiers() ) {
      text << "\nqualifier " << U64{ entry };
      text.list( std::vector<U64>( qualifier.data.begin(), qualifier.data.end() ) );
      text.list( std::vector<U64>( qualifier.mask.begin(), qualifier.mask.end() ) );
   }
   return text.string();
}

// Two sums that are mixed differently; 128 bits keep millions of texts apart.
Digest digestOf( const std::string &text ) {
   Digest digest{ 0x9e3779b97f4a7c15u, 0xc2b2ae3d27d4eb4fu };
   const auto mix = []( U64 value ) {
      value = ( value ^ value >> 30 ) * 0xbf58476d1ce4e5b9u;
      value = ( value ^ value >> 27 ) * 0x94d049bb133111ebu;
      return value ^ value >> 31;
   };
   for ( std::size_t at = 0; at < text.size(); at += sizeof( U64 ) ) {
      U64 word = 0;
      std::memcpy( &word, text.data() + at, std::min( sizeof( U64 ), text.size() - at ) );
      digest[ 0 ] = mix( digest[ 0 ] ^ word );
      digest[ 1 ] = mix( digest[ 1 ] + word ) + digest[ 0 ];
   }
   return digest;
}

} // namespace QuarraSoak
