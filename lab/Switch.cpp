#include "lab/Switch.h"

#include <algorithm>

#include "QuarraTcamSdkBaseTypes/QuarraTcamPorts/ClassIdSpace.h"
#include "agent/ChipState.h"
#include "lab/SwitchDir.h"

namespace QuarraLab {

using namespace QuarraTcam;

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

namespace {

// A chip that tells somebody of each call before it is made.
class ToldBefore : public QuarraSimulator::SimulatedChip {
 public:
   ToldBefore( QuarraSimulator::ChipOptions options, std::function<void()> tell )
      : SimulatedChip( std::move( options ) ), tell_( std::move( tell ) ) {}

   void preCall() override { tell_(); }

 private:
   const std::function<void()> tell_;
};

} // namespace

std::unique_ptr<QuarraSimulator::SimulatedChip> makeChip( const QuarraAgent::Variant &variant,
                                                          const QuarraAgent::ChipConfig &config ) {
   QuarraAgent::forgetEarlierAgents();
   return std::make_unique<QuarraSimulator::SimulatedChip>( chipOptions( variant, config ) );
}

std::vector<QuarraModPort> portsOf( const QuarraAgent::ChipConfig &config ) {
   std::vector<QuarraModPort> ports = config.cpuPorts;
   for ( const auto &port : config.ports ) {
      ports.push_back( port.port );
   }
   std::sort( ports.begin(), ports.end() );
   return ports;
}

void showAclGroupsOf( const QuarraAgent::Variant &variant,
                      const Nodra::PtrConst<QuarraTcamPortsHelper> &helper,
                      QuarraSimulator::SimulatedChip &chip ) {
   if ( const auto aclGroupOf = variant.aclGroupOf ) {
      chip.aclGroupsFrom(
         [ helper, aclGroupOf ]( U32 port ) { return aclGroupOf( *helper, static_cast<U16>( port ) ); } );
   }
}

Switch::Switch( const ChipChoice &choice ) {
   start( choice );
}

Switch::Switch( std::unique_ptr<SwitchDir> dir, const SdkHooks &hooks ) : dir_( std::move( dir ) ) {
   start( dir_->choice(), hooks );
}

Switch::~Switch() = default;

void Switch::leaveDirToParent() {
   [[maybe_unused]] auto *const ofParent = dir_.release();
}

void Switch::start( const ChipChoice &choice, const SdkHooks &hooks ) {
   const auto &variant = *choice.variant;
   const auto &config = choice.chip;
   QuarraAgent::checkChip( variant, config );
   if ( hooks.beforeCall ) {
      QuarraAgent::forgetEarlierAgents();
      chip_ = std::make_unique<ToldBefore>( chipOptions( variant, config ), hooks.beforeCall );
   } else {
      chip_ = makeChip( variant, config );
   }
   for ( const auto &failure : choice.failures ) {
      chip_->failCall( failure.nth, failure.code, failure.function );
   }
   if ( dir_ ) {
      dir_->start( *chip_, hooks.afterCall );
   }
   if ( hooks.beforeStart ) {
      hooks.beforeStart( *chip_ );
   }
   agent_ = std::make_unique<TcamAgent>( variant, config,
                                         choice.onlySwitchOfProcess
                                            ? getQuarraTcamPortsManager()
                                            : quarraTcamPortsManagerFactory( "QuarraTcamPortsManager" ) );
   if ( dir_ ) {
      dir_->start( *agent_ );
   }
   showAclGroupsOf( variant, agent_->manager().portsHelper(), *chip_ );
   ports_ = portsOf( config );
}

U32 Switch::sourceTrunkMapWord( ClassIdType type, const QuarraModPort &port ) const {
   return chip_->sourceTrunkMapWord( sourceTrunkMapTableOf( type ), port );
}

bool Switch::isCpuPort( const QuarraModPort &port ) const {
   const auto &cpuPorts = agent_->chip().cpuPorts;
   return std::find( cpuPorts.begin(), cpuPorts.end(), port ) != cpuPorts.end();
}

} // namespace QuarraLab
