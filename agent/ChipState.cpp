#include "agent/ChipState.h"

#include "Nodra/Assert.h"
#include "QuarraTcam/QuarraTcamCommonData.h"
#include "Sdk/SdkShim.h"
#include "Vesk/UniqueId.h"

namespace QuarraAgent {
namespace {

using namespace QuarraCentral;
using QuarraTypes::QuarraPort;

Nodra::PtrConst<ChipProfile> profileOf( const Generation &generation, const ChipConfig &config ) {
   auto tcam = std::make_shared<QuarraTcam::QuarraTcamFeatureAttributes>();
   tcam->aclGroupFlexibleWidthSizeIs( config.flexibleBits );
   tcam->aclGroupFixedWidthSizeIs( config.fixedBits );
   tcam->sourceTrunkMapClassIdSizeIs( config.sourceTrunkMapBits );
   auto profile = std::make_shared<ChipProfile>();
   profile->nameIs( config.profile );
   profile->tcamFeatureAttributesIs( tcam );
   if ( generation.limits.systemPortBits ) {
      auto common = std::make_shared<QuarraCommon::QuarraCommonFeatureAttributes>();
      common->portBitsIs( config.portBits );
      common->maxInterfacesPerSwitchChipIs( U32{ 1 } << config.portBits );
      profile->commonFeatureAttributesIs( common );
   }
   return profile;
}

} // namespace

QuarraTcam::Scsd bringUpChip( const Variant &variant, const ChipConfig &config ) {
   const ChipInfo chipInfo = { variant.generation.modelNumber, 1 };
   activeChipProfileIs( chipInfo, profileOf( variant.generation, config ) );
   quarraAttributes()->chipAttributesIs( chipInfo, std::make_shared<ChipAttributes>() );
   const auto &common = QuarraTcam::getQuarraTcamCommonData();
   common->chipInfoIs( chipInfo );
   common->modIdIs( std::nullopt );
   common->simulationIs( variant.twin );

   auto scsd = std::make_shared<Quarra::QuarraCommonSmData>();
   const auto unit = static_cast<U16>( SdkShim->vmSingleUnit() );
   const U16 modId = config.ports.empty() ? U16{ 0 } : config.ports.front().port.modId().value();
   scsd->quarraModIdIs( unit, { chipInfo, modId } );
   scsd->quarraModIdToUnitIs( modId, unit ); // also on a chip without ports
   for ( const auto &port : config.ports ) {
      const auto module = port.port.modId();
      const QuarraPort chipPort( module.value(), 0, port.port.port(), 0 );
      const Ivrel::IntfId intf( port.intf );
      scsd->quarraModIdToUnitIs( module, unit );
      scsd->quarraIntfToPortIs( intf, chipPort );
      scsd->quarraIntfToPortCacheIs( intf, chipPort );
      scsd->quarraIntfToAclGroupKeyIs( intf, port.port.port() );
      scsd->quarraIntfToAclGroupKeyCacheIs( intf, port.port.port() );
      scsd->quarraPortToIntfIs( chipPort, intf );
   }
   for ( const auto &port : config.cpuPorts ) {
      const auto module = port.modId();
      scsd->quarraModIdToUnitIs( module, unit );
      scsd->quarraIntfToCpuPortIs( Ivrel::IntfId( "Cpu" + std::to_string( port.port() ) ),
                                   QuarraPort( module.value(), 0, port.port(), 0 ) );
      scsd->quarraCpuModPortIs( { module.value(), port.port() } );
   }
   return scsd;
}

void bringUpManager( QuarraTcam::QuarraTcamPortsManager &manager, const Variant &variant,
                     const ChipConfig &config ) {
   const auto scsd = bringUpChip( variant, config );
   const auto helper = variant.factory( scsd );
   NODRA_ASSERT( variant.made( *helper ) ) << " variant " << std::string( variant.name );
   manager.scsdIs( scsd );
   manager.portsHelperIs( helper );
   manager.sourceTrunkMapConfigIs( std::make_shared<PortTabWriteRequestDir>() );
}

void forgetEarlierAgents() {
   QuarraTcam::classIdTcamGroupsInfo.clear();
   Vesk::UniqueId::restart();
}

} // namespace QuarraAgent
