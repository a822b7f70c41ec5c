#pragma once

#include <nlohmann/json.hpp>

#include "lab/MatchCheck.h"
#include "lab/Switch.h"

// The state of library and chip as JSON, in a canonical order: equal states give equal text.
namespace QuarraLab {

using JsonOut = nlohmann::ordered_json;

JsonOut dumpSpaces( const Switch &theSwitch ); // by class-ID type: size, set bits
JsonOut dumpGroups( const Switch &theSwitch ); // configuration, pools, requests, interface-group index
JsonOut dumpChip( const Switch &theSwitch );   // ports that carry something, TCAM entries

JsonOut configJson( const QuarraTcam::ClassIdTcamGroupConfig &config );
JsonOut portJson( const QuarraModPort &port ); // a number in module 0, else { "module", "port" }
JsonOut keyJson( const QuarraTcam::RequestKey &key );
JsonOut mismatchJson( const Switch &theSwitch, const Mismatch &mismatch );

} // namespace QuarraLab
