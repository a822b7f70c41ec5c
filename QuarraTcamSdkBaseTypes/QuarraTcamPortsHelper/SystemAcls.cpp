#include <set>
#include <span>

#include "Nodra/Assert.h"
#include "QuarraTcamSdkBaseTypes/QuarraTcamPortsHelper.h"

// Rules that are known in advance: each gets its class ID when the manager starts. The texts are the rules'
// own names as the agent's features know them, and their request keys are found by them.
namespace QuarraTcam {
namespace {

struct SystemRule {
   U16 tcamGroupId;
   const char *text;
};

constexpr SystemRule sdk6SystemRules[] = {
   { 1, "Openflow interface entry" },
   { 2, "DHCP Snooping group" },
   { 2, "Mlag control plane" },
   { 2, "PBMP_E_ALL for l3 ctrl group" },
   { 2, "L4 Micro BFD" },
   { 3, "PBMP_E_ALL for dot1x group" },
   { 3, "MACsec EAPoL Rule" },
   { 3, "MACsec EAPoL Duplicate Rule" },
   { 5, "EAPoL ARP Ins drop" },
   { 6, "PBMP_E_ALL for l2 ctrl group" },
   { 6, "MACsec EAPoL Rule" },
   { 6, "MACsec EAPoL Duplicate Rule" },
   { 6, "Dot1x EAPoL and MBA Rule" },
   { 6, "Dot1x EAPoL Rule" },
   { 51, "Broadcast skip rule" },
   { 88, "PBMP_E_ALL for a Rillway group" },
   { 89, "PBMP_E_ALL for a Rillway group" },
   { 90, "PBMP_E_ALL for a Rillway group" },
   { 91, "PBMP_E_ALL for a Rillway group" },
   { 92, "PBMP_E_ALL for a Rillway group" },
   { 94, "PBMP_E_ALL for a Rillway group" },
   { 102, "PBMP_E_ALL for a Rillway group" },
   { 129, "IpLocking Dot1x bypass rule" },
};

constexpr SystemRule hsdkSystemRules[] = {
   { 2, "PBMP_E_ALL for l3 ctrl group" },
   { 2, "CPU for l3 ctrl group" },
   { 6, "MACsec EAPoL Rule" },
   { 6, "LLDPDU Priority Elevator" },
   { 6, "MicroBfdPdu Priority Elevator" },
   { 6, "LACPDU Priority Elevator" },
   { 6, "BPDU Priority Elevator" },
   { 6, "Mlag Control Trap rule" },
   { 6, "Port Security Protect Rule" },
   { 6, "Port Security Mac Move Rule" },
   { 6, "PTPv2 Management Messages" },
   { 6, "PTPv2/v1 Messages" },
};

void enterRules( const ClassIdTcamGroupConfig::Ptr &groupConfig, std::span<const SystemRule> rules ) {
   std::set<RequestKey> keys;
   for ( const auto &rule : rules ) {
      if ( groupConfig->tcamGroupId() == TcamGroupId( rule.tcamGroupId ) ) {
         keys.emplace( rule.text, 0, rule.text );
      }
   }
   for ( const auto &key : keys ) {
      groupConfig->requestKeyIs( key, true );
   }
}

} // namespace

void QuarraTcamSdk6PortsHelper::populateStaticClassIdReservation( TcamGroupId tcamGroupId ) {
   const auto groupConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!groupConfig );
   NODRA_ASSERT( QuarraTcam::isSystemAclGroup( tcamGroupId ) || isSourceTrunkMapGroup( tcamGroupId ) );
   enterRules( groupConfig, sdk6SystemRules );
}

void QuarraTcamHSDKPortsHelper::populateStaticClassIdReservation( TcamGroupId tcamGroupId ) {
   const auto groupConfig = getClassIdInfoForTcamGroup( tcamGroupId );
   NODRA_ASSERT( !!groupConfig );
   NODRA_ASSERT( QuarraTcam::isSystemAclGroup( tcamGroupId ) );
   enterRules( groupConfig, hsdkSystemRules );
}

} // namespace QuarraTcam
