#include "lab/Switch.h"

#include <algorithm>

#include "agent/ChipState.h"
#include "lab/SwitchDir.h"

namespace QuarraLab {

using namespace QuarraTcam;
using enum ClassIdType;

QuarraSimulator::ChipOptions chipOptions( const QuarraAgent::Variant &variant,
                                          const QuarraAgent::ChipConfig &config ) {
   QuarraSimulator::ChipOptions options;
   options.generation = variant.generation.sdk;
   options.aclGroupBits = U32{ config.flexibleBits } + config.fixedBits;
   options.sourceTrunkMapBits = config.sourceTrunkMapBits;
   options.systemPorts = U32{ 1 } << config.portBits;
   for ( const auto &port : config.ports ) {
      options.ports.push_back( port.port.port() );
   }
   for ( const auto &port : config.cpuPorts ) {
      options.cpuPorts.push_back( port.port() );
   }
   return options;
}

Switch::Switch( const ChipChoice &choice ) {
   start( choice );
}

Switch::Switch( std::unique_ptr<SwitchDir> dir ) : dir_( std::move( dir ) ) {
   start( dir_->choice() );
}

Switch::~Switch() = default;

void Switch::start( const ChipChoice &choice ) {
   const auto &variant = *choice.variant;
   const auto &config = choice.chip;
   QuarraAgent::checkChip( variant, config );
   QuarraAgent::forgetEarlierAgents();
   chip_ = std::make_unique<QuarraSimulator::SimulatedChip>( chipOptions( variant, config ) );
   for ( const auto &failure : choice.failures ) {
      chip_->failCall( failure.nth, failure.code, failure.function );
   }
   if ( dir_ ) {
      dir_->start( *chip_ );
   }
   agent_ = std::make_unique<TcamAgent>( variant, config,
                                         quarraTcamPortsManagerFactory( "QuarraTcamPortsManager" ) );
   if ( dir_ ) {
      dir_->start( *agent_ );
   }
   for ( const auto &port : config.ports ) {
      ports_.push_back( port.port );
   }
   ports_.insert( ports_.end(), config.cpuPorts.begin(), config.cpuPorts.end() );
   std::sort( ports_.begin(), ports_.end() );
}

Vesk::Bitmap Switch::aclGroup( const QuarraModPort &port ) const {
   const auto *twin =
      dynamic_cast<const QuarraTcamTestSdk6PortsHelper *>( agent_->manager().portsHelper().get() );
   if ( !twin ) {
      return chip_->aclGroup( port.port() );
   }
   const auto &shadow = twin->aclGroupShadow( port.port() );
   return shadow ? *shadow : Vesk::Bitmap( 0, 64, Vesk::HBitmap::BitState::clear );
}

U32 Switch::sourceTrunkMapWord( ClassIdType type, const QuarraModPort &port ) const {
   if ( type == ifpSourceTrunkMap ) {
      return chip_->sourceTrunkMapWord( ifpTable, port );
   }
   return type == vfpSourceTrunkMap ? chip_->sourceTrunkMapWord( vfpTable, port ) : 0;
}

bool Switch::isCpuPort( const QuarraModPort &port ) const {
   const auto &cpuPorts = agent_->chip().cpuPorts;
   return std::find( cpuPorts.begin(), cpuPorts.end(), port ) != cpuPorts.end();
}

} // namespace QuarraLab
