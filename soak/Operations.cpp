#include "soak/Operations.h"

#include <algorithm>

#include "lab/Dump.h"
#include "lab/JsonText.h"

namespace QuarraSoak {
namespace {

using QuarraLab::Json;
using QuarraLab::JsonFields;
using QuarraLab::JsonOut;
using QuarraLab::portJson;

constexpr std::pair<Operation::Kind, const char *> kindNames[] = {
   { Operation::Kind::createGroup, "createGroup" },
   { Operation::Kind::deleteGroup, "deleteGroup" },
   { Operation::Kind::install, "install" },
   { Operation::Kind::remove, "remove" },
};

JsonOut portsJson( const auto &ports ) {
   auto json = JsonOut::array();
   for ( const auto &port : ports ) {
      json.push_back( portJson( port ) );
   }
   return json;
}

// Ports of a small chip: few, so that sets meet, with numbers from all over.
void drawChipPorts( QuarraAgent::ChipConfig &chip, const QuarraAgent::Generation &generation,
                    Choices &choices ) {
   const U32 numbers = QuarraAgent::portNumbers( generation, chip );
   std::set<U32> taken;
   chip.cpuPorts.clear();
   chip.ports.clear();
   const auto draw = [ & ] {
      U32 number = choices.below( numbers );
      while ( !taken.insert( number ).second ) {
         number = ( number + 1 ) % numbers;
      }
      return Port(
         static_cast<U16>( generation.limits.lastModule && choices.oneIn( 8 ) ? choices.below( 4 ) : 0 ),
         number );
   };
   if ( !choices.oneIn( 4 ) ) {
      taken.insert( 0 );
      chip.cpuPorts.emplace_back( 0, 0 );
   } else if ( choices.oneIn( 2 ) ) {
      chip.cpuPorts.push_back( draw() );
   }
   const U32 most = std::min( numbers - 2, choices.oneIn( 8 ) ? 40u : 10u );
   for ( U32 left = choices.between( 1, most ); left; --left ) {
      const Port port = draw();
      chip.ports.push_back( { QuarraAgent::portName( port ), port } );
   }
}

} // namespace

std::string Operation::line() const {
   const auto *const kindName = std::find_if( std::begin( kindNames ), std::end( kindNames ),
                                              [ & ]( auto &row ) { return row.first == kind; } );
   JsonOut json = { { "op", kindName->second }, { "group", request.group } };
   if ( kind == Kind::install || kind == Kind::remove ) {
      json[ "entry" ] = request.entry;
   }
   if ( kind == Kind::install ) {
      if ( request.wanted.ethernet ) {
         json[ "ethernet" ] = true;
      }
      if ( !request.wanted.ethernet || !request.wanted.ports.empty() ) {
         json[ "ports" ] = portsJson( request.wanted.ports );
      }
      if ( request.rule ) {
         json[ "rule" ] = { { "name", *request.rule } };
      }
   }
   return json.dump();
}

Operation Operation::ofLine( const std::string &line ) {
   const Json json = QuarraLab::parseJson( line );
   JsonFields fields( json, "history" );
   const auto name = fields.text( "op" );
   const auto *const kind = std::find_if( std::begin( kindNames ), std::end( kindNames ),
                                          [ & ]( auto &row ) { return row.second == name; } );
   if ( kind == std::end( kindNames ) ) {
      throw QuarraAgent::RequestRefused( "unknownOperation", "history: operation " + name );
   }
   Operation operation{ kind->first, {} };
   auto &request = operation.request;
   request.group = static_cast<U16>( fields.number( "group", 0, 0xffff ) );
   request.entry = fields.number( "entry", 0, 0xffffffff, 0 );
   request.wanted.ethernet = fields.flag( "ethernet" );
   if ( fields.has( "ports" ) ) {
      const auto ports = fields.ports( "ports" );
      request.wanted.ports = { ports.begin(), ports.end() };
   }
   if ( fields.has( "rule" ) ) {
      request.rule = fields.object( "rule" ).text( "name" );
   }
   fields.finish();
   return operation;
}

constexpr U32 widestPool = 8;

ChipChoice drawChip( const QuarraAgent::Variant &variant, Choices &choices ) {
   auto choice = QuarraLab::defaultChoice( std::string( variant.name ) );
   auto &chip = choice.chip;
   const auto &[ flexibleLimit, aclGroupBits, ports, lastModule, systemPortBits ] = variant.generation.limits;
   const auto &startUp = variant.generation.startUp;
   const bool hasFixedBits = aclGroupBits > flexibleLimit;
   const U32 least = startUp.flexible;
   const bool whole = choices.oneIn( 6 );
   const U32 roomiest = hasFixedBits ? flexibleLimit - widestPool : flexibleLimit;
   const U32 flexible = choices.between( least, choices.oneIn( 2 ) ? least + 12 : roomiest );
   chip.flexibleBits = static_cast<U8>( whole ? flexibleLimit : flexible );
   if ( hasFixedBits ) {
      const U32 most = aclGroupBits - chip.flexibleBits;
      chip.fixedBits =
         static_cast<U8>( choices.between( 0, choices.oneIn( 2 ) ? std::min( most, 24u ) : most ) );
   }
   chip.sourceTrunkMapBits =
      static_cast<U8>( startUp.ifpSourceTrunkMap ? choices.between( startUp.ifpSourceTrunkMap, 16 )
                                                 : choices.of( std::vector<U32>{ 0, 16 } ) );
   chip.portBits = static_cast<U8>( choices.between( 2, choices.oneIn( 8 ) ? 7 : 4 ) );
   drawChipPorts( chip, variant.generation, choices );
   return choice;
}

std::string chipLine( const ChipChoice &choice ) {
   const auto &chip = choice.chip;
   std::vector<Port> ports;
   for ( const auto &port : chip.ports ) {
      ports.push_back( port.port );
   }
   const JsonOut json = { { "op", "chip" },
                          { "variant", choice.variant->name },
                          { "flexibleBits", chip.flexibleBits },
                          { "fixedBits", chip.fixedBits },
                          { "sourceTrunkMapBits", chip.sourceTrunkMapBits },
                          { "portBits", chip.portBits },
                          { "ports", portsJson( ports ) },
                          { "cpuPorts", portsJson( chip.cpuPorts ) } };
   return json.dump();
}

// What a run is made of. The weight of each is drawn for a run, up to the one given.
struct Player::Recipe {
   U32 weight;
   Operation ( Player::*make )();
};

const Player::Recipe Player::recipes[] = {
   { 40, &Player::installAny },      { 20, &Player::installEqual },  { 20, &Player::installNear },
   { 10, &Player::installEthernet }, { 4, &Player::installNoPorts }, { 12, &Player::installRule },
   { 40, &Player::removeAny },       { 20, &Player::removeNewest },  { 4, &Player::createGroup },
   { 3, &Player::deleteGroup },      { 4, &Player::mistake },
};

Player::Player( Choices &choices, const Model &model ) : choices_( choices ), model_( model ) {
   for ( const auto &recipe : recipes ) {
      weights_.push_back( choices.between( 0, recipe.weight ) );
      allWeights_ += weights_.back();
   }
   weights_.front() += 1;
   allWeights_ += 1;
   // Groups of all kinds alike, though most groups of a chip are of one kind.
   std::vector<U16> all;
   std::vector<U16> oneBit;
   std::vector<U16> startRules;
   for ( const auto &[ id, group ] : model.groups() ) {
      all.push_back( id );
      if ( group.width == 1 ) {
         oneBit.push_back( id );
      }
      if ( !group.startRules.empty() ) {
         startRules.push_back( id );
      }
   }
   const std::vector<U16> *const pools[] = { &all, &oneBit, &startRules };
   for ( U32 left = choices.between( 1, choices.oneIn( 4 ) ? 20 : 5 ); left; --left ) {
      groups_.push_back( choices.of( *pools[ choices.below( 3 ) ] ) );
      if ( model.groups().at( groups_.back() ).space == Space::fixedWidth && !choices.oneIn( 8 ) ) {
         toCreate_.push_back( groups_.back() );
      }
   }
   ports_.assign( model.chip().ports.begin(), model.chip().ports.end() );
   ports_.insert( ports_.end(), model.chip().cpuPorts.begin(), model.chip().cpuPorts.end() );
   lastEntry_ = choices.between( 2, choices.oneIn( 3 ) ? 300 : 30 );
}

Operation Player::next() {
   if ( !toCreate_.empty() ) {
      const U16 group = toCreate_.back();
      toCreate_.pop_back();
      return { Operation::Kind::createGroup, { .group = group } };
   }
   U32 place = choices_.below( allWeights_ );
   const auto *recipe = std::begin( recipes );
   for ( const U32 weight : weights_ ) {
      if ( place < weight ) {
         break;
      }
      place -= weight;
      ++recipe;
   }
   return ( this->*recipe->make )();
}

std::optional<Operation> Player::nextRemoval() {
   if ( !model_.entries().empty() ) {
      return removeAny();
   }
   for ( const auto &[ id, state ] : model_.states() ) {
      if ( model_.groups().at( id ).space == Space::fixedWidth ) {
         return Operation{ Operation::Kind::deleteGroup, { .group = id } };
      }
   }
   return std::nullopt;
}

PortSet Player::drawPorts() {
   PortSet set;
   for ( U32 left = choices_.between( 1, choices_.oneIn( 3 ) ? 6 : 2 ); left; --left ) {
      set.ports.insert( choices_.of( ports_ ) );
   }
   return set;
}

const ModelRequest *Player::anEntry() {
   const auto &entries = model_.entries();
   if ( entries.empty() ) {
      return nullptr;
   }
   const auto item = entries.lower_bound( choices_.between( 1, entries.rbegin()->first ) );
   return &item->second;
}

// A free entry id, if one is near. An entry of a system group names a rule of it, mostly.
Operation Player::install( PortSet wanted ) {
   Operation operation;
   auto &request = operation.request;
   request.group = choices_.of( groups_ );
   request.entry = choices_.between( 1, lastEntry_ );
   while ( model_.entries().contains( request.entry ) && request.entry < lastEntry_ ) {
      ++request.entry;
   }
   request.wanted = std::move( wanted );
   const auto &group = model_.groups().at( request.group );
   if ( group.system && !group.startRules.empty() && !choices_.oneIn( 20 ) ) {
      request.rule = choices_.of( group.startRules );
   }
   return operation;
}

Operation Player::installAny() {
   return install( drawPorts() );
}

Operation Player::installEqual() {
   const auto *entry = anEntry();
   if ( !entry ) {
      return installAny();
   }
   auto operation = install( entry->wanted );
   if ( !model_.groups().at( entry->group ).system ) {
      operation.request.group = entry->group;
      operation.request.rule.reset();
   }
   return operation;
}

Operation Player::installNear() {
   auto operation = installEqual();
   auto &wanted = operation.request.wanted;
   wanted.ethernet = false;
   const auto port = choices_.of( ports_ );
   if ( !wanted.ports.erase( port ) ) {
      wanted.ports.insert( port );
   }
   return operation;
}

Operation Player::installEthernet() {
   return install( { {}, true } );
}

Operation Player::installNoPorts() {
   return install( {} );
}

Operation Player::installRule() {
   auto operation = install( choices_.oneIn( 3 ) ? PortSet{ {}, true } : drawPorts() );
   const auto &rules = model_.groups().at( operation.request.group ).startRules;
   if ( !rules.empty() ) {
      operation.request.rule = choices_.of( rules );
   }
   return operation;
}

Operation Player::removeAny() {
   const auto *entry = anEntry();
   return entry ? Operation{ Operation::Kind::remove, { .group = entry->group, .entry = entry->entry } }
                : installAny();
}

Operation Player::removeNewest() {
   if ( model_.entries().empty() ) {
      return installAny();
   }
   const auto &[ id, entry ] = *model_.entries().rbegin();
   return { Operation::Kind::remove, { .group = entry.group, .entry = id } };
}

Operation Player::createGroup() {
   return { Operation::Kind::createGroup, { .group = choices_.of( groups_ ) } };
}

Operation Player::deleteGroup() {
   return { Operation::Kind::deleteGroup, { .group = choices_.of( groups_ ) } };
}

// What a caller gets wrong: each is refused.
Operation Player::mistake() {
   auto operation = installAny();
   auto &request = operation.request;
   switch ( choices_.below( 7 ) ) {
   case 0:
      request.group = static_cast<U16>( choices_.below( 0x10000 ) );
      break;
   case 1:
      request.entry = choices_.oneIn( 2 ) || model_.entries().empty() ? 0 : model_.entries().begin()->first;
      break;
   case 2:
      request.wanted.ports.insert( Port( 0, choices_.below( U10::max + 1 ) ) );
      break;
   case 3:
      request.wanted.ethernet = true;
      break;
   case 4:
      request.rule = choices_.oneIn( 2 ) ? std::optional<std::string>( "No such rule" ) : std::nullopt;
      break;
   case 5:
      operation.kind = Operation::Kind::remove; // mostly of an entry that is not there
      break;
   default:
      operation.kind = Operation::Kind::remove;
      request.entry = choices_.between( 0, lastEntry_ + 1 );
      break;
   }
   return operation;
}

} // namespace QuarraSoak
