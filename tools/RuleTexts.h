#pragma once

#include "acl/AclConfig.h"
#include "lab/Plan.h"

// What rules say besides their ports: no switch knows it, the configurations do.
namespace QuarraTool {

using namespace QuarraLab;

// By rule, "TABLE|RULE": each field as its author wrote it, "DST_IP 10.8.0.53/32".
using RuleFields = std::map<std::string, std::vector<std::string>>;

RuleFields ruleFieldsOf( const QuarraAcl::AclConfig &config );

// "DST_IP 10.8.0.53/32, PACKET_ACTION FORWARD".
std::string ruleText( const std::vector<std::string> &fields );

// By entry, of those whose label is a rule of these.
std::map<U32, std::string> entryTexts( const Switch &theSwitch, const RuleFields &fields );

// Tells each rule of the plan what it says: one that is wanted as the configuration after the change has it,
// others as the one before.
void tellRuleFields( Plan &plan, const RuleFields &before, const RuleFields &after );

} // namespace QuarraTool
